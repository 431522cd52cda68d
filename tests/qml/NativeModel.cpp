// SPDX-License-Identifier: Apache-2.0
#include "NativeModel.h"

NativeModel::NativeModel(QObject *parent)
    : QAbstractListModel(parent)
    , mRows({{0, QStringLiteral("red"), {}}, {7, QStringLiteral("amber"), QStringLiteral("wait")},
          {3, QStringLiteral("green"), {}}})
{
}

int NativeModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant NativeModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = mRows[index.row()];
    switch (role) {
    case Id:
        return row.id;
    case Name:
        return row.name;
    case Note:
        return row.note;
    default:
        return {};
    }
}

QHash<int, QByteArray> NativeModel::roleNames() const
{
    return {{Id, "id"}, {Name, "name"}, {Note, "note"}};
}

QStringList NativeModel::roles() const
{
    return {QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("note")};
}

QVariant NativeModel::data(int row, const QString &role) const
{
    return data(index(row), roleNames().key(role.toUtf8(), -1));
}

void NativeModel::clear()
{
    beginResetModel();
    mRows.clear();
    endResetModel();
    Q_EMIT countChanged();
}
