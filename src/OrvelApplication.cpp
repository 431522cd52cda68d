// SPDX-License-Identifier: Apache-2.0
#include "OrvelApplication.h"

#include "Helpers/BaseDirHelper.h"

#include <QCoreApplication>
#include <QString>

#include <X11/Xlib.h>

namespace {
struct Variable
{
    const char *name;
    const char *value;
};

constexpr Variable libraryPaths[] = {
    // below libDir()
    {"QML2_IMPORT_PATH", "qt5/qml/"},
    {"QT_PLUGIN_PATH", "qt5/plugins/"},
};

constexpr Variable display = {"DISPLAY", ":0.0"};
constexpr Variable authority = {"XAUTHORITY", "/home/x_user/.Xauthority"};
constexpr char keepsAuthority[] = "DISABLE_XAUTHORITY";
constexpr Variable guiSettings[] = {
    {"XDG_SESSION_TYPE", "x11"},
    {"QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox"},
    {"QTWEBENGINEPROCESS_PATH", "/opt/qt5.11.3/libexec/QtWebEngineProcess"},
    {"QT_IM_MODULE", "qtvirtualkeyboard"},
    {"QT_VIRTUALKEYBOARD_STYLE", "orvel"},
    {"QT_VIRTUALKEYBOARD_LAYOUT_PATH", "qrc:/QtQuick/VirtualKeyboard/content/layouts"},
};

constexpr Variable softwareRenderer = {"QMLSCENE_DEVICE", "softwarecontext"};

void set(const Variable &variable)
{
    qputenv(variable.name, variable.value);
}
} // namespace

void OrvelApplication::initCore()
{
    const QString folder = BaseDirHelper::libDir();
    for (const Variable &path : libraryPaths)
        qputenv(path.name, QStringLiteral("%1%2").arg(folder, QLatin1String(path.value)).toLatin1());
}

void OrvelApplication::initGui()
{
    XInitThreads(); // has to be the first call to Xlib

    set(display);
    if (qEnvironmentVariableIsEmpty(keepsAuthority))
        set(authority);
    for (const Variable &setting : guiSettings)
        set(setting);

    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
}

void OrvelApplication::enableSoftwareRendering()
{
    set(softwareRenderer);
}
