// SPDX-License-Identifier: Apache-2.0
#include "RowModel.h"

#include <QPointer>

#include <algorithm>

namespace {
qint64 idOf(const QVariantMap &row)
{
    return row.value(QStringLiteral("id")).toLongLong();
}
} // namespace

RowModel::RowModel(const QVector<QByteArray> &names, QObject *parent)
    : QAbstractListModel(parent)
{
    int role = Qt::UserRole;
    for (const QByteArray &name : names)
        mRoles.insert(++role, name);
}

bool RowModel::hasSameIds(const QVector<QVariantMap> &rows) const
{
    return std::equal(rows.cbegin(), rows.cend(), mRows.cbegin(), mRows.cend(),
        [](const QVariantMap &a, const QVariantMap &b) { return idOf(a) == idOf(b); });
}

void RowModel::setRows(const QVector<QVariantMap> &rows)
{
    const QPointer<RowModel> self(this);
    if (!hasSameIds(rows)) {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): their owner may go
        const QVector<QVariantMap> wanted = rows;
        beginResetModel();
        if (!self)
            return;
        mRows = wanted;
        endResetModel();
        if (self)
            Q_EMIT countChanged();
        return;
    }
    const QVector<QVariantMap> former = mRows;
    mRows = rows;
    for (int i = 0; self && i < mRows.size(); ++i) {
        if (former.value(i) != mRows[i])
            Q_EMIT dataChanged(index(i), index(i));
    }
}

int RowModel::indexOf(qint64 id) const
{
    const auto found =
        std::find_if(mRows.cbegin(), mRows.cend(), [id](const QVariantMap &row) { return idOf(row) == id; });
    return found == mRows.cend() ? -1 : static_cast<int>(found - mRows.cbegin());
}

int RowModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant RowModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.model() != this || index.row() >= mRows.size())
        return {};
    return mRows[index.row()].value(QString::fromLatin1(mRoles.value(role)));
}
