// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Comparison.h"
#include "HardwareManager.h"
#include "InspectionDetails.h"
#include "Inspector.h"
#include "JobStore.h"
#include "KeepingManager.h"
#include "KeyboardUse.h"
#include "Language.h"
#include "Pages/FiberManager.h"
#include "RemovableMedia.h"
#include "ReportWriter.h"
#include "ShownResult.h"
#include "TesterSettings.h"
#include "VantorBase.h"

#include <QQmlApplicationEngine>
#include <QSize>
#include <QThread>

class QQuickWindow;

/// A manager with the thread it works in. Ends the thread, and the manager with it, when it is destroyed.
class InspectionThread
{
public:
    /// @param jobs is told how the thread has opened the store
    explicit InspectionThread(JobStore *jobs);
    ~InspectionThread();
    InspectionThread(const InspectionThread &) = delete;
    InspectionThread &operator=(const InspectionThread &) = delete;

    KeepingManager *manager() const { return mManager; }

private:
    QThread mThread;
    KeepingManager *const mManager;
};

/// The application after the Qt application object: its members are constructed in the order in which they need each
/// other, and destroyed in the reverse one. One object per process.
class Tester
{
public:
    /// @param screenSize of the unit, pixels
    /// @param language to begin with; empty: the one that was chosen last, or that of the system
    /// @param mediaRoots below which disks that are plugged in are mounted
    explicit Tester(const QSize &screenSize, const QString &language = {},
        const QStringList &mediaRoots = RemovableMedia::defaultRoots());
    ~Tester();
    Tester(const Tester &) = delete;
    Tester &operator=(const Tester &) = delete;

    /// What has to happen before the Qt application object exists. A BaseDirHelper has to be there.
    /// @param pluginPath of the simulated scope; empty: there is none
    static void prepareProcess(const QString &pluginPath);

    /// Null when the user interface could not be loaded.
    QQuickWindow *window() const;

    Language &language() { return mLanguage; }
    InspectionDetails &details() { return mDetails; }
    FiberManager &fiberManager() { return mFiberManager; }
    JobStore &jobs() { return mJobs; }
    Inspector &inspector() { return mInspector; }
    ShownResult &shownResult() { return mShownResult; }
    Comparison &comparison() { return mComparison; }
    TesterSettings &settings() { return mSettings; }
    ReportWriter &reportWriter() { return mReportWriter; }
    RemovableMedia &removableMedia() { return mRemovableMedia; }

private:
    void connectParts();
    void publish();

    VantorBase mBase;
    TesterSettings mSettings{TesterSettings::defaultPath()};
    Language mLanguage; // before what is told in words
    JobStore mJobs{JobStore::defaultFolder(), &mSettings}; // opens the store before the thread does, and is told of it
    InspectionThread mInspection{&mJobs};
    HardwareManager mHardware;
    FiberManager mFiberManager{mInspection.manager()};
    InspectionDetails mDetails{&mFiberManager};
    Inspector mInspector{&mJobs, mInspection.manager()};
    ShownResult mShownResult{&mJobs};
    ReportWriter mReportWriter{JobStore::defaultFolder(), &mSettings};
    RemovableMedia mRemovableMedia;
    Comparison mComparison{&mJobs};
    KeyboardUse mKeyboardUse;
    QQmlApplicationEngine mEngine;
};
