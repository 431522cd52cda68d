// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

/// Prepares the process for the tester's Qt Quick application. All of it has to happen before the Qt application object
/// exists, because Qt reads these settings only once, and before the process has a second thread. Variables are set
/// whatever they were before.
///
/// @code
/// const AbsoluteBaseDir folder(QStringLiteral("/opt/unit"));
/// OrvelApplication::initCore();
/// OrvelApplication::initGui();
/// int argc = 0;
/// const QGuiApplication application(argc, nullptr);
/// @endcode
class VANTORBASE_EXPORT OrvelApplication
{
public:
    OrvelApplication() = delete;

    /// Where QML modules and Qt plug-ins are found: under BaseDirHelper::libDir(), so the application's BaseDirHelper
    /// has to exist first. The paths reach Qt as Latin-1; a folder name with other characters is lost.
    static void initCore();

    /// Display, web engine and on-screen keyboard. XAUTHORITY stays as it is when DISABLE_XAUTHORITY is set to
    /// anything.
    static void initGui();

    /// For units without a usable graphics processor: Qt Quick draws in software.
    static void enableSoftwareRendering();
};
