// SPDX-License-Identifier: Apache-2.0
#include "JobTest.h"

#include "FocusMeter.h"

bool JobTest::type(const char *name, const QString &text) const
{
    if (!waitFor(name) || !driver().waitForRest())
        return false;
    find(name)->forceActiveFocus(Qt::TabFocusReason); // also where it has to be scrolled to
    QTest::keyClick(window(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(window(), Qt::Key_Delete);
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, window(), Qt::Key_unknown, QString(character), Qt::NoModifier);
    return find(name)->property("text").toString() == text;
}

bool JobTest::makeJob(const QString &name, const QString &first, const QString &last) const
{
    return tap("tile_101") && type("jobName", name) && type("firstPoint", first) && type("lastPoint", last)
        && tap("createJob") && waitFor("panel") && driver().waitForRest();
}

bool JobTest::aimAt(const char *face) const
{
    scope()->setFace(QLatin1String(face));
    scope()->setFocus(0);
    if (!find("analyse") && !tap("inspectPoint"))
        return false;
    return waitFor("analyse") && driver().waitForRest()
        && ShellDriver::waitFor([this] { return scope()->isSettled() && find("analyse")->isEnabled(); })
        && driver().waitForSharpFrame()
        && ShellDriver::waitFor([this] { return find("focusBar")->property("isSharp").toBool(); })
        && waitForSteadyFocus();
}

bool JobTest::waitForSteadyFocus() const
{
    constexpr int enough = 3; // readings
    const auto *const meter = find("liveView")->findChild<FocusMeter *>();
    quint64 frame = 0;
    double best = 0;
    int steady = 0;
    return meter && ShellDriver::waitFor([&] {
        const FiberInspection::LiveReading reading = meter->filter()->lastReading();
        if (reading.frame == frame || reading.state != FiberInspection::LiveReading::State::Measured)
            return false;
        frame = reading.frame;
        steady = reading.focusValue > best ? 0 : steady + 1; // on its way up each is the best so far
        best = qMax(best, reading.focusValue);
        return steady >= enough;
    });
}

bool JobTest::inspect(const char *face) const
{
    return aimAt(face) && tap("analyse") && waitFor("verdict") && driver().waitForRest();
}

QString JobTest::textOf(const char *name) const
{
    const QQuickItem *const item = find(name);
    return item ? item->property("text").toString() : QString();
}

bool JobTest::waitForText(const char *name, const QString &text) const
{
    return ShellDriver::waitFor([&] { return textOf(name) == text; });
}
