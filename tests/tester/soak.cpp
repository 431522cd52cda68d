// SPDX-License-Identifier: Apache-2.0
// Leaves the tester at rest, then before the scope, with an inspection every few seconds, and measures what a user
// would notice in the end: a slow start, a jerky picture, a warm unit, memory that fills. The goals are those of a
// quiet machine; with --busy, of one that other programs use, too.
#include "FrameCounter.h"
#include "Helpers/AbsoluteBaseDir.h"
#include "ShellDriver.h"
#include "Tester.h"
#include "simulation/SimulatedScope.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QVector>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <unistd.h>

namespace {
struct Goals
{
    double firstFrame; // seconds, at the latest
    double idleLoad; // per cent of one processor, at most
    double dropped; // per cent of the frames, at most
    double growth; // mebibytes, at most
};
constexpr Goals quietMachine{1, 3, 0, 4};
constexpr Goals busyMachine{5, 15, 30, 16}; // others have the processor for most of the time, and the run may be short
constexpr int idleTime = 10000; // milliseconds
constexpr int previewTime = 5000; // milliseconds
constexpr int shortestRun = 4; // inspections

double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Since this process was started, before its libraries were loaded; to a hundredth of a second.
double secondsSinceStart()
{
    constexpr int startTimeField = 19; // of those after the name of the program
    QFile file(QStringLiteral("/proc/self/stat"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return seconds(CLOCK_BOOTTIME)
        - fields.value(startTimeField).toDouble() / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// Mebibytes of this process in memory.
double residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

double mean(const QVector<double> &values, int first, int last)
{
    return std::accumulate(values.begin() + first, values.begin() + last, 0.0) / (last - first);
}

class Soak
{
public:
    Soak(QQuickWindow *window, const Goals &goals)
        : mDriver(window)
        , mGoals(goals)
    {
    }

    void tellStart(double firstFrame)
    {
        tell("first frame, from the start of the process", firstFrame, "s", mGoals.firstFrame);
    }
    bool rest();
    bool inspectFor(double minutes);
    bool isWell() const { return mIsWell; }

private:
    bool tell(const char *what, double value, const char *unit, double goal);
    bool openInspection();
    bool watchPreview();
    bool inspectOnce();
    void tellPreviewAndMemory();

    const ShellDriver mDriver;
    const Goals mGoals;
    FrameCounter mCounter;
    QVector<double> mMemory; // mebibytes, after each inspection
    qint64 mFramesDue = 0;
    qint64 mFramesShown = 0;
    bool mIsWell = true;
};

bool Soak::tell(const char *what, double value, const char *unit, double goal)
{
    const bool isReached = value <= goal;
    std::printf("%-42s %8.2f %-8s goal %5.2f%s\n", what, value, unit, goal, isReached ? "" : "   MISSED");
    std::fflush(stdout);
    mIsWell = mIsWell && isReached;
    return isReached;
}

/// Processor time at the home page.
bool Soak::rest()
{
    if (!mDriver.waitForItem(QStringLiteral("tile_1")))
        return false;
    constexpr int settling = 2000; // milliseconds; the scope paints its first pictures
    QTest::qWait(settling);
    const double before = seconds(CLOCK_PROCESS_CPUTIME_ID);
    QTest::qWait(idleTime);
    const double used = seconds(CLOCK_PROCESS_CPUTIME_ID) - before;
    tell("processor at rest", 100 * used / (idleTime / 1000.0), "%", mGoals.idleLoad);
    return true;
}

bool Soak::openInspection()
{
    SimulatedScope *const scope = SimulatedScope::instance();
    scope->setFocus(0);
    if (!mDriver.tap(QStringLiteral("tile_1")) || !mDriver.waitForItem(QStringLiteral("Analyse"))
        || !ShellDriver::waitFor([&] { return mDriver.find(QStringLiteral("Analyse"))->isEnabled(); })
        || !mCounter.watch(mDriver.window()->contentItem()))
        return false;
    constexpr int settling = 3000; // milliseconds; until the scope has painted all its pictures
    QTest::qWait(settling);
    return scope->isSettled();
}

bool Soak::watchPreview()
{
    if (!mDriver.waitForRest())
        return false;
    constexpr int moment = 300; // milliseconds; the first frame after the page was covered
    QTest::qWait(moment);
    QElapsedTimer watch;
    const qint64 before = mCounter.count();
    watch.start();
    QTest::qWait(previewTime);
    mFramesDue += watch.elapsed() * SimulatedScope::framesPerSecond / 1000;
    mFramesShown += mCounter.count() - before;
    return true;
}

bool Soak::inspectOnce()
{
    const bool isDone = mDriver.tap(QStringLiteral("Analyse")) && mDriver.waitForItem(QStringLiteral("actionDetails"))
        && mDriver.waitForItem(QStringLiteral("✓")) && mDriver.tap(QStringLiteral("actionBack"));
    mMemory.append(residentMemory());
    return isDone;
}

bool Soak::inspectFor(double minutes)
{
    if (!openInspection())
        return false;
    QElapsedTimer whole;
    whole.start();
    while (!whole.hasExpired(static_cast<qint64>(minutes * 60 * 1000)) || mMemory.size() < shortestRun) {
        if (!watchPreview() || !inspectOnce())
            return false;
    }
    tellPreviewAndMemory();
    return true;
}

void Soak::tellPreviewAndMemory()
{
    // Where the watch begins and ends, a frame more or less is a matter of luck.
    const qint64 dropped = std::max<qint64>(0, mFramesDue - mFramesShown - mMemory.size());
    std::printf("%lld frames in preview, %d inspections, %.1f MiB at the end\n", static_cast<long long>(mFramesShown),
        mMemory.size(), mMemory.constLast());
    const auto mostDropped = std::floor(static_cast<double>(mFramesDue) * mGoals.dropped / 100);
    tell("frames dropped", static_cast<double>(dropped), "", mostDropped);
    const int quarter = mMemory.size() / 4;
    const double growth = mean(mMemory, mMemory.size() - quarter, mMemory.size()) - mean(mMemory, quarter, 2 * quarter);
    tell("memory, last against second quarter", growth, "MiB", mGoals.growth);
}
} // namespace

int main(int argc, char *argv[])
{
    const bool isBusy = argc == 3 && qstrcmp(argv[2], "--busy") == 0;
    bool isNumber = argc == 2 || isBusy;
    const double minutes = isNumber ? QByteArray(argv[1]).toDouble(&isNumber) : 0;
    if (!isNumber || !(minutes > 0 && minutes <= 24 * 60)) {
        std::fputs("usage: tester-soak MINUTES [--busy]\n", stderr);
        return 64;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ndefault.info=false\nqml.debug=false"));
    const QTemporaryDir workDir;
    const AbsoluteBaseDir folders(workDir.path());
    Tester::prepareProcess(QStringLiteral(VANTOR_PLUGINS));
    const QGuiApplication application(argc, argv);
    Tester tester(QSize(800, 480));
    if (!tester.window())
        return 1;
    tester.language().setCurrent(QStringLiteral("en"));

    std::atomic<double> firstFrame{0};
    QObject::connect(
        tester.window(), &QQuickWindow::frameSwapped, tester.window(),
        [&firstFrame] {
            if (firstFrame == 0)
                firstFrame = secondsSinceStart();
        },
        Qt::DirectConnection);
    if (!ShellDriver::waitFor([&firstFrame] { return firstFrame > 0; }))
        return 1;

    Soak soak(tester.window(), isBusy ? busyMachine : quietMachine);
    soak.tellStart(firstFrame);
    if (!soak.rest() || !soak.inspectFor(minutes)) {
        std::fputs("tester-soak: stuck\n", stderr);
        return 1;
    }
    return soak.isWell() ? 0 : 1;
}
