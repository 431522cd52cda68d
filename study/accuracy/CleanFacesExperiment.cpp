// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <map>

namespace Study {

namespace {
constexpr int experiment = 6;
constexpr int facesPerLevel = 16;
constexpr int ordinaryFaces = 250; // of each mode
constexpr int ordinaryCell = 5000;
constexpr double displacementAngle = 20.0; // degrees; the picture is wider than high

/// What gets worse while the rest stays ordinary.
struct Condition
{
    const char *name; ///< of its table
    const char *title;
    QVector<double> levels;
    void (*apply)(Face *face, double level);
    bool isWorseBelow = false; ///< the low levels are the bad ones
};

const QVector<Condition> &conditions()
{
    static const QVector<Condition> all{
        {"noise", "Noise, grey levels", {0, 1, 2, 3, 4, 5, 6, 8},
            [](Face *face, double level) { face->scene.noiseSigma = level; }},
        {"blur", "Blur, µm", {0, 1, 2, 3, 4, 6, 8, 10, 14},
            [](Face *face, double level) { face->scene.blurSigma = level; }},
        {"slope", "Slope of the light, %", {0, 20, 40, 60, 80, 100},
            [](Face *face, double level) { face->scene.illumination = level / 100; }},
        {"exposure", "Exposure, %", {5, 10, 20, 35, 50, 70, 100, 120},
            [](Face *face, double level) {
                for (double *const grey : {&face->scene.ferruleGrey, &face->scene.claddingGrey, &face->scene.coreGrey})
                    *grey = qMin(255.0, *grey * level / 100);
            },
            true},
        {"pale", "Ferrule over cladding, grey levels", {10, 20, 30, 40, 50, 75, 100},
            [](Face *face, double level) { face->scene.ferruleGrey = face->scene.claddingGrey + level; }, true},
        {"ring", "Contrast of the rim, %", {0, 10, 20, 30, 40, 60, 80},
            [](Face *face, double level) { face->scene.ringContrast = level / 100; }},
        {"ferrule", "Grain of the ferrule", {0, 1, 2, 4, 6, 8},
            [](Face *face, double level) { face->scene.texture = level; }},
        {"offset", "Offset, µm", {0, 50, 100, 150, 200, 250, 300, 340},
            [](Face *face, double level) { face->scene.offset = placeAt(level, displacementAngle); }},
        {"jpeg", "JPEG quality", {5, 10, 20, 30, 50, 75, 92, 100},
            [](Face *face, double level) { face->jpegQuality = static_cast<int>(level); }, true},
    };
    return all;
}

int cellOf(int condition, int level, Mode mode)
{
    return condition * 100 + level * 2 + static_cast<int>(mode);
}

Face cleanFace(int cell, Mode mode, int number)
{
    Face face;
    face.cell = cell;
    face.scene = ordinaryFace(faceSeed(experiment, cell, number), mode);
    face.standards = {standardOf(mode)};
    return face;
}

struct Answers
{
    Proportion refused;
    Proportion alarmed; ///< of those analysed: with a defect where there is none
    Proportion failed; ///< of those analysed
    Sample falseFindings;
};

void add(const Inspection &inspection, Answers *answers)
{
    answers->refused.add(!inspection.hasVerdict());
    if (!inspection.hasVerdict())
        return;
    answers->alarmed.add(inspection.falseFindings() > 0);
    answers->failed.add(!inspection.passed);
    answers->falseFindings.add(inspection.falseFindings());
}

using AnswerMap = std::map<int, Answers>; // by the number of the cell

Answers answersOf(const AnswerMap &answers, int cell)
{
    const auto found = answers.find(cell);
    return found == answers.end() ? Answers() : found->second;
}

QStringList cellsOf(const Answers &answers)
{
    return {answers.refused.rateText(), answers.alarmed.toText(), answers.failed.toText(),
        numberText(answers.falseFindings.mean(), 1)};
}

/// The worst level up to which, from the best one on, each face was passed.
QString safeUpTo(const AnswerMap &answers, int condition)
{
    const Condition &plan = conditions()[condition];
    const int count = plan.levels.size();
    QString safe = QStringLiteral("none");
    for (int i = 0; i < count; ++i) {
        const int level = plan.isWorseBelow ? count - 1 - i : i;
        for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
            const Answers cell = answersOf(answers, cellOf(condition, level, mode));
            if (cell.refused.hits() > 0 || cell.failed.hits() > 0)
                return safe;
        }
        safe = QString::number(plan.levels[level]);
    }
    return safe;
}

void tellCondition(const AnswerMap &answers, int condition, Findings *findings)
{
    const Condition &plan = conditions()[condition];
    QStringList head{QString::fromUtf8(plan.title)};
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        head << modeName(mode) + QStringLiteral(": no verdict") << QStringLiteral("false alarm")
             << QStringLiteral("failed") << QStringLiteral("false defects per face");
    }
    Table table(head);
    for (int level = 0; level < plan.levels.size(); ++level) {
        QStringList row{QString::number(plan.levels[level])};
        for (const Mode mode : {Mode::SingleMode, Mode::Multimode})
            row += cellsOf(answersOf(answers, cellOf(condition, level, mode)));
        table.addRow(row);
    }
    const QString name = QStringLiteral("clean-") + QLatin1String(plan.name);
    findings->addTable(name, table);
    findings->addValue(name + QStringLiteral("-safe"), safeUpTo(answers, condition));
}

