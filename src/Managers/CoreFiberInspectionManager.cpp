// SPDX-License-Identifier: Apache-2.0
#include "Managers/CoreFiberInspectionManager.h"

#include "FiberInspection/ExceptionText_p.h"

#include <QDebug>
#include <QPointer>

CoreFiberInspectionManager *CoreFiberInspectionManager::mInstance = nullptr;

CoreFiberInspectionManager::CoreFiberInspectionManager(QObject *parent)
    : AbstractCoreManager(parent)
{
    Q_ASSERT_X(!mInstance, "CoreFiberInspectionManager", "Constructor should be called only once!");
    mInstance = this;
}

CoreFiberInspectionManager::~CoreFiberInspectionManager()
{
    mInstance = nullptr;
}

CoreFiberInspectionManager *CoreFiberInspectionManager::instance()
{
    return mInstance;
}

void CoreFiberInspectionManager::handleAsyncStart()
{
    // Not the base's start: a manager that only waits for requests never counts as running.
    connect(this, &CoreFiberInspectionManager::requestAnalyse, this, &CoreFiberInspectionManager::handleRequestAnalyse,
        Qt::AutoConnection);
}

void CoreFiberInspectionManager::handleAsyncStop()
{
    // Requests that are under way are still answered.
}

void CoreFiberInspectionManager::handleVerdict(const FiberInspection::Inspection &, const QString &, const QString &) {}

void CoreFiberInspectionManager::handleRequestAnalyse(const QString &name, FiberInspection::Standard::Id standardId)
{
    // Whoever reads the log or hears of the verdict may delete this, or have the next image inspected in an event loop.
    const QPointer<CoreFiberInspectionManager> self(this);
    FiberInspection::Analyser analyser = mFiberAnalyser;
    FiberInspection::FiledInspection filed; // without a verdict until there is one
    FiberInspection::withHandler([&] { filed = analyser.inspectAndFile(standardId, name); },
        [] { // in an event loop it would end the application
            qWarning() << "inspection ended by an exception:" << FiberInspection::exceptionText().constData();
        });

    if (!self)
        return;
    mFiberAnalyser = analyser;
    if (!filed.inspection.hasVerdict()) {
        Q_EMIT analyseFailed();
        return;
    }
    mPhotograph = filed.photograph;
    handleVerdict(filed.inspection, filed.sourceImagePath, filed.resultImagePath);
    if (!self)
        return;
    mPhotograph.clear();
    Q_EMIT analyseFinished(filed.inspection.passed(), filed.sourceImagePath, filed.resultImagePath);
}
