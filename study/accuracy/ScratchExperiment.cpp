// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <map>

namespace Study {

namespace {
constexpr int experiment = 3;
constexpr int facesPerLevel = 16;
constexpr double reliable = 0.95;

enum class Place : quint8 { Core, Cladding };

/// What is varied while the rest stays usual.
struct Factor
{
    const char *name;
    const char *title;
    QVector<double> levels;
    void (*apply)(EndfaceDefect *scratch, double level);
    bool isLogarithmic;
};

const QVector<Factor> &factors()
{
    static const QVector<Factor> all{
        {"width", "Width, µm", {0.5, 1, 1.5, 2, 3, 4, 5, 6, 8, 10},
            [](EndfaceDefect *scratch, double level) { scratch->size = level; }, false},
        {"length", "Length, µm", {10, 15, 20, 25, 30, 35, 40, 50, 60, 80},
            [](EndfaceDefect *scratch, double level) { scratch->length = level; }, false},
        {"angle", "Angle, degrees", {0, 5, 15, 30, 45, 60, 75, 90},
            [](EndfaceDefect *scratch, double level) { scratch->angle = level; }, false},
        {"contrast", "Contrast, %", {5, 8, 12, 16, 20, 25, 30, 40, 50, 60},
            [](EndfaceDefect *scratch, double level) { scratch->contrast = level / 100; }, false},
    };
    return all;
}

struct CellKey
{
    int factor;
    int level;
    Place place;

    static CellKey of(int cell) { return {cell / 100, cell / 2 % 50, static_cast<Place>(cell % 2)}; }
    int number() const { return factor * 100 + level * 2 + static_cast<int>(place); }
};

Face face(const CellKey &cell, int number)
{
    constexpr double usualWidth = 2.0; // micrometres
    constexpr double usualLength = 50.0;
    constexpr double usualContrast = 0.5;
    constexpr double besideCore = 38.0; // distance of its middle from the fibre centre
    constexpr double throughCore = 6.0; // at most
    Face face;
    face.cell = cell.number();
    face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), Mode::SingleMode);
    face.standards = {standardOf(Mode::SingleMode)};
    EndfaceRandom random = blemishRandom(face.scene.seed);
    EndfaceDefect blemish = scratch(usualWidth, usualLength, {}, random.uniform(0.0, 180.0), usualContrast);
    const Factor &factor = factors()[cell.factor];
    factor.apply(&blemish, factor.levels[cell.level]);
    // In the cladding it runs across the radius, clear of core zone and rim.
    const double side = random.uniform() < 0.5 ? 90.0 : -90.0;
    const double distance = cell.place == Place::Core ? random.uniform(0.0, throughCore) : besideCore;
    blemish.center = placeAt(distance, blemish.angle + side);
    face.scene.defects.append(blemish);
    return face;
}

struct Answers
{
    Proportion found;
    Proportion asScratch; ///< of those found
    Sample pieces;
    Sample lengthShare; ///< measured to true
    Proportion failed; ///< verdicts
};

using AnswerMap = std::map<int, Answers>; // by the number of the cell

AnswerMap collect(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes)
{
    AnswerMap answers;
    for (int i = 0; i < faces.size(); ++i) {
        const Inspection &inspection = outcomes[i].first();
        if (!inspection.hasVerdict())
            continue;
        Answers &cell = answers[faces[i].cell];
        cell.found.add(inspection.finds(0));
        cell.failed.add(!inspection.passed);
        if (!inspection.finds(0))
            continue;
        cell.asScratch.add(inspection.findsAsScratch(0));
        cell.pieces.add(inspection.findingsOf(0));
        cell.lengthShare.add(inspection.largestOf(0)->size / faces[i].scene.defects.first().length);
    }
    return answers;
}

Answers answersOf(const AnswerMap &answers, const CellKey &cell)
{
    const auto found = answers.find(cell.number());
    return found == answers.end() ? Answers() : found->second;
}

