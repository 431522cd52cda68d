// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Managers/InspectionManager.h"
#include "Records/RecordStore.h"

#include <QMetaType>

#include <optional>

/// A picture of one point that is to be inspected and kept.
struct KeepRequest
{
    quint64 ticket = 0; ///< comes back with the answer
    Records::Id point = Records::noId; ///< the same; the store may be another one by now, where it is none or another's
    QUuid job; ///< identity: the point is the one of this job with the name and the side
    QString pointName;
    Records::Side side = Records::Side::A;
    FiberInspection::Standard::Id standard = FiberInspection::Standard::IEC61300_3_35_SM_RL45;
    QString picturePath; ///< is removed; when it is empty, the inspection is kept as one that could not be made
    std::optional<double> focusValue;
};
Q_DECLARE_METATYPE(KeepRequest)

/// An inspection, and what became of keeping it.
struct KeptInspection
{
    quint64 ticket = 0; ///< 0: a quick inspection, of no point
    Records::Id point = Records::noId;
    Records::Id id = Records::noId; ///< noId: it is not kept, the problem tells why
    QUuid identity; ///< of the record
    Records::Problem problem;
    FiberInspection::Inspection inspection;
    QString pointName; ///< from the one who asked: another job may be open by now
    Records::Side side = Records::Side::A;
};
Q_DECLARE_METATYPE(KeptInspection)
Q_DECLARE_METATYPE(Records::Opening)

/// The inspection manager that stores each inspection, picture and row, before anybody hears of its verdict. Works in a
/// thread of its own, with a store of its own on the folder.
class KeepingManager : public InspectionManager
{
    Q_OBJECT

public:
    explicit KeepingManager(const QString &storeFolder, QObject *parent = nullptr);
    ~KeepingManager() override;

Q_SIGNALS:
    /// Answered by kept(), once, whatever happens; requests take their turn.
    void requestKeep(KeepRequest request);
    void kept(KeptInspection inspection);

    /// The store was opened, behind its start or since: what is in the way of writing may be gone, or what was there be
    /// kept aside.
    void opened(Records::Opening opening);

protected:
    void handleAsyncStart() override;
    void handleVerdict(const FiberInspection::Inspection &inspection, const QString &sourceFilePath,
        const QString &resultFilePath) override;

private:
    void open();
    bool openIfNeeded();
    Records::Answer<Records::Id> pointOf(const KeepRequest &request) const;
    void keep(const KeepRequest &request);
    void store(const Records::Origin &origin, const QByteArray &picture, KeptInspection *kept);

    const QString mFolder;
    Records::RecordStore mStore;
    bool mWasOpen = false;
};
