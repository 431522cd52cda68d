// SPDX-License-Identifier: Apache-2.0
#include "Experiments.h"
#include "Plots.h"
#include "Population.h"
#include "Scenes.h"
#include "Statistics.h"
#include "Truth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace Study {

using FiberInspection::Defect;
using FiberInspection::Standard;
using FiberInspection::Zone;

namespace {
constexpr int experiment = 8;
constexpr int singleModeFaces = 900;
constexpr int multimodeFaces = 500;

struct StandardName
{
    Standard::Id id;
    const char *name;
};

constexpr std::array<StandardName, 5> standardNames{{
    {Standard::IEC61300_3_35_SM_RL26, "SM RL26"},
    {Standard::IEC61300_3_35_SM_RL35, "SM RL35"},
    {Standard::IEC61300_3_35_SM_RL45, "SM RL45"},
    {Standard::IEC61300_3_35_SM_APC, "SM APC"},
    {Standard::IEC61300_3_35_MM, "MM"},
}};

/// How the verdicts on one standard's faces compare with the truth.
struct Confusion
{
    int rightPass = 0;
    int rightFail = 0;
    int falseAccept = 0;
    int falseReject = 0;
    int refused = 0;

    void add(const Inspection &inspection, bool trulyPasses)
    {
        if (!inspection.hasVerdict())
            ++refused;
        else if (inspection.passed)
            ++(trulyPasses ? rightPass : falseAccept);
        else
            ++(trulyPasses ? falseReject : rightFail);
    }

