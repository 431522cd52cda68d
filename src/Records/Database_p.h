// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "Records/StoreFolder_p.h"

#include <QByteArray>
#include <QDateTime>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <QVector>

namespace Records {

/// A connection to one file. Where a call finds the database damaged, a file tells that to who opens it next.
class Database
{
public:
    enum class Access : int {
        ReadWrite,
        ReadOnly, ///< beside who writes
        Immutable, ///< nobody writes, and nothing can be written beside it
    };

    static constexpr char inMemory[] = ":memory:"; ///< path of one that is gone with its connection

    /// What SQLite calls a file, whatever bytes its path has.
    static QString nameOf(const QString &path);

    /// @param suspicion path of the file that is made when the database is seen to be damaged; none when it is empty
    explicit Database(const QString &path, const QString &suspicion);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    Problem open(Access access);

    /// Nothing is committed any more when that file is not at its path.
    void bindTo(const QString &path, const FileIdentity &file) { mBound.append({path, file}); }

    /// Whether the file of the database, and what it was bound to, is where it was when it was opened.
    Problem checkPlace() const;

    Problem run(const char *statement, const QVariantList &values = {});

    Problem runAtOnce(const char *statement); ///< Busy where another program writes, without waiting for it

    /// Moves what it can of the journal into the database, and gives its room back if that was all.
    void emptyJournal();

    /// The first value of the first row; invalid when there is none.
    Answer<QVariant> value(const char *statement, const QVariantList &values = {}) const;

    void noteDamage() const; ///< for who opens it next

    QSqlQuery query() const;
    Problem problemOf(const QSqlQuery &query) const;
    bool isOpen() const { return mDatabase.isOpen(); }
    Access access() const { return mAccess; }

private:
    Problem problemOf(const QSqlError &error) const;

    const QString mPath;
    const QString mSuspicion;
    const QString mConnection;
    QSqlDatabase mDatabase;
    Access mAccess = Access::ReadOnly;
    QVector<QPair<QString, FileIdentity>> mBound;
};

/// One statement with its values and rows.
class Query
{
public:
    Query(const Database &database, const char *statement);
    Query(const Database &database, const QString &statement);

    /// For a statement that can be run again with other values.
    bool run(const QVariantList &values);
    bool next(); ///< a problem may end the rows as well
    Problem problem() const { return mProblem; }
    int changed() const { return mQuery.numRowsAffected(); }
    qint64 lastId() const { return mQuery.lastInsertId().toLongLong(); }

    // Of the row at hand.
    bool isNull(int column) const { return mQuery.isNull(column); }
    int number(int column) const;
    qint64 longNumber(int column) const { return mQuery.value(column).toLongLong(); }
    double real(int column) const { return mQuery.value(column).toDouble(); }
    float single(int column) const { return static_cast<float>(real(column)); }
    QString text(int column) const { return mQuery.value(column).toString(); }
    QVariant value(int column) const { return mQuery.value(column); }
    QByteArray bytes(int column) const { return mQuery.value(column).toByteArray(); }
    QDateTime time(int column) const; ///< UTC; invalid for nothing

private:
    const Database &mDatabase;
    QSqlQuery mQuery;
    Problem mProblem;
};

/// All that is run meanwhile, or none of it: without a commit() it is undone.
class Transaction
{
public:
    explicit Transaction(Database &database);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    const Problem &problem() const { return mProblem; } ///< of its beginning
    Problem commit();

    /// To be asked when others could use the database: an error of a disk ends a transaction, also in what only reads,
    /// and what is run after that would stand without the rest.
    Problem checkStillOpen();

private:
    Database &mDatabase;
    Problem mProblem;
    bool mIsOpen;
};

/// All that is read meanwhile is of one moment, whoever writes. May lie within a transaction.
class Snapshot
{
public:
    explicit Snapshot(Database &database);
    ~Snapshot();
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;

    const Problem &problem() const { return mProblem; } ///< of its beginning

private:
    Database &mDatabase;
    const Problem mProblem;
};

/// As the database keeps them.
QVariant toValue(const QDateTime &time);
QVariant toValue(const QString &text); ///< no text is an empty one

} // namespace Records
