// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Population.h"
#include "study/accuracy/Scenes.h"
#include "study/accuracy/Truth.h"
#include "study/report/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace Study {

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

/// Where a wrong verdict comes from.
struct Cause
{
    QString text;
    TrueDefect defect; ///< without blemishes where there is none
};

QString inZone(Zone::Id zone)
{
    return zone == Zone::Core ? QStringLiteral(", core zone") : QStringLiteral(", cladding");
}

/// Of the first defect that is to fail the face and does not.
Cause causeOfAccept(const Inspection &inspection, const TrueVerdict &truth)
{
    const auto failing = std::find_if(
        truth.defects.cbegin(), truth.defects.cend(), [](const TrueDefect &defect) { return defect.causesFailure; });
    const Finding *finding = nullptr;
    for (const int blemish : failing->blemishes) {
        const Finding *const candidate = inspection.largestOf(blemish);
        if (candidate && (!finding || candidate->size > finding->size))
            finding = candidate;
    }
    if (!finding)
        return {QStringLiteral("passed: not found") + inZone(failing->zone), *failing};
    if (finding->zone != failing->zone)
        return {QStringLiteral("passed: counted to the cladding"), *failing};
    if (finding->type != failing->type)
        return {QStringLiteral("passed: taken for the other type") + inZone(failing->zone), *failing};
    return {QStringLiteral("passed: found too small") + inZone(failing->zone), *failing};
}

/// Of the first defect that fails the face and is not to.
Cause causeOfReject(const Inspection &inspection, const TrueVerdict &truth)
{
    const auto finding = std::find_if(inspection.findings.cbegin(), inspection.findings.cend(),
        [](const Finding &candidate) { return candidate.causesFailure; });
    if (finding->blemishes.isEmpty())
        return {QStringLiteral("failed: nothing there"), {}};
    const auto graded = std::find_if(truth.defects.cbegin(), truth.defects.cend(),
        [&](const TrueDefect &defect) { return defect.blemishes.contains(finding->blemishes.first()); });
    if (graded == truth.defects.cend())
        return {QStringLiteral("failed: lies outside of the graded zones"), {}};
    const bool isJoined = std::any_of(finding->blemishes.cbegin(), finding->blemishes.cend(),
        [&](int blemish) { return !graded->blemishes.contains(blemish); });
    if (isJoined)
        return {QStringLiteral("failed: joined with another one") + inZone(finding->zone), *graded};
    if (graded->zone != finding->zone)
        return {QStringLiteral("failed: counted to the core zone"), *graded};
    if (graded->type != finding->type)
        return {QStringLiteral("failed: taken for the other type") + inZone(finding->zone), *graded};
    return {QStringLiteral("failed: found too large") + inZone(finding->zone), *graded};
}

/// The wrong verdicts with the same cause.
struct CauseCount
{
    int faces = 0;
    std::array<int, 4> kinds{}; ///< in the order of EndfaceDefect::Kind
    int several = 0; ///< blemishes that count as one
    Sample size; ///< of the truth, micrometres

    void add(const TrueDefect &defect, const EndfaceScene &scene)
    {
        ++faces;
        if (defect.blemishes.isEmpty())
            return;
        size.add(defect.size);
        if (defect.blemishes.size() > 1)
            ++several;
        else
            ++kinds[static_cast<std::size_t>(scene.defects[defect.blemishes.first()].kind)];
    }
};

using CauseMap = std::map<QString, CauseCount>;

void tellCauses(const CauseMap &causes, Findings *findings)
{
    Table table({QStringLiteral("Wrong verdict and its first cause"), QStringLiteral("faces"),
        QStringLiteral("by a pit"), QStringLiteral("particle"), QStringLiteral("scratch"), QStringLiteral("stain"),
        QStringLiteral("several as one"), QStringLiteral("true size, µm: 5 %"), QStringLiteral("median"),
        QStringLiteral("95 %")});
    for (const auto &[cause, count] : causes) {
        QStringList row{cause, QString::number(count.faces)};
        for (const int kind : count.kinds)
            row << QString::number(kind);
        row << QString::number(count.several);
        for (const double share : {0.05, 0.5, 0.95})
            row << numberText(count.size.quantile(share), 1);
        table.addRow(row);
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
    CauseMap causes;
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
            if (inspection.passed == truth.passed)
                continue;
            const Cause cause = inspection.passed ? causeOfAccept(inspection, truth) : causeOfReject(inspection, truth);
            causes[cause.text].add(cause.defect, faces[i].scene);
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