    int faces() const { return rightPass + rightFail + falseAccept + falseReject + refused; }
};

Proportion proportion(int hits, int others)
{
    Proportion result;
    for (int i = 0; i < hits; ++i)
        result.add(true);
    for (int i = 0; i < others; ++i)
        result.add(false);
    return result;
}

Proportion agreement(const Confusion &confusion)
{
    return proportion(confusion.rightPass + confusion.rightFail, confusion.falseAccept + confusion.falseReject);
}

Proportion falseAccepts(const Confusion &confusion) // of the faces that the truth fails
{
    return proportion(confusion.falseAccept, confusion.rightFail);
}

Proportion falseRejects(const Confusion &confusion) // of the faces that the truth passes
{
    return proportion(confusion.falseReject, confusion.rightPass);
}

using ConfusionMap = std::map<Standard::Id, Confusion>;

void tellConfusion(const ConfusionMap &confusions, const QString &name, Findings *findings)
{
    Table table({QStringLiteral("Standard"), QStringLiteral("faces"), QStringLiteral("pass, rightly"),
        QStringLiteral("fail, rightly"), QStringLiteral("false accepts"), QStringLiteral("false rejects"),
        QStringLiteral("no verdict"), QStringLiteral("agreement"), QStringLiteral("false accepts of bad faces"),
        QStringLiteral("false rejects of good faces")});
    for (const StandardName &standard : standardNames) {
        const auto found = confusions.find(standard.id);
        const Confusion confusion = found == confusions.end() ? Confusion() : found->second;
        const QString label = QLatin1String(standard.name);
        table.addRow({label, QString::number(confusion.faces()), QString::number(confusion.rightPass),
            QString::number(confusion.rightFail), QString::number(confusion.falseAccept),
            QString::number(confusion.falseReject), QString::number(confusion.refused), agreement(confusion).toText(),
            falseAccepts(confusion).toText(), falseRejects(confusion).toText()});
        const QString id = label.toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
        findings->addValue(QStringLiteral("%1-%2-agreement").arg(name, id), agreement(confusion).toText());
        findings->addValue(QStringLiteral("%1-%2-accepts").arg(name, id), falseAccepts(confusion).toText());
        findings->addValue(QStringLiteral("%1-%2-rejects").arg(name, id), falseRejects(confusion).toText());
    }
    findings->addTable(name, table);
}

/// Why a verdict is better than the face.
QString causeOfAccept(const Inspection &inspection, const TrueVerdict &truth)
{
    bool anyFound = false;
    bool otherType = false;
    bool otherZone = false;
    for (const TrueDefect &defect : truth.defects) {
        if (!defect.causesFailure)
            continue;
        for (const int blemish : defect.blemishes) {
            const Finding *const finding = inspection.largestOf(blemish);
            anyFound = anyFound || finding;
            otherType = otherType || (finding && finding->type != defect.type);
            otherZone = otherZone || (finding && finding->zone != defect.zone);
        }
    }
    if (!anyFound)
        return QStringLiteral("accept: not found");
    if (otherZone)
        return QStringLiteral("accept: counted to the cladding");
    return otherType ? QStringLiteral("accept: taken for the other type") : QStringLiteral("accept: found too small");
}

/// Of a defect that fails a good face.
QString causeOfReject(const Finding &finding, const TrueVerdict &truth)
{
    if (finding.blemishes.isEmpty())
        return QStringLiteral("reject: nothing there");
    const auto grading = std::find_if(truth.defects.cbegin(), truth.defects.cend(),
        [&](const TrueDefect &defect) { return defect.blemishes.contains(finding.blemishes.first()); });
    if (grading == truth.defects.cend())
        return QStringLiteral("reject: lies outside of the graded zones");
    const bool isJoined = std::any_of(finding.blemishes.cbegin(), finding.blemishes.cend(),
        [&](int blemish) { return !grading->blemishes.contains(blemish); });
    if (isJoined)
        return QStringLiteral("reject: joined with another blemish");
    if (grading->zone != finding.zone)
        return QStringLiteral("reject: counted to the core zone");
    return grading->type != finding.type ? QStringLiteral("reject: taken for the other type")
                                         : QStringLiteral("reject: found too large");
}

QString causeOfReject(const Inspection &inspection, const TrueVerdict &truth)
{
    for (const Finding &finding : inspection.findings) {
        if (finding.causesFailure)
            return causeOfReject(finding, truth);
    }
    return QStringLiteral("reject: other");
}

/// Of the strictest single-mode standard and of multimode.
void tellCauses(const std::map<QString, std::map<Mode, int>> &causes, Findings *findings)
{
    Table table({QStringLiteral("Wrong verdict and its first cause"), QStringLiteral("SM RL45"), QStringLiteral("MM")});
    for (const auto &[cause, counts] : causes) {
        const auto count = [&counts = counts](Mode mode) {
            const auto found = counts.find(mode);
            return QString::number(found == counts.end() ? 0 : found->second);
        };
        table.addRow({cause, count(Mode::SingleMode), count(Mode::Multimode)});
    }
    findings->addTable(QStringLiteral("verdict-causes"), table);
}

/// Image by image, for one kind of blemish: those that have it are to show it, those that have nothing are to be clean.
struct ImageLevel
{
    Proportion withBlemish; ///< at least one is found
    Proportion withAll; ///< every one is found
    Proportion clean; ///< nothing is found
};

void addImage(const Face &face, const Inspection &inspection, bool scratches, ImageLevel *level)
{
    constexpr double smallestGraded = 2.0; // micrometres
    int painted = 0;
    int found = 0;
    for (int i = 0; i < face.scene.defects.size(); ++i) {
        const EndfaceDefect &blemish = face.scene.defects[i];
        const bool isScratch = blemish.kind == EndfaceDefect::Kind::Scratch;
        const bool isGraded = std::hypot(blemish.center.x(), blemish.center.y()) < claddingRadius;
        if (isScratch != scratches || !isGraded || (!isScratch && blemish.size < smallestGraded))
            continue;
        ++painted;
        found += inspection.finds(i) ? 1 : 0;
    }
    if (painted > 0) {
        level->withBlemish.add(found > 0);
        level->withAll.add(found == painted);
    } else if (face.scene.defects.isEmpty()) {
        level->clean.add(inspection.findings.isEmpty());
    }
}

void tellImageLevel(const ImageLevel &spots, const ImageLevel &scratches, Findings *findings)
{
    Table table({QStringLiteral("Kind of blemish"), QStringLiteral("images with it"),
        QStringLiteral("one or more found"), QStringLiteral("all found"),
        QStringLiteral("clean images without a finding"), QStringLiteral("image-level accuracy")});
    const auto tell = [&](const QString &name, const QString &id, const ImageLevel &level) {
        Proportion accuracy = level.withBlemish;
        accuracy.add(level.clean);
        table.addRow({name, QString::number(level.withBlemish.trials()), level.withBlemish.toText(),
            level.withAll.toText(), level.clean.toText(), accuracy.toText()});
        findings->addValue(QStringLiteral("image-level-") + id, accuracy.toText());
        findings->addValue(QStringLiteral("image-level-%1-all").arg(id), level.withAll.toText());
    };
    tell(QStringLiteral("pits, particles, stains from 2 µm"), QStringLiteral("regions"), spots);
    tell(QStringLiteral("scratches"), QStringLiteral("scratches"), scratches);
    findings->addTable(QStringLiteral("image-level"), table);
}

/// How often the single-mode standards come to differing verdicts on one face.
Proportion differing(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes)
{
    Proportion result;
    for (int i = 0; i < faces.size(); ++i) {
        const FaceOutcome &outcome = outcomes[i];
        if (outcome.size() < 2 || !outcome.first().hasVerdict())
            continue;
        result.add(std::any_of(outcome.cbegin(), outcome.cend(),
            [&](const Inspection &inspection) { return inspection.passed != outcome.first().passed; }));
    }
    return result;
}

void addPlot(const ConfusionMap &confusions, Findings *findings)
{
    Plot::BarChart chart;
    chart.title = QStringLiteral("Wrong verdicts");
    chart.subtitle = QStringLiteral("with 95 % confidence intervals");
    chart.y.label = QStringLiteral("Faces, %");
    Plot::BarGroup accepts;
    Plot::BarGroup rejects;
    accepts.name = QStringLiteral("bad faces that were passed");
    rejects.name = QStringLiteral("good faces that were failed");
    for (const StandardName &standard : standardNames) {
        const auto found = confusions.find(standard.id);
        const Confusion confusion = found == confusions.end() ? Confusion() : found->second;
        chart.categories.append(QLatin1String(standard.name));
        const auto add = [](Plot::BarGroup *group, const Proportion &rate) {
            group->values.append(100 * rate.rate());
            group->low.append(100 * rate.low());
            group->high.append(100 * rate.high());
        };
        add(&accepts, falseAccepts(confusion));
        add(&rejects, falseRejects(confusion));
    }
    chart.groups = {accepts, rejects};
    findings->addPlot(QStringLiteral("verdicts"), Plot::svg(chart, {760, 400}));
}
} // namespace

