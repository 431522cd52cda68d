// SPDX-License-Identifier: Apache-2.0
#include "focus/FocusPlot.h"

#include "focus/ThresholdLines.h"

namespace Focus {

Plot::LineChart focusPlot(const QVector<Reading> &readings, const QString &subtitle)
{
    Plot::Series focus;
    focus.name = QStringLiteral("focus value");
    Plot::Series missed;
    missed.name = QStringLiteral("fibre not found");
    missed.style = Plot::Series::Style::Points;
    missed.color = QStringLiteral("#9aa0a6");
    for (int i = 0; i < readings.size(); ++i) {
        const Measurement &measured = readings.at(i).measurement;
        focus.points.append({i + 1.0, measured.found ? measured.focus : Plot::automatic});
        if (!measured.found)
            missed.points.append({i + 1.0, 0});
    }

    Plot::LineChart chart;
    chart.title = QStringLiteral("Focus value of each frame");
    chart.subtitle = subtitle;
    chart.x.label = QStringLiteral("Frame");
    chart.x.wholeNumbers = true;
    chart.y.label = QStringLiteral("Focus value");
    chart.y.minimum = 0;
    chart.series.append(focus);
    if (!missed.points.isEmpty())
        chart.series.append(missed);
    chart.horizontal = thresholdLines();
    if (const Reading *const best = sharpest(readings)) {
        const auto frame = static_cast<int>(best - readings.constData()) + 1;
        chart.vertical.append({static_cast<double>(frame), QStringLiteral("sharpest: frame %1").arg(frame), {}});
    }
    return chart;
}

} // namespace Focus
