// SPDX-License-Identifier: Apache-2.0
#include "plot/Charts.h"
#include "study/focus/StudyExperiments.h"
#include "study/focus/StudyFaces.h"
#include "study/report/Statistics.h"

#include <array>

namespace Focus {

using Study::Proportion;

namespace {
constexpr double nearestGap = -60; // micrometres from the fibre's rim to the border; below zero it is cut off
constexpr double farthestGap = 240;
constexpr double gapStep = 10;
constexpr double blur = 1.5; ///< at which the place alone decides

struct Direction
{
    int x;
    int y;
};
constexpr std::array<Direction, 4> directions{{{-1, 0}, {1, 0}, {0, -1}, {0, 1}}};

/// The face with its rim so far from the border of the picture.
EndfaceScene movedFace(int number, Cleanness cleanness, const Direction &direction, double gap)
{
    EndfaceScene face = studyFace(number, cleanness);
    const QSizeF half = QSizeF(face.size) * face.micronsPerPixel() / 2;
    const double margin = gap + face.claddingDiameter / 2;
    face.offset = {direction.x * (half.width() - margin), direction.y * (half.height() - margin)};
    return face;
}
} // namespace

void studyPlaces(const Effort &effort, Study::Findings *findings)
{
    Plot::Series foundSeries;
    foundSeries.name = QStringLiteral("fibre found");
    Plot::Series measuredSeries;
    measuredSeries.name = QStringLiteral("and a focus value measured");
    Proportion whole;
    Proportion wholeMeasured;
    const int gaps = static_cast<int>((farthestGap - nearestGap) / gapStep) + 1;
    for (int i = 0; i < gaps; ++i) {
        const double gap = nearestGap + i * gapStep;
        Proportion found;
        Proportion measured;
        for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
            for (int number = 0; number < effort.places; ++number) {
                const Direction &direction = directions.at(static_cast<std::size_t>(number) % directions.size());
                const EndfaceScene face = movedFace(number, cleanness, direction, gap);
                const StudyReading reading = measureFace(face, blur, usualNoise);
                found.add(reading.found);
                measured.add(reading.found && reading.focus > 0);
            }
        }
        foundSeries.points.append({gap, 100 * found.rate()});
        measuredSeries.points.append({gap, 100 * measured.rate()});
        if (gap >= 0) {
            whole.add(found);
            wholeMeasured.add(measured);
        }
    }

    Plot::LineChart chart;
    chart.title = QStringLiteral("Found, by distance from the border");
    chart.subtitle = QStringLiteral("%1 faces each, blur %2 µm, noise %3 grey levels")
                         .arg(2 * effort.places)
                         .arg(blur)
                         .arg(usualNoise);
    chart.x.label = QStringLiteral("From the fibre's rim to the nearest border of the picture, µm");
    chart.y.label = QStringLiteral("Frames, %");
    chart.y.minimum = 0;
    chart.y.maximum = 100;
    chart.series = {foundSeries, measuredSeries};
    chart.vertical = {{0, QStringLiteral("touches the border"), {}}};
    findings->addPlot(QStringLiteral("focus-place"), Plot::svg(chart, {760, 380}));
    findings->addValue(QStringLiteral("place-found"), whole.toText());
    findings->addValue(QStringLiteral("place-measured"), wholeMeasured.toText());
}

} // namespace Focus
