// SPDX-License-Identifier: Apache-2.0
#include "Setup.h"

#include "Expect.h"
#include "NativeModel.h"
#include "QmlResources.h"

#include <QQmlEngine>
#include <QQuickStyle>

#include <cstdio>

namespace {
// While a file is loaded no test is running yet that would report what the engine has to say.
void reportOutsideOfTests(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const bool isFault = type != QtDebugMsg && type != QtInfoMsg;
    std::fprintf(stdout, "%s: outside of a test: %s\n", isFault ? "QWARN  " : "QDEBUG ", qPrintable(text));
    std::fflush(stdout);
}
} // namespace

Setup::Setup()
{
    qInstallMessageHandler(&reportOutsideOfTests);
}

Setup::~Setup()
{
    qInstallMessageHandler(nullptr);
}

void Setup::applicationAvailable()
{
    QQuickStyle::setStyle(QStringLiteral("Material"));
    initVantorQmlResources();
}

void Setup::qmlEngineAvailable(QQmlEngine *)
{
    qmlRegisterType<NativeModel>("VantorTest", 1, 0, "NativeModel");
    qmlRegisterSingletonType<Expect>(
        "VantorTest", 1, 0, "Expect", [](QQmlEngine *, QJSEngine *) -> QObject * { return new Expect; });
}
