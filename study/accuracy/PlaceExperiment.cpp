// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <map>

namespace Study {

namespace {
constexpr int experiment = 4;
constexpr int facesPerPlace = 12;
constexpr double contrast = 0.55;

const QVector<double> &distances() // micrometres from the fibre centre to that of the pit
{
    static const QVector<double> values{
        0, 4, 8, 12, 16, 20, 25, 30, 35, 40, 45, 50, 53, 55, 57, 59, 60, 61, 62, 63, 64, 65, 66, 68, 70, 75, 85, 100};
    return values;
}

const QVector<double> &sizes()
{
    static const QVector<double> values{3, 6}; // micrometres
    return values;
}

struct Answers
{
    Proportion found;
    Proportion inCore; ///< of those found: counted to the core zone
    Sample size; ///< micrometres
};

Face face(int size, int distance, int number)
{
    Face face;
    face.cell = size * 100 + distance;
    face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), Mode::SingleMode);
    face.standards = {standardOf(Mode::SingleMode)};
    EndfaceRandom random = blemishRandom(face.scene.seed);
    const double angle = random.uniform(0.0, 360.0);
    const auto addPit = [&](double direction) {
        face.scene.defects.append(
            spot(EndfaceDefect::Kind::Pit, sizes()[size], placeAt(distances()[distance], direction), contrast));
    };
    addPit(angle);
    if (distances()[distance] > coreZoneRadius(Mode::SingleMode))
        addPit(angle + random.uniform(120.0, 240.0));
    return face;
}

void add(const Inspection &inspection, int blemish, Answers *answers)
{
    const Finding *const finding = inspection.largestOf(blemish);
    answers->found.add(finding != nullptr);
    if (!finding)
        return;
    answers->inCore.add(finding->zone == FiberInspection::Zone::Core);
    answers->size.add(finding->size);
}
} // namespace

QVector<Face> PlaceExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (int size = 0; size < sizes().size(); ++size) {
        for (int distance = 0; distance < distances().size(); ++distance) {
            for (int number = 0; number < effort.times(facesPerPlace); ++number)
                faces.append(face(size, distance, number));
        }
    }
    return faces;
}

void PlaceExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    std::map<int, Answers> answers;
    for (int i = 0; i < faces.size(); ++i) {
        const Inspection &inspection = outcomes[i].first();
        for (int blemish = 0; blemish < faces[i].scene.defects.size() && inspection.hasVerdict(); ++blemish)
            add(inspection, blemish, &answers[faces[i].cell]);
    }

    QStringList head{QStringLiteral("Distance, µm")};
    for (const double size : sizes()) {
        head << QStringLiteral("%1 µm: found").arg(size) << QStringLiteral("counted to the core zone")
             << QStringLiteral("mean size, µm");
    }
    Table table(head);
    for (int distance = 0; distance < distances().size(); ++distance) {
        QStringList row{QString::number(distances()[distance])};
        for (int size = 0; size < sizes().size(); ++size) {
            const Answers &cell = answers[size * 100 + distance];
            findings->addValue(
                QStringLiteral("place-%1um-at-%2").arg(levelName(sizes()[size]), levelName(distances()[distance])),
                cell.found.rateText());
            row << cell.found.toText() << cell.inCore.rateText() << numberText(cell.size.mean(), 1);
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("place"), table);

    Plot::LineChart chart;
    chart.title = QStringLiteral("The same pit at every distance from the fibre centre");
    chart.x.label = QStringLiteral("Distance of its centre from that of the fibre, µm");
    chart.y = percentAxis(QStringLiteral("Found, %"));
    chart.vertical = {{coreZoneRadius(Mode::SingleMode), QStringLiteral("core zone"), QString()},
        {claddingRadius, QStringLiteral("rim"), QString()}};
    for (int size = 0; size < sizes().size(); ++size) {
        QVector<Proportion> rates;
        for (int distance = 0; distance < distances().size(); ++distance)
            rates.append(answers[size * 100 + distance].found);
        chart.bands.append(rateBand(distances(), rates));
        chart.series.append(rateSeries(QStringLiteral("%1 µm").arg(sizes()[size]), distances(), rates));
    }
    findings->addPlot(QStringLiteral("place"), Plot::svg(chart));
}

} // namespace Study
