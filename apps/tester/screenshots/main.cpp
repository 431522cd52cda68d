// SPDX-License-Identifier: Apache-2.0
// Goes through the application as a user would, and leaves a picture of each page in both sizes and languages.
#include "Helpers/AbsoluteBaseDir.h"
#include "ShellDriver.h"
#include "Tester.h"
#include "simulation/SimulatedScope.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>

#include <cstdio>

namespace {
constexpr int transitionTime = 350; // milliseconds

class Photographer
{
public:
    Photographer(Tester &tester, const QString &folder)
        : mTester(tester)
        , mDriver(tester.window())
        , mFolder(folder)
    {
    }

    /// The snack bar stays until it is tapped, however long a picture takes.
    bool holdSnackBar()
    {
        constexpr int longTime = 10 * 60 * 1000; // milliseconds
        QObject *const snackBar = mTester.window()->findChild<QObject *>(QStringLiteral("snackBar"));
        return snackBar && snackBar->setProperty("showTime", longTime);
    }

    bool photographAll(const QSize &screenSize, const QString &language)
    {
        QQuickWindow *const window = mTester.window();
        const int panelWidth = window->width() - window->property("screenWidth").toInt();
        window->setProperty("screenWidth", screenSize.width());
        window->setProperty("screenHeight", screenSize.height());
        window->resize(screenSize.width() + panelWidth, screenSize.height());
        mTester.language().setCurrent(language);
        mSuffix = QStringLiteral("-%1x%2-%3").arg(screenSize.width()).arg(screenSize.height()).arg(language);
        SimulatedScope::instance()->setFace(QStringLiteral("clean"));
        SimulatedScope::instance()->setFocus(0.7);
        QTest::qWait(transitionTime);
        return photograph("home") && photographAbout() && photographInspection();
    }

private:
    bool photographAbout()
    {
        return mDriver.tap(QStringLiteral("tile_100")) && settle() && photograph("about") && leave();
    }

    bool photographInspection()
    {
        SimulatedScope *const scope = SimulatedScope::instance();
        if (!ShellDriver::waitFor([scope] { return scope->isSettled(); }) || !mDriver.tap(QStringLiteral("tile_1"))
            || !waitForCamera() || !settle() || !photograph("unfocused"))
            return false;
        if (!mDriver.tap(analyseText()) || !settle() || !photograph("message")
            || !mDriver.tap(QStringLiteral("messageConfirm")) || !settle())
            return false;
        return photographVerdict("clean", "passed", false) && photographVerdict("pitted", "failed", true) && leave()
            && (scope->setFocus(0.7), true);
    }

    bool photographVerdict(const char *face, const char *name, bool withDetails)
    {
        SimulatedScope *const scope = SimulatedScope::instance();
        scope->setFace(QLatin1String(face));
        scope->setFocus(0);
        if (!ShellDriver::waitFor([scope] { return scope->isSettled(); }))
            return false;
        if (!mDriver.waitForSharpFrame())
            return false;
        if (!withDetails && !photograph("focused"))
            return false;
        if (!mDriver.tap(analyseText()) || !mDriver.waitForItem(QStringLiteral("actionDetails")) || !settle()
            || !photograph(name) || !mDriver.tap(QStringLiteral("snackBar")))
            return false;
        if (withDetails
            && (!mDriver.tap(QStringLiteral("actionDetails")) || !settle() || !photograph("details")
                || !mDriver.tap(QStringLiteral("detailsClose")) || !settle()))
            return false;
        return leave();
    }

    QString analyseText() const
    {
        const bool isGerman = mTester.language().current() == QLatin1String("de");
        return isGerman ? QStringLiteral("Prüfen") : QStringLiteral("Analyse");
    }

    bool waitForCamera() const
    {
        return ShellDriver::waitFor([this] {
            const QQuickItem *const analyse = mDriver.find(analyseText());
            return analyse && analyse->isEnabled();
        });
    }

    bool leave() { return mDriver.tap(QStringLiteral("actionBack")) && settle(); }

    bool settle() const
    {
        QTest::qWait(transitionTime);
        return mDriver.waitForRest();
    }

    bool photograph(const char *name)
    {
        const QString path =
            QDir(mFolder).filePath(QStringLiteral("tester-%1%2.png").arg(QLatin1String(name), mSuffix));
        if (QQuickItem *const clock = mDriver.find(QStringLiteral("clock")))
            clock->setProperty("text", QStringLiteral("12:00")); // the same on every run
        QTest::qWait(100);
        return mTester.window()->grabWindow().save(path);
    }

    Tester &mTester;
    const ShellDriver mDriver;
    const QString mFolder;
    QString mSuffix;
};
} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fputs("usage: tester-screenshots FOLDER\n", stderr);
        return 64;
    }
    const QString target = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(target)) {
        std::fprintf(stderr, "cannot make %s\n", qPrintable(target));
        return 1;
    }
    const QTemporaryDir workDir;
    const AbsoluteBaseDir folders(workDir.path());
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    Tester::prepareProcess(QFileInfo(program).absolutePath() + QStringLiteral("/../plugins/mediaservice"));
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationVersion(QStringLiteral(VANTORBASE_VERSION));
    Tester tester(QSize(800, 480));
    if (!tester.window() || !QTest::qWaitForWindowExposed(tester.window()))
        return 1;

    struct Look
    {
        QSize size;
        const char *language;
    };
    constexpr Look looks[] = {
        {{800, 480}, "en"},
        {{800, 480}, "de"},
        {{1024, 600}, "en"},
        {{1024, 600}, "de"},
    };
    Photographer photographer(tester, target);
    if (!photographer.holdSnackBar()) {
        std::fputs("the snack bar cannot be held\n", stderr);
        return 1;
    }
    for (const Look &look : looks) {
        if (!photographer.photographAll(look.size, QLatin1String(look.language))) {
            std::fprintf(stderr, "stuck at %dx%d, %s\n", look.size.width(), look.size.height(), look.language);
            return 1;
        }
    }
    return 0;
}
