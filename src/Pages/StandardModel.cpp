// SPDX-License-Identifier: Apache-2.0
#include "Pages/StandardModel.h"

using FiberInspection::Standard;

StandardModel::StandardModel(QObject *parent)
    : QAbstractListModel(parent)
    , mStandards(Standard::allStandardIds())
{
}

int StandardModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant StandardModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.model() != this)
        return {};
    const Standard::Id id = mStandards[index.row()];
    if (role == IdRole)
        return static_cast<int>(id);
    return role == NameRole ? QVariant(Standard::name(id)) : QVariant();
}

QHash<int, QByteArray> StandardModel::roleNames() const
{
    return {{IdRole, "id"}, {NameRole, "name"}};
}

QStringList StandardModel::roles() const
{
    return {QStringLiteral("id"), QStringLiteral("name")};
}

QVariant StandardModel::data(int row, const QString &role) const
{
    return data(index(row), roleNames().key(role.toUtf8(), -1));
}
