// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "VantorBase_export.h"

#include <QAbstractListModel>
#include <QStringList>
#include <QVector>

/// The standards that the user can choose, with the roles "id", a FiberInspection::Standard::Id, and "name". Scripts
/// ask it by rows and roles, as QmlModelUtils.js does.
///
/// @code
/// const StandardModel standards;
/// for (int row = 0; row < standards.count(); ++row)
///     qInfo() << standards.data(row, QStringLiteral("id")) << standards.data(row, QStringLiteral("name"));
/// @endcode
class VANTORBASE_EXPORT StandardModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role : int { IdRole = Qt::UserRole + 1, NameRole };

    explicit StandardModel(QObject *parent = nullptr);

    /// Offers these, in this order, instead of Standard::allStandardIds(). A page that shows the model chooses the
    /// first one. In the thread of the model; a receiver of its signals may destroy it, or set others.
    ///
    /// @code
    /// StandardModel standards;
    /// standards.setStandards({FiberInspection::Standard::IEC61300_3_35_MM});
    /// qInfo() << standards.count(); // 1
    /// @endcode
    void setStandards(const QVector<FiberInspection::Standard::Id> &standards);

    int count() const { return mStandards.size(); }
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE QStringList roles() const;

    /// Invalid for a row or a role that is not there.
    Q_INVOKABLE QVariant data(int row, const QString &role) const;

Q_SIGNALS:
    void countChanged();

private:
    QVector<FiberInspection::Standard::Id> mStandards;
};
