// SPDX-License-Identifier: Apache-2.0
#include "focus/LiveMeter.h"

#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "focus/FilterLog.h"

#include <QElapsedTimer>
#include <QVideoSurfaceFormat>

#include <memory>

namespace Focus {

using FiberInspection::FiberRealtimeAnalyser;

QString LiveRemark::noCircle()
{
    return QStringLiteral("no circle");
}

QString LiveRemark::severalCircles()
{
    return QStringLiteral("more than one circle");
}

QString LiveRemark::tooCloseToBorder()
{
    return QStringLiteral("too close to the border for a focus value");
}

namespace {
QString remarkOn(bool found, const QStringList &warnings)
{
    if (warnings.isEmpty())
        return found ? QString() : LiveRemark::noCircle();
    const QString &warning = warnings.constLast();
    if (warning == QLatin1String("More than 1 cladding found!"))
        return LiveRemark::severalCircles();
    if (warning == QLatin1String("Crop is out of bounds") || warning == QLatin1String("Invalid x or y coordinates"))
        return LiveRemark::tooCloseToBorder();
    return warning;
}
} // namespace

Measurement measure(const QVideoFrame &frame)
{
    Measurement measurement;
    FilterLog::takeWarnings();

    // A filter keeps its values when it finds nothing: only a new one tells "not found" from "as before".
    FiberRealtimeAnalyser filter;
    QObject::connect(
        &filter, &FiberRealtimeAnalyser::focusValue_changed, &filter,
        [&measurement](double value) { measurement.focus = value; }, Qt::DirectConnection);
    QObject::connect(
        &filter, &FiberRealtimeAnalyser::claddingPosition_changed, &filter,
        [&measurement](const QPointF &value) {
            measurement.position = value;
            measurement.found = true;
        },
        Qt::DirectConnection);

    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<QVideoFilterRunnable> runnable(filter.createFilterRunnable());
    QVideoFrame shown = frame;
    runnable->run(&shown, QVideoSurfaceFormat(shown.size(), shown.pixelFormat()), {});
    runnable.reset(); // waits for the analysis
    measurement.milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;

    measurement.remark = remarkOn(measurement.found, FilterLog::takeWarnings());
    return measurement;
}

} // namespace Focus