QVector<Face> VerdictExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        const int count = effort.times(mode == Mode::SingleMode ? singleModeFaces : multimodeFaces);
        for (int number = 0; number < count; ++number) {
            Face face;
            face.cell = static_cast<int>(mode);
            face.scene = mixedFace(faceSeed(experiment, face.cell, number), mode);
            face.standards = standardsOf(mode);
            faces.append(face);
        }
    }
    return faces;
}

void VerdictExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    ConfusionMap byLength;
    ConfusionMap byWidth;
    std::map<QString, std::map<Mode, int>> causes;
    ImageLevel spots;
    ImageLevel scratches;
    for (int i = 0; i < faces.size(); ++i) {
        const Mode mode = static_cast<Mode>(faces[i].cell);
        for (const Inspection &inspection : outcomes[i]) {
            const Standard::Id id = inspection.standard;
            const TrueVerdict truth = gradeTruth(faces[i].scene, id, ScratchSize::Length);
            byLength[id].add(inspection, truth.passed);
            byWidth[id].add(inspection, gradeTruth(faces[i].scene, id, ScratchSize::Width).passed);
            if (!inspection.hasVerdict() || id != standardOf(mode))
                continue;
            addImage(faces[i], inspection, false, &spots);
            addImage(faces[i], inspection, true, &scratches);
            if (inspection.passed && !truth.passed)
                ++causes[causeOfAccept(inspection, truth)][mode];
            else if (!inspection.passed && truth.passed)
                ++causes[causeOfReject(inspection, truth)][mode];
        }
    }
    findings->addValue(QStringLiteral("standards-differ"), differing(faces, outcomes).countText());
    tellConfusion(byLength, QStringLiteral("verdicts"), findings);
    tellConfusion(byWidth, QStringLiteral("verdicts-by-width"), findings);
    tellCauses(causes, findings);
    tellImageLevel(spots, scratches, findings);
    addPlot(byLength, findings);
}

} // namespace Study
