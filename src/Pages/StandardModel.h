// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "VantorBase_export.h"

#include <QAbstractListModel>
#include <QStringList>
#include <QVector>

/// The standards that the user can choose, with the roles "id", a FiberInspection::Standard::Id, and "name". Scripts
/// ask it by rows and roles, as QmlModelUtils.js does.
class VANTORBASE_EXPORT StandardModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count CONSTANT)

public:
    enum Role : int { IdRole = Qt::UserRole + 1, NameRole };

    explicit StandardModel(QObject *parent = nullptr);

    int count() const { return mStandards.size(); }
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE QStringList roles() const;

    /// Invalid for a row or a role that is not there.
    Q_INVOKABLE QVariant data(int row, const QString &role) const;

private:
    const QVector<FiberInspection::Standard::Id> mStandards;
};
