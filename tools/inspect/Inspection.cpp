// SPDX-License-Identifier: Apache-2.0
#include "inspect/Inspection.h"

#include "inspect/Options.h"
#include "inspect/Pictures.h"

#include <QElapsedTimer>

#include <utility>

namespace Inspect {

using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
QVector<int> pixelCounts(const QVector<FiberInspection::Defect> &defects)
{
    QVector<int> counts;
    counts.reserve(defects.size());
    for (const FiberInspection::Defect &defect : defects)
        counts.append(defect.pixels.size());
    return counts;
}

/// One run, with the pictures of it that the user may want to see.
struct Run
{
    Inspection inspection;
    FiberInspection::Inspection found;
    Pictures::Steps steps;
};

double millisecondsOf(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

Run analyseOnce(const Task &task, const Photograph &photograph, const Options &options)
{
    Run run;
    FiberInspection::InspectionOptions wanted;
    wanted.scale = options.scale;
    wanted.maxImagePixels = options.maxImagePixels();
    if (options.saveSteps)
        wanted.onStep = [&run](const QString &step, const QImage &picture) { run.steps.append({step, picture}); };
    QElapsedTimer timer;
    timer.start();
    run.found = FiberInspection::inspect(photograph.image, task.standardId, options.device, wanted);

    const FiberInspection::Inspection &found = run.found;
    run.inspection.task = task;
    run.inspection.result = found.result();
    run.inspection.measurements = {found.micronsPerPixel(), found.claddingCircle(), found.crop(), found.grayLevels(),
        found.counts(), photograph.decodingMs + millisecondsOf(timer)};
    run.inspection.reason = {found.reason(), found.detail()};
    run.inspection.corePixels = pixelCounts(found.result().coreDefects());
    run.inspection.claddingPixels = pixelCounts(found.result().claddingDefects());
    return run;
}

void count(Verdict verdict, Repetition *repetition)
{
    ++repetition->runs;
    switch (verdict) {
    case Verdict::Passed:
        ++repetition->passed;
        break;
    case Verdict::Failed:
        ++repetition->failed;
        break;
    case Verdict::NotAnalysed:
        ++repetition->errors;
        break;
    }
}
} // namespace

Verdict Inspection::verdict() const
{
    if (result.error())
        return Verdict::NotAnalysed;
    return result.passed() ? Verdict::Passed : Verdict::Failed;
}

Photograph Photograph::load(const QString &path, const Options &options)
{
    QElapsedTimer timer;
    timer.start();
    const FiberInspection::LoadedImage image = FiberInspection::loadImage(path, options.maxImagePixels());
    return {image, millisecondsOf(timer)};
}

Inspection inspect(const Task &task, const Photograph &photograph, const Options &options, const Pictures &pictures)
{
    Run worst;
    Repetition repetition;
    for (int number = 0; number < options.repeat; ++number) {
        Run run = analyseOnce(task, photograph, options);
        const Verdict verdict = run.inspection.verdict();
        count(verdict, &repetition);
        if (number == 0 || verdict > worst.inspection.verdict())
            worst = std::move(run);
    }
    worst.inspection.repetition = repetition;
    if (!options.outputFolder.isEmpty())
        worst.inspection.hasKeptResult = pictures.keep(worst.found, worst.steps);
    return worst.inspection;
}

Inspection notAnalysed(const Task &task, const NoVerdict &reason)
{
    Inspection inspection;
    inspection.task = task;
    inspection.result = TestResult(Standard(task.standardId));
    inspection.reason = reason;
    return inspection;
}

} // namespace Inspect
