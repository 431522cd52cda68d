// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

/// A look at the database that does not come through the library.
class OwnConnection
{
public:
    explicit OwnConnection(const QString &folder)
        : mDatabase(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test")))
    {
        mDatabase.setDatabaseName(folder + QStringLiteral("/records.sqlite"));
        mDatabase.open();
    }
    ~OwnConnection()
    {
        mDatabase = {};
        QSqlDatabase::removeDatabase(QStringLiteral("test"));
    }
    OwnConnection(const OwnConnection &) = delete;
    OwnConnection &operator=(const OwnConnection &) = delete;

    /// The first column of all rows; or the message of what went wrong.
    QStringList run(const QString &statement)
    {
        QSqlQuery query(mDatabase);
        if (!query.exec(statement))
            return {query.lastError().databaseText()};
        QStringList values;
        while (query.next())
            values << query.value(0).toString();
        return values;
    }

private:
    QSqlDatabase mDatabase;
};
