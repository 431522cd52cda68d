// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Analyser.h"
#include "Managers/AbstractCoreManager.h"

/// Inspects fibre end faces in its own thread. One object per process.
///
/// Emit requestStart() once, then requestAnalyse() for every inspection; each request is answered by analyseFinished()
/// or analyseFailed(). Requests are dropped until the manager's own thread has handled the start; a request queued
/// behind the start, by QMetaObject::invokeMethod(), is in time. Every further start adds one more analysis, and one
/// more answer, to each request.
///
/// @code
/// QThread thread; // a member of the application, which ends it
/// auto *const manager = new CoreFiberInspectionManager;
/// manager->moveToThread(&thread);
/// QObject::connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
/// QObject::connect(manager, &CoreFiberInspectionManager::analyseFinished,
///     [](bool passed) { qInfo() << (passed ? "passed" : "failed"); });
/// thread.start();
/// Q_EMIT manager->requestStart();
/// QMetaObject::invokeMethod(manager, "requestAnalyse", Q_ARG(QString, QStringLiteral("port 1")),
///     Q_ARG(FiberInspection::Standard::Id, FiberInspection::Standard::IEC61300_3_35_MM));
/// @endcode
class VANTORBASE_EXPORT CoreFiberInspectionManager : public AbstractCoreManager
{
    Q_OBJECT

public:
    /// A second object while there is one is a fatal error.
    explicit CoreFiberInspectionManager(QObject *parent = nullptr);
    ~CoreFiberInspectionManager() override;

    /// Null before the construction.
    static CoreFiberInspectionManager *instance();

Q_SIGNALS:
    /// @param name of the test: the folder under the inspection directory that the images are filed in
    void requestAnalyse(QString name, FiberInspection::Standard::Id standardId);

    /// The paths are empty when the name leads out of the inspection directory. An image that could not be filed there
    /// for another reason is not at its path, or the former one still is where it cannot be removed; the log tells.
    void analyseFinished(bool passed, QString sourceFilePath, QString resultFilePath);

    /// There is no verdict. A result image that lies under the name is that of an earlier inspection: it must not be
    /// shown.
    void analyseFailed();

protected:
    void handleAsyncStart() override;
    void handleAsyncStop() override;

    /// Called in the manager's thread just before analyseFinished(), with all that stands behind the verdict, and the
    /// paths that the signal has. A subclass may pass it on; this one does nothing. It may delete the manager, which is
    /// the end of that inspection.
    virtual void handleVerdict(
        const FiberInspection::Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath);

    /// Within handleVerdict(), before it calls or tells anybody else: the bytes of the photograph that the verdict is
    /// of. The file of the path may hold others, or not be there.
    QByteArray inspectedPhotograph() const { return mPhotograph; }

    /// Inspects and answers, all before it returns. Called in the manager's thread, once a request for every start.
    virtual void handleRequestAnalyse(const QString &name, FiberInspection::Standard::Id standardId);

private:
    static CoreFiberInspectionManager *mInstance;

    FiberInspection::Analyser mFiberAnalyser;
    QByteArray mPhotograph;
};
