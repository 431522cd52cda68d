// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "Managers/CoreFiberInspectionManager.h"
#include "VantorBase_export.h"

/// The inspection manager, which also tells what stands behind the verdict. Works in a thread of its own.
///
/// @code
/// InspectionManager manager; // in this thread: the answer comes before the request returns
/// QObject::connect(&manager, &InspectionManager::inspected, [](const FiberInspection::Inspection &inspection) {
///     qInfo() << inspection.passed() << inspection.defects().size() << "defects";
/// });
/// Q_EMIT manager.requestStart();
/// Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), FiberInspection::Standard::IEC61300_3_35_MM);
/// @endcode
class VANTORBASE_EXPORT InspectionManager : public CoreFiberInspectionManager
{
    Q_OBJECT

public:
    explicit InspectionManager(QObject *parent = nullptr);
    ~InspectionManager() override;

    /// Emits requestAnalyse(), for one who has to tell its inspections from others. In the manager's thread only.
    /// @param ticket comes back with inspectionBegun(), of each start; not 0
    void requestFor(quint64 ticket, const QString &name, FiberInspection::Standard::Id standardId);

Q_SIGNALS:
    /// Just before analyseFinished(), with all of the inspection.
    void inspected(FiberInspection::Inspection inspection, QString sourceFilePath, QString resultFilePath);

    /// Around all that it does for a request, and nested when a receiver has another one answered. There is no end if
    /// the manager is deleted meanwhile.
    /// @param ticket that of requestFor(); 0 for what was requested otherwise
    void inspectionBegun(quint64 ticket);
    void inspectionEnded();

protected:
    void handleAsyncStart() override;
    void handleRequestAnalyse(const QString &name, FiberInspection::Standard::Id standardId) override;
    void handleVerdict(const FiberInspection::Inspection &inspection, const QString &sourceFilePath,
        const QString &resultFilePath) override;

private:
    void handle(quint64 ticket, const QString &name, FiberInspection::Standard::Id standardId);

    /// A request that is just emitted. Its name is a text of its own: another one of the same name lies elsewhere.
    struct Ticketed
    {
        quint64 ticket = 0;
        const QChar *name = nullptr;
    };

    Ticketed mEmitted;
    quint64 mTicket = 0; ///< of the request that is about to be inspected
};
