// SPDX-License-Identifier: Apache-2.0
#include "Pages/StandardModel.h"

#include <QPointer>

using FiberInspection::Standard;

StandardModel::StandardModel(QObject *parent)
    : QAbstractListModel(parent)
    , mStandards(Standard::allStandardIds())
{
}

void StandardModel::setStandards(const QVector<Standard::Id> &standards)
{
    const QPointer<StandardModel> self(this);
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): its owner may go
    const QVector<Standard::Id> wanted = standards;
    beginResetModel();
    if (!self)
        return;
    const bool isOtherCount = wanted.size() != mStandards.size();
    mStandards = wanted;
    endResetModel();
    if (self && isOtherCount)
        Q_EMIT countChanged();
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
