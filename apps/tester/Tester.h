// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HardwareManager.h"
#include "InspectionDetails.h"
#include "Language.h"
#include "Managers/InspectionManager.h"
#include "Pages/FiberManager.h"
#include "VantorBase.h"

#include <QQmlApplicationEngine>
#include <QSize>
#include <QThread>

class QQuickWindow;

/// A manager with the thread it works in. Ends the thread, and the manager with it, when it is destroyed.
class InspectionThread
{
public:
    InspectionThread();
    ~InspectionThread();
    InspectionThread(const InspectionThread &) = delete;
    InspectionThread &operator=(const InspectionThread &) = delete;

    InspectionManager *manager() const { return mManager; }

private:
    QThread mThread;
    InspectionManager *const mManager = new InspectionManager;
};

/// The application after the Qt application object: its members are constructed in the order in which they need each
/// other, and destroyed in the reverse one. One object per process.
class Tester
{
public:
    /// @param screenSize of the unit, pixels
    explicit Tester(const QSize &screenSize);
    ~Tester();
    Tester(const Tester &) = delete;
    Tester &operator=(const Tester &) = delete;

    /// What has to happen before the Qt application object exists. A BaseDirHelper has to be there.
    /// @param pluginFolder of the simulated scope
    static void prepareProcess(const QString &pluginFolder);

    /// Null when the user interface could not be loaded.
    QQuickWindow *window() const;

    Language &language() { return mLanguage; }
    InspectionDetails &details() { return mDetails; }
    FiberManager &fiberManager() { return mFiberManager; }

private:
    VantorBase mBase;
    InspectionThread mInspection;
    HardwareManager mHardware;
    FiberManager mFiberManager{mInspection.manager()};
    InspectionDetails mDetails{&mFiberManager};
    Language mLanguage;
    QQmlApplicationEngine mEngine;
};
