// SPDX-License-Identifier: Apache-2.0
// Goes through the application as a user would, and leaves a picture of each page in one size and language.
#include "Helpers/AbsoluteBaseDir.h"
#include "ShellDriver.h"
#include "Tester.h"
#include "simulation/SimulatedScope.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {
constexpr int transitionTime = 350; // milliseconds
constexpr char shownExports[] = "/media/stick"; // not that of whoever takes the pictures

/// A size of the screen, a language, and a theme.
struct Look
{
    const char *name;
    QSize size;
    const char *language;
    const char *theme;
};
constexpr std::array<Look, 5> looks{{
    {"800x480-en", {800, 480}, "en", "light"},
    {"800x480-de", {800, 480}, "de", "light"},
    {"1024x600-en", {1024, 600}, "en", "light"},
    {"1024x600-de", {1024, 600}, "de", "light"},
    {"800x480-de-dark", {800, 480}, "de", "dark"},
}};

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

    bool photographAll(const Look &look)
    {
        const QSize screenSize = look.size;
        QQuickWindow *const window = mTester.window();
        const int panelWidth = window->width() - window->property("screenWidth").toInt();
        window->setProperty("screenWidth", screenSize.width());
        window->setProperty("screenHeight", screenSize.height());
        window->resize(screenSize.width() + panelWidth, screenSize.height());
        mTester.language().setCurrent(QLatin1String(look.language));
        mTester.settings().setTheme(QLatin1String(look.theme));
        mSuffix = QStringLiteral("-") + QLatin1String(look.name);
        SimulatedScope::instance()->setFace(QStringLiteral("clean"));
        SimulatedScope::instance()->setFocus(0.7);
        QTest::qWait(transitionTime);
        return photograph("home") && photographAbout() && photographInspection() && photographJob();
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

    bool tap(const char *name) const { return mDriver.tap(QLatin1String(name)); }

    void type(const char *name, const char *text) const
    {
        mDriver.find(QLatin1String(name))->setProperty("text", QString::fromUtf8(text));
    }

    bool photographJob()
    {
        if (!tap("tile_101") || !settle())
            return false;
        type("jobName", "Central office, row 3");
        type("firstPoint", "A12");
        type("lastPoint", "A01");
        if (!settle() || !photograph("newjob-fault"))
            return false;
        type("firstPoint", "A01");
        type("lastPoint", "A12");
        type("jobCustomer", "Müller & Söhne");
        type("jobOperator", "Ada");
        return settle() && photograph("newjob") && tap("createJob") && settle() && photographPorts() && leave()
            && photographLists() && photographAgain();
    }

    bool photographPorts()
    {
        return aim("empty", "nofibre") && aim("clean", "port-focused") && photographPort("port-passed")
            && tap("nextPort") && settle() && aim("pitted", nullptr) && photographPort("port-failed") && tap("details")
            && settle() && tap("defect_1") && settle() && photograph("port-details") && leave() && acceptPort()
            && leave() && leave() && photograph("panel") && tap("actionStatistics") && settle()
            && photograph("statistics") && scrollDown() && photograph("statistics-end") && leave()
            && photographReport();
    }

    bool pressEscape()
    {
        mDriver.press(Qt::Key_Escape);
        return true;
    }

    bool scrollDown()
    {
        constexpr int enough = 20;
        for (int i = 0; i < enough; ++i)
            mDriver.press(Qt::Key_Down);
        return settle();
    }

    bool openReport()
    {
        return tap("actionReport") && settle()
            && ShellDriver::waitFor([this] { return !mTester.reportWriter().isReading(); });
    }

    bool photographReport()
    {
        if (!openReport() || !photograph("report"))
            return false;
        const QTemporaryDir exports;
        mExports = exports.path();
        mTester.settings().setExportFolder(mExports);
        const bool isWritten = tap("writeReport") && ShellDriver::waitFor([this] {
            return mTester.reportWriter().outcome().value(QStringLiteral("isWritten")).toBool();
        }) && photograph("report-written");
        mTester.settings().setExportFolder(QLatin1String(shownExports));
        const Records::RecordStore &records = mTester.jobs().records();
        const Records::Id first = mTester.jobs().points()->row(0).value(QStringLiteral("lastInspection")).toLongLong();
        return isWritten && leave() && QFile::remove(records.picturePath(records.inspection(first).value.picture).value)
            && openReport() && photograph("report-doubts") && leave();
    }

    /// Returns when the live picture has seen the face.
    bool aim(const char *face, const char *name)
    {
        SimulatedScope *const scope = SimulatedScope::instance();
        scope->setFace(QLatin1String(face));
        scope->setFocus(0);
        if (!mDriver.find(QStringLiteral("liveView")) && (!tap("inspectPoint") || !settle()))
            return false;
        const bool isEmpty = scope->face() == SimulatedScope::emptyAdapter();
        return ShellDriver::waitFor([&] {
            const QQuickItem *const bar = mDriver.find(QStringLiteral("focusBar"));
            const bool ready = mDriver.find(QStringLiteral("liveView"))->property("isReady").toBool();
            return scope->isSettled() && ready && bar->property(isEmpty ? "isValid" : "isSharp").toBool() != isEmpty;
        }) && (!name || photograph(name));
    }

    bool photographPort(const char *name) { return inspectPort() && photograph(name); }

    bool inspectPort()
    {
        constexpr int attempts = 5; // a noisy frame may be out of focus at the very press
        for (int i = 0; i < attempts && !mDriver.find(QStringLiteral("verdict")); ++i) {
            if (!tap("analyse") || !ShellDriver::waitFor([this] { return !mTester.inspector().isBusy(); }))
                return false;
            QTest::qWait(transitionTime);
        }
        return mDriver.find(QStringLiteral("verdict")) && settle();
    }

    bool acceptPort()
    {
        if (!tap("accept") || !settle())
            return false;
        type("note", "known to the customer");
        return photograph("note") && tap("noteAccept") && settle();
    }

    bool photographLists()
    {
        return tap("tile_106") && settle() && photograph("results") && photographResults() && tap("tile_107")
            && settle() && photograph("jobs") && leave() && tap("tile_108") && settle() && photograph("settings")
            && tap("themeChoice") && settle() && photograph("settings-theme") && pressEscape() && settle() && leave();
    }

    /// A port that is cleaned and inspected again.
    bool photographAgain()
    {
        return tap("tile_102") && settle() && tap("point_A03") && aim("pitted", nullptr) && inspectPort()
            && tap("repeat") && settle() && aim("clean", nullptr) && photographPort("port-again")
            && tap("beforeAndAfter") && settle() && photograph("port-before-after") && leave() && leave() && leave()
            && leave();
    }

    /// From the list, which it leaves.
    bool photographResults()
    {
        if (!tap("filter") || !settle())
            return false;
        for (const char *const filter : {"jobFilter", "standardFilter", "daysFilter"}) {
            mDriver.find(QLatin1String(filter))->forceActiveFocus(Qt::TabFocusReason);
            mDriver.press(Qt::Key_Down);
        }
        return settle() && photograph("results-filter") && tap("showAll") && tap("filter") && tap("compare") && settle()
            && tap("result_1") && settle() && photograph("results-compare") && tap("result_0") && settle()
            && photograph("port-compare") && leave() && leave();
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
        return mDriver.waitForRest()
            && ShellDriver::waitFor([this] { return !isPopupMoving() && !mTester.shownResult().isPictureAwaited(); });
    }

    /// Whether a message comes or goes.
    bool isPopupMoving() const
    {
        const QList<QObject *> objects = mTester.window()->findChildren<QObject *>();
        return std::any_of(objects.begin(), objects.end(), [](const QObject *object) {
            const QVariant opened = object->property("opened");
            return opened.isValid() && opened != object->property("visible");
        });
    }

    bool photograph(const char *name)
    {
        const QString path =
            QDir(mFolder).filePath(QStringLiteral("tester-%1%2.png").arg(QLatin1String(name), mSuffix));
        hold(mTester.window()->contentItem());
        QTest::qWait(100);
        hold(mTester.window()->contentItem()); // the clock may have gone on
        return mTester.window()->grabWindow().save(path);
    }

    /// What would be another text on every run.
    void hold(QQuickItem *item) const
    {
        if (item->objectName() == QLatin1String("reportState") && !mExports.isEmpty())
            holdFile(item);
        for (const char *const name : {"clock", "made", "storage", "times"}) {
            if (item->objectName() == QLatin1String(name))
                item->setProperty("text", heldText(item->property("text").toString()));
        }
        const QList<QQuickItem *> children = item->childItems();
        for (QQuickItem *const child : children)
            hold(child);
    }

    static QString heldText(QString text)
    {
        struct Held
        {
            QRegularExpression pattern;
            QString text;
        };
        static const auto held = [](const char *pattern, const char *shown) {
            return Held{QRegularExpression(QLatin1String(pattern)), QLatin1String(shown)};
        };
        static const QVector<Held> all{
            held(R"(\d\d(?=[./]\d\d[./]))", "09"),
            held(R"((?<=09[./])\d\d(?=[./]))", "03"),
            held(R"((?<=09[./]03[./])(20)?\d\d)", "2026"),
            held(R"(\d?\d(:\d\d)+)", "12:00"),
            held(R"(\d+ s\b)", "38 s"),
            held(R"(/[^/;][^;]+(?=;))", "/opt/vantor/records"),
            held(R"(\d+([.,]\d+)? [kKMGT]i?B)", "12 GiB"),
        };
        for (const Held &one : all)
            text.replace(one.pattern, one.text);
        return text;
    }

    void holdFile(QQuickItem *item) const
    {
        static const QRegularExpression day(QStringLiteral("20\\d\\d-\\d\\d-\\d\\d"));
        static const QRegularExpression size(QStringLiteral("\\d+[.,]\\d kB"));
        QString text = item->property("text").toString();
        text.replace(mExports, QLatin1String(shownExports));
        text.replace(day, QStringLiteral("2026-03-09"));
        text.replace(size, QStringLiteral("312 kB"));
        item->setProperty("text", text);
    }

    Tester &mTester;
    const ShellDriver mDriver;
    const QString mFolder;
    QString mExports;
    QString mSuffix;
};

