// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Population.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <algorithm>
#include <array>

namespace Study {

using FiberInspection::Zone;

namespace {
constexpr int experiment = 9;
constexpr int runsPerFile = 50;
constexpr int runsAtLeast = 10;

/// A set of files that are analysed again and again.
struct FileSet
{
    const char *name;
    Mode mode;
    EndfaceScene (*scene)(quint32 seed, Mode mode);
    int files;
};

constexpr std::array<FileSet, 6> fileSets{{
    {"SM, clean", Mode::SingleMode, ordinaryFace, 40},
    {"SM, mixed", Mode::SingleMode, mixedFace, 120},
    {"SM, at the margin", Mode::SingleMode, marginalFace, 60},
    {"MM, clean", Mode::Multimode, ordinaryFace, 20},
    {"MM, mixed", Mode::Multimode, mixedFace, 80},
    {"MM, at the margin", Mode::Multimode, marginalFace, 40},
}};

/// How much a count differs from run to run of one file.
struct Spread
{
    Proportion changing; ///< files
    Sample deviation; ///< of the files that change
    Sample range; ///< highest minus lowest, of all files

    void add(const Sample &counts)
    {
        const double lowest = counts.quantile(0);
        changing.add(counts.highest() > lowest);
        if (counts.highest() > lowest)
            deviation.add(counts.deviation());
        range.add(counts.highest() - lowest);
    }
};

enum Count : int { Contours, RawDefects, MergedDefects, CoreDefects, CladdingDefects, CountOfCounts };

int countOf(const Inspection &inspection, int count)
{
    switch (count) {
    case Contours:
        return inspection.contours;
    case RawDefects:
        return inspection.rawDefects;
    case MergedDefects:
        return inspection.mergedDefects;
    case CoreDefects:
        return inspection.findingsInZone(Zone::Core);
    default:
        return inspection.findingsInZone(Zone::Cladding);
    }
}

QString countName(int count)
{
    static const std::array<const char *, CountOfCounts> names{
        "contours", "raw defects", "merged defects", "defects of the core zone", "defects of the cladding zone"};
    return QLatin1String(names[static_cast<std::size_t>(count)]);
}

struct Answers
{
    Proportion flipping; ///< files whose verdict is not always the same
    Proportion minority; ///< runs whose verdict is not that of most runs of the file
    std::array<Spread, CountOfCounts> spreads;
    QVector<double> passShares; ///< of each file
};

/// Returns false for a file without a verdict: there is no chance in that.
bool add(const FaceOutcome &runs, Answers *answers)
{
    if (runs.isEmpty() || !runs.first().hasVerdict())
        return false;
    const auto passed = static_cast<int>(
        std::count_if(runs.cbegin(), runs.cend(), [](const Inspection &inspection) { return inspection.passed; }));
    answers->flipping.add(passed > 0 && passed < runs.size());
    const bool mostlyPassed = 2 * passed >= runs.size();
    for (const Inspection &inspection : runs)
        answers->minority.add(inspection.passed != mostlyPassed);
    for (int count = 0; count < CountOfCounts; ++count) {
        Sample sample;
        for (const Inspection &inspection : runs)
            sample.add(countOf(inspection, count));
        answers->spreads[static_cast<std::size_t>(count)].add(sample);
    }
    answers->passShares.append(static_cast<double>(passed) / runs.size());
    return true;
}

void tellFlips(const std::array<Answers, fileSets.size()> &answers, Findings *findings)
{
    Table table({QStringLiteral("Files"), QStringLiteral("with a verdict"), QStringLiteral("runs"),
        QStringLiteral("files whose verdict flips"), QStringLiteral("share"),
        QStringLiteral("runs against the file's majority")});
    Proportion usual;
    for (std::size_t set = 0; set < fileSets.size(); ++set) {
        const Answers &cell = answers[set];
        table.addRow({QLatin1String(fileSets[set].name), QString::number(cell.flipping.trials()),
            QString::number(cell.minority.trials()), QString::number(cell.flipping.hits()), cell.flipping.toText(),
            cell.minority.rateText()});
        const QString id = QString::fromUtf8(fileSets[set].name)
                               .toLower()
                               .remove(QLatin1Char(','))
                               .replace(QLatin1Char(' '), QLatin1Char('-'));
        findings->addValue(QStringLiteral("flips-") + id, cell.flipping.toText());
        findings->addValue(QStringLiteral("flips-%1-count").arg(id), cell.flipping.countText());
        if (fileSets[set].scene == mixedFace)
            usual.add(cell.flipping);
    }
    findings->addTable(QStringLiteral("repeat-verdicts"), table);
    findings->addValue(QStringLiteral("flips-mixed"), usual.toText());
    findings->addValue(QStringLiteral("flips-mixed-count"), usual.countText());
}

void tellSpreads(const std::array<Answers, fileSets.size()> &answers, Findings *findings)
{
    QStringList head{QStringLiteral("Count")};
    for (const FileSet &set : fileSets)
        head << QLatin1String(set.name);
    Table table(head);
    for (std::size_t count = 0; count < CountOfCounts; ++count) {
        QStringList row{countName(static_cast<int>(count))};
        for (const Answers &cell : answers) {
            const Spread &spread = cell.spreads[count];
            row << (spread.changing.hits() == 0
                    ? QStringLiteral("never")
                    : QStringLiteral("%1; ±%2; at most %3")
                          .arg(spread.changing.rateText(), numberText(spread.deviation.mean(), 1),
                              numberText(spread.range.highest(), 0)));
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("repeat-counts"), table);
}

/// The files in the order of how often they passed: what lies between never and always is left to chance.
void addPlot(const std::array<Answers, fileSets.size()> &answers, Findings *findings)
{
    Plot::LineChart chart;
    chart.title = QStringLiteral("The same file again and again");
    chart.subtitle = QStringLiteral("files of a set, sorted; between 0 and 100 % the verdict is left to chance");
    chart.x.label = QStringLiteral("Files of the set, %");
    chart.x.minimum = 0;
    chart.x.maximum = 100;
    chart.y = percentAxis(QStringLiteral("Runs that passed, %"));
    for (std::size_t set = 0; set < fileSets.size(); ++set) {
        QVector<double> shares = answers[set].passShares;
        if (shares.isEmpty() || fileSets[set].scene == ordinaryFace)
            continue;
        std::sort(shares.begin(), shares.end());
        Plot::Series series;
        series.name = QLatin1String(fileSets[set].name);
        series.dashed = fileSets[set].mode == Mode::Multimode;
        for (int i = 0; i < shares.size(); ++i)
            series.points.append({100 * (i + 0.5) / shares.size(), 100 * shares[i]});
        chart.series.append(series);
    }
    findings->addPlot(QStringLiteral("repeat"), Plot::svg(chart));
}
} // namespace

QVector<Face> RepeatExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (std::size_t set = 0; set < fileSets.size(); ++set) {
        const FileSet &plan = fileSets[set];
        for (int number = 0; number < effort.times(plan.files); ++number) {
            Face face;
            face.cell = static_cast<int>(set);
            face.scene = plan.scene(faceSeed(experiment, face.cell, number), plan.mode);
            face.standards = {standardOf(plan.mode)};
            face.runs = std::max(runsAtLeast, std::min(runsPerFile, effort.times(runsPerFile)));
            faces.append(face);
        }
    }
    return faces;
}

void RepeatExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    std::array<Answers, fileSets.size()> answers;
    int refused = 0;
    for (int i = 0; i < faces.size(); ++i)
        refused += add(outcomes[i], &answers[static_cast<std::size_t>(faces[i].cell)]) ? 0 : 1;

    findings->addValue(QStringLiteral("repeat-refused"), QString::number(refused));
    findings->addValue(QStringLiteral("repeat-runs"), QString::number(faces.isEmpty() ? 0 : faces.first().runs));
    tellFlips(answers, findings);
    tellSpreads(answers, findings);
    addPlot(answers, findings);
}

} // namespace Study