void tellFactor(const AnswerMap &answers, int factor, Findings *findings)
{
    const Factor &plan = factors()[factor];
    Table table({QString::fromUtf8(plan.title), QStringLiteral("found beside the core"), QStringLiteral("as a scratch"),
        QStringLiteral("pieces"), QStringLiteral("measured / true length"), QStringLiteral("face failed"),
        QStringLiteral("found through the core"), QStringLiteral("as a scratch"), QStringLiteral("face failed")});
    QVector<double> cladding;
    QVector<double> core;
    for (int level = 0; level < plan.levels.size(); ++level) {
        const Answers beside = answersOf(answers, {factor, level, Place::Cladding});
        const Answers through = answersOf(answers, {factor, level, Place::Core});
        table.addRow({QString::number(plan.levels[level]), beside.found.toText(), beside.asScratch.rateText(),
            numberText(beside.pieces.mean(), 1), numberText(beside.lengthShare.mean(), 2), beside.failed.rateText(),
            through.found.toText(), through.asScratch.rateText(), through.failed.rateText()});
        const QString name =
            QStringLiteral("scratch-%1-%2-").arg(QLatin1String(plan.name), levelName(plan.levels[level]));
        findings->addValue(name + QStringLiteral("as-scratch"), beside.asScratch.rateText());
        findings->addValue(name + QStringLiteral("failed"), beside.failed.rateText());
        cladding.append(beside.found.rate());
        core.append(through.found.rate());
    }
    const QString name = QStringLiteral("scratch-") + QLatin1String(plan.name);
    findings->addTable(name, table);
    findings->addValue(name + QStringLiteral("-cladding-reliable"), reliableFrom(plan.levels, cladding, reliable));
    findings->addValue(name + QStringLiteral("-core-reliable"), reliableFrom(plan.levels, core, reliable));
}

Plot::LineChart chart(const AnswerMap &answers, int factor)
{
    const Factor &plan = factors()[factor];
    Plot::LineChart chart;
    chart.title = QStringLiteral("By ") + QLatin1String(plan.name);
    chart.x.label = QString::fromUtf8(plan.title);
    chart.y = percentAxis(QStringLiteral("Share, %"));
    QVector<Proportion> beside;
    QVector<Proportion> through;
    QVector<Proportion> asScratch;
    QVector<Proportion> failed;
    for (int level = 0; level < plan.levels.size(); ++level) {
        beside.append(answersOf(answers, {factor, level, Place::Cladding}).found);
        through.append(answersOf(answers, {factor, level, Place::Core}).found);
        asScratch.append(answersOf(answers, {factor, level, Place::Cladding}).asScratch);
        failed.append(answersOf(answers, {factor, level, Place::Cladding}).failed);
    }
    chart.bands = {rateBand(plan.levels, beside), rateBand(plan.levels, through)};
    chart.series = {rateSeries(QStringLiteral("beside the core: found"), plan.levels, beside),
        rateSeries(QStringLiteral("through the core: found"), plan.levels, through),
        rateSeries(QStringLiteral("beside: graded as a scratch"), plan.levels, asScratch),
        rateSeries(QStringLiteral("beside: face failed"), plan.levels, failed)};
    chart.series[2].dashed = true;
    chart.series[3].dashed = true;
    return chart;
}
} // namespace

QVector<Face> ScratchExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (int factor = 0; factor < factors().size(); ++factor) {
        for (int level = 0; level < factors()[factor].levels.size(); ++level) {
            for (const Place place : {Place::Core, Place::Cladding}) {
                for (int number = 0; number < effort.times(facesPerLevel); ++number)
                    faces.append(face({factor, level, place}, number));
            }
        }
    }
    return faces;
}

void ScratchExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    const AnswerMap answers = collect(faces, outcomes);
    QVector<Plot::Chart> charts;
    for (int factor = 0; factor < factors().size(); ++factor) {
        tellFactor(answers, factor, findings);
        charts.append(chart(answers, factor));
    }
    findings->addPlot(QStringLiteral("scratches"), Plot::svg(charts, 2, {900, 720}));
}

} // namespace Study
