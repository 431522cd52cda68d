// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <QVariantList>
#include <QVector>

/// An item model of C++ as applications write them: three lights with a name, an id and a note that may be empty.
class NativeModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role : int { Id = Qt::UserRole + 1, Name, Note };

    explicit NativeModel(QObject *parent = nullptr);

    int count() const { return mRows.size(); }
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE QStringList roles() const;
    Q_INVOKABLE QVariant data(int row, const QString &role) const;

    Q_INVOKABLE void clear();

    /// Without telling anybody.
    Q_INVOKABLE void setIdSilently(int row, int id) { mRows[row].id = id; }

Q_SIGNALS:
    void countChanged();

private:
    struct Row
    {
        int id;
        QString name;
        QString note;
    };

    QVector<Row> mRows;
};