void tellOrdinary(const AnswerMap &answers, Findings *findings)
{
    Table table(
        {QStringLiteral("Clean faces under ordinary conditions"), QStringLiteral("faces"), QStringLiteral("no verdict"),
            QStringLiteral("false alarm"), QStringLiteral("failed"), QStringLiteral("false defects per face")});
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        const Answers cell = answersOf(answers, ordinaryCell + static_cast<int>(mode));
        table.addRow(QStringList{modeName(mode), QString::number(cell.refused.trials())}
            + QStringList{cell.refused.toText(), cell.alarmed.toText(), cell.failed.toText(),
                numberText(cell.falseFindings.mean(), 2)});
        const QString name = QStringLiteral("clean-") + modeName(mode).toLower();
        findings->addValue(name + QStringLiteral("-alarmed"), cell.alarmed.toText());
        findings->addValue(name + QStringLiteral("-failed"), cell.failed.toText());
        findings->addValue(name + QStringLiteral("-refused"), cell.refused.toText());
    }
    findings->addTable(QStringLiteral("clean-ordinary"), table);
}

/// Both modes together.
Plot::LineChart chart(const AnswerMap &answers, int condition)
{
    const Condition &plan = conditions()[condition];
    QVector<Proportion> alarmed(plan.levels.size());
    QVector<Proportion> failed(plan.levels.size());
    QVector<Proportion> refused(plan.levels.size());
    for (int level = 0; level < plan.levels.size(); ++level) {
        for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
            const Answers cell = answersOf(answers, cellOf(condition, level, mode));
            alarmed[level].add(cell.alarmed);
            failed[level].add(cell.failed);
            refused[level].add(cell.refused);
        }
    }
    Plot::LineChart chart;
    chart.title = QString::fromUtf8(plan.title).section(QLatin1Char(','), 0, 0);
    chart.x.label = QString::fromUtf8(plan.title);
    chart.y = percentAxis(QStringLiteral("Clean faces, %"));
    chart.series = {rateSeries(QStringLiteral("false defect"), plan.levels, alarmed),
        rateSeries(QStringLiteral("failed"), plan.levels, failed),
        rateSeries(QStringLiteral("no verdict"), plan.levels, refused)};
    chart.series.last().dashed = true;
    return chart;
}
} // namespace

QVector<Face> CleanFacesExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        for (int number = 0; number < effort.times(ordinaryFaces); ++number)
            faces.append(cleanFace(ordinaryCell + static_cast<int>(mode), mode, number));
        for (int condition = 0; condition < conditions().size(); ++condition) {
            const Condition &plan = conditions()[condition];
            for (int level = 0; level < plan.levels.size(); ++level) {
                for (int number = 0; number < effort.times(facesPerLevel); ++number) {
                    faces.append(cleanFace(cellOf(condition, level, mode), mode, number));
                    plan.apply(&faces.last(), plan.levels[level]);
                }
            }
        }
    }
    return faces;
}

void CleanFacesExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    AnswerMap answers;
    for (int i = 0; i < faces.size(); ++i)
        add(outcomes[i].first(), &answers[faces[i].cell]);

    findings->addValue(QStringLiteral("clean-condition-faces"),
        QString::number(answersOf(answers, cellOf(0, 0, Mode::SingleMode)).refused.trials()));
    tellOrdinary(answers, findings);
    QVector<Plot::Chart> charts;
    for (int condition = 0; condition < conditions().size(); ++condition) {
        tellCondition(answers, condition, findings);
        charts.append(chart(answers, condition));
    }
    findings->addPlot(QStringLiteral("clean"), Plot::svg(charts, 3, {1080, 960}));
}

} // namespace Study