const Look *findLook(const char *name)
{
    const auto found =
        std::find_if(looks.begin(), looks.end(), [name](const Look &look) { return qstrcmp(look.name, name) == 0; });
    return found == looks.end() ? nullptr : &*found;
}
} // namespace

int main(int argc, char *argv[])
{
    const Look *const look = argc == 3 ? findLook(argv[2]) : nullptr;
    if (!look) {
        std::fputs("usage: tester-screenshots FOLDER LOOK, which is 800x480-en, for instance\n", stderr);
        return 64;
    }
    const QString target = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(target)) {
        std::fprintf(stderr, "cannot make %s\n", qPrintable(target));
        return 1;
    }
    const QTemporaryDir workDir;
    const AbsoluteBaseDir folders(workDir.path());
    Tester::prepareProcess(SimulatedScope::pluginPath());
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationVersion(QStringLiteral(VANTORBASE_VERSION));
    Tester tester(QSize(800, 480));
    if (!tester.window() || !QTest::qWaitForWindowExposed(tester.window()))
        return 1;

    tester.settings().setExportFolder(QLatin1String(shownExports));
    Photographer photographer(tester, target);
    if (!photographer.holdSnackBar()) {
        std::fputs("the snack bar cannot be held\n", stderr);
        return 1;
    }
    if (!photographer.photographAll(*look)) {
        std::fprintf(stderr, "stuck at %s\n", look->name);
        return 1;
    }
    return 0;
}
