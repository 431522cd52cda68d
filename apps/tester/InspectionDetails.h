// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "PictureProvider.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantList>

class FiberManager;

/// What stands behind the last verdict, for the panel beside the result page. Lives in the user interface's thread.
class InspectionDetails : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isReady READ isReady NOTIFY changed)
    Q_PROPERTY(bool passed READ passed NOTIFY changed)
    Q_PROPERTY(QString standardName READ standardName NOTIFY changed)
    Q_PROPERTY(QUrl picture READ picture NOTIFY changed)
    Q_PROPERTY(QVariantList rules READ rules NOTIFY changed)
    Q_PROPERTY(QVariantList zones READ zones NOTIFY changed)

public:
    /// @param answers the verdicts that count
    explicit InspectionDetails(FiberManager *answers, QObject *parent = nullptr);

    bool isReady() const { return mIsReady; }
    bool passed() const { return mPassed; }
    QString standardName() const { return mStandardName; }
    QUrl picture() const { return mPicture.address(); } ///< the annotated crop, the fibre in its middle

    /// Maps of zone (a FiberInspection::Zone::Id), isScratch, sizes (micrometres; empty: any), allowed (-1: any
    /// number), found and violated.
    QVariantList rules() const { return mRules; }

    /// Maps of zone and diameter, in pixels of the picture.
    QVariantList zones() const { return mZones; }

    /// The former verdict no longer counts.
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void changed();

private:
    void show(const FiberInspection::Inspection &inspection);

    bool mIsReady = false;
    bool mPassed = false;
    QString mStandardName;
    HeldPicture mPicture; // what lies in a file may have been replaced
    QVariantList mRules;
    QVariantList mZones;
};
