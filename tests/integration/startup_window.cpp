// SPDX-License-Identifier: Apache-2.0
// An application as it starts on the device: the work directory, the start-up, then a Qt Quick window whose content
// comes from a module under the work directory. Ends with 0 when the right picture stood on the display ":0.0".
// With "software" Qt Quick draws without OpenGL.
#include "OrvelApplication.h"
#include "WorkDir.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QScreen>
#include <QTimer>

#include <cstring>

namespace {
constexpr int side = 64; // pixels
constexpr int maxMilliseconds = 20000;
constexpr QRgb stampColor = 0xff2080c0;
constexpr int colorTolerance = 2; // per channel, for what the display makes of it

bool write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool writeModule(const TemporaryWorkDir &workDir)
{
    return QDir(workDir.path()).mkpath(QStringLiteral("lib/qt5/qml/Startup"))
        && write(
            workDir.filePath(QStringLiteral("lib/qt5/qml/Startup/qmldir")), "module Startup\nStamp 1.0 Stamp.qml\n")
        && write(workDir.filePath(QStringLiteral("lib/qt5/qml/Startup/Stamp.qml")),
            "import QtQuick 2.15\nRectangle { color: \"#2080c0\" }\n")
        && write(workDir.filePath(QStringLiteral("main.qml")), "import Startup 1.0\nStamp {}\n");
}

bool isStampColor(QRgb color)
{
    return qAbs(qRed(color) - qRed(stampColor)) <= colorTolerance
        && qAbs(qGreen(color) - qGreen(stampColor)) <= colorTolerance
        && qAbs(qBlue(color) - qBlue(stampColor)) <= colorTolerance;
}

/// What is wrong, or nothing.
QString faultOf(QQuickView *view, bool isSoftware)
{
    const QImage picture = view->screen()->grabWindow(view->winId()).toImage(); // as the display has it
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return QStringLiteral("the platform is ") + QGuiApplication::platformName();
    if (!QCoreApplication::testAttribute(Qt::AA_EnableHighDpiScaling))
        return QStringLiteral("there is no scaling for fine screens");
    const bool drawsInSoftware = view->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
    if (drawsInSoftware != isSoftware)
        return QStringLiteral("it is the wrong renderer");
    if (picture.isNull() || !isStampColor(picture.pixel(picture.rect().center())))
        return QStringLiteral("the picture is not the right one");
    return {};
}
} // namespace

int main(int argc, char *argv[])
{
    const bool isSoftware = argc > 1 && std::strcmp(argv[1], "software") == 0;
    const TemporaryWorkDir workDir;
    if (!workDir.isValid() || !writeModule(workDir))
        return 2;

    OrvelApplication::initCore();
    OrvelApplication::initGui();
    if (isSoftware)
        OrvelApplication::enableSoftwareRendering();

    QGuiApplication application(argc, argv);
    QQuickView view;
    view.resize(side, side);
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl::fromLocalFile(workDir.filePath(QStringLiteral("main.qml"))));
    if (view.status() != QQuickView::Ready)
        return 3;

    QString fault = QStringLiteral("no frame came");
    QTimer::singleShot(maxMilliseconds, &application, &QCoreApplication::quit);
    QObject::connect(
        &view, &QQuickWindow::frameSwapped, &application,
        [&] {
            fault = faultOf(&view, isSoftware);
            if (fault.isEmpty())
                QCoreApplication::quit();
            else
                view.update(); // the next frame may be on the display already
        },
        Qt::QueuedConnection);
    view.show();
    QGuiApplication::exec();
    if (!fault.isEmpty())
        qCritical().noquote() << fault;
    return fault.isEmpty() ? 0 : 1;
}
