// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <algorithm>

namespace Study {

using Kind = EndfaceDefect::Kind;

namespace {
constexpr int experiment = 5;
constexpr int facesPerLevel = 20;
constexpr double tolerable = 25.0; // micrometres; a larger defect of the cladding fails

enum class Cover : quint8 { Rim, Stain };

/// Of the ring: its width in micrometres. Of the stain: its contrast in per cent.
const QVector<double> &levels(Cover cover)
{
    static const QVector<double> widths{1, 2, 3, 4, 5, 6, 8, 10};
    static const QVector<double> contrasts{5, 10, 15, 20, 25, 30, 40, 50};
    return cover == Cover::Rim ? widths : contrasts;
}

Face face(Cover cover, int level, int number)
{
    constexpr double ringContrast = 0.6;
    constexpr double pitSize = 6.0; // micrometres
    constexpr double pitContrast = 0.6;
    constexpr double pitDistance = 36.0;
    constexpr double stainSize = 34.0;
    Face face;
    face.cell = static_cast<int>(cover) * 100 + level;
    face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), Mode::SingleMode);
    face.standards = {standardOf(Mode::SingleMode)};
    EndfaceRandom random = blemishRandom(face.scene.seed);
    const QPointF center = placeAt(pitDistance, random.uniform(0.0, 360.0));
    face.scene.defects.append(spot(Kind::Pit, pitSize, center, pitContrast));
    if (cover == Cover::Rim) {
        face.scene.ringContrast = ringContrast;
        face.scene.ringWidth = levels(cover)[level];
    } else {
        face.scene.defects.append(spot(Kind::Stain, stainSize, center, levels(cover)[level] / 100));
    }
    return face;
}

struct Answers
{
    Proportion analysed;
    Proportion pitFound;
    Proportion coverFound; ///< the rim as an intolerable defect, or the stain
    Proportion failed;
};

void add(const Inspection &inspection, Cover cover, Answers *answers)
{
    answers->analysed.add(inspection.hasVerdict());
    if (!inspection.hasVerdict())
        return;
    answers->failed.add(!inspection.passed);
    answers->pitFound.add(inspection.finds(0));
    const bool findsRim = std::any_of(inspection.findings.cbegin(), inspection.findings.cend(),
        [](const Finding &finding) { return finding.size > tolerable; });
    answers->coverFound.add(cover == Cover::Rim ? findsRim : inspection.finds(1));
}

void tell(
    const QVector<Answers> &answers, Cover cover, const QString &name, const QStringList &head, Findings *findings)
{
    Table table(head);
    for (int level = 0; level < answers.size(); ++level) {
        const Answers &cell = answers[level];
        const QString figure = QStringLiteral("%1-%2-").arg(name, levelName(levels(cover)[level]));
        findings->addValue(figure + QStringLiteral("pit"), cell.pitFound.rateText());
        findings->addValue(figure + QStringLiteral("failed"), cell.failed.rateText());
        table.addRow({QString::number(levels(cover)[level]), cell.analysed.rateText(), cell.coverFound.toText(),
            cell.pitFound.toText(), cell.failed.rateText()});
    }
    findings->addTable(name, table);
}

Plot::LineChart chart(const QVector<Answers> &answers, Cover cover, const QString &title, const QString &coverName)
{
    QVector<Proportion> pit;
    QVector<Proportion> coverFound;
    for (const Answers &cell : answers) {
        pit.append(cell.pitFound);
        coverFound.append(cell.coverFound);
    }
    Plot::LineChart chart;
    chart.title = title;
    chart.y = percentAxis(QStringLiteral("Found, %"));
    chart.bands = {rateBand(levels(cover), pit), rateBand(levels(cover), coverFound)};
    chart.series = {
        rateSeries(QStringLiteral("the pit"), levels(cover), pit), rateSeries(coverName, levels(cover), coverFound)};
    return chart;
}
} // namespace

QVector<Face> CoverExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (const Cover cover : {Cover::Rim, Cover::Stain}) {
        for (int level = 0; level < levels(cover).size(); ++level) {
            for (int number = 0; number < effort.times(facesPerLevel); ++number)
                faces.append(face(cover, level, number));
        }
    }
    return faces;
}

void CoverExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    QVector<Answers> rim(levels(Cover::Rim).size());
    QVector<Answers> stain(levels(Cover::Stain).size());
    for (int i = 0; i < faces.size(); ++i) {
        const Cover cover = static_cast<Cover>(faces[i].cell / 100);
        add(outcomes[i].first(), cover, &(cover == Cover::Rim ? rim : stain)[faces[i].cell % 100]);
    }

    const QString analysed = QStringLiteral("analysed");
    const QString pit = QStringLiteral("pit found");
    const QString failed = QStringLiteral("failed");
    const QString width = QStringLiteral("Width of the dark ring, µm");
    const QString contrast = QStringLiteral("Contrast of the stain, %");
    tell(rim, Cover::Rim, QStringLiteral("cover-rim"),
        {width, analysed, QStringLiteral("rim graded as a defect > 25 µm"), pit, failed}, findings);
    tell(stain, Cover::Stain, QStringLiteral("cover-stain"),
        {contrast, analysed, QStringLiteral("stain found"), pit, failed}, findings);

    Plot::LineChart rimChart =
        chart(rim, Cover::Rim, QStringLiteral("A pit within a dark ring"), QStringLiteral("the rim, as a defect"));
    rimChart.x.label = width;
    Plot::LineChart stainChart =
        chart(stain, Cover::Stain, QStringLiteral("A pit in the middle of a stain"), QStringLiteral("the stain"));
    stainChart.x.label = contrast;
    findings->addPlot(QStringLiteral("cover"), Plot::svg({rimChart, stainChart}, 2, {900, 380}));
}

} // namespace Study
