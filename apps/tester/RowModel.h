// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QVariantMap>
#include <QVector>

/// Rows of named values for a list in QML. Rows that stay where they are, by their "id", keep their delegates.
class RowModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    /// @param names of the values, which are the roles
    explicit RowModel(const QVector<QByteArray> &names, QObject *parent = nullptr);

    int count() const { return mRows.size(); }
    const QVector<QVariantMap> &rows() const { return mRows; }
    void setRows(const QVector<QVariantMap> &rows);

    /// Empty for a row that is not there.
    Q_INVOKABLE QVariantMap row(int index) const { return mRows.value(index); }

    /// -1 when it is not there.
    Q_INVOKABLE int indexOf(qint64 id) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return mRoles; }

Q_SIGNALS:
    void countChanged();

private:
    bool hasSameIds(const QVector<QVariantMap> &rows) const;

    QHash<int, QByteArray> mRoles;
    QVector<QVariantMap> mRows;
};
