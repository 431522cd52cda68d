// SPDX-License-Identifier: Apache-2.0
#include "Inspection.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "Options.h"
#include "Pictures.h"

#include <exception>

namespace Inspect {

using FiberInspection::AnalyserPrivate;
using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
QString reasonOf(const FiberInspection::InspectionRecord &record)
{
    return record.detail.isEmpty() ? record.reason : QStringLiteral("%1: %2").arg(record.reason, record.detail);
}

QVector<int> pixelCounts(const QVector<FiberInspection::Defect> &defects)
{
    QVector<int> counts;
    counts.reserve(defects.size());
    for (const FiberInspection::Defect &defect : defects)
        counts.append(defect.pixels.size());
    return counts;
}

Inspection analyseOnce(const Task &task, const Options &options, const Pictures &pictures)
{
    Inspection inspection;
    inspection.task = task;
    try {
        inspection.result = AnalyserPrivate::analyse(task.standardId, pictures.imagePath(), options.device,
            options.scale, options.saveSteps, &inspection.record);
        inspection.reason = reasonOf(inspection.record);
    } catch (const std::exception &exception) {
        inspection.result = TestResult(Standard(task.standardId));
        inspection.reason = QString::fromUtf8(exception.what()).simplified();
    }
    if (inspection.result.error() && inspection.reason.isEmpty())
        inspection.reason = QStringLiteral("the analysis came to no end");
    inspection.corePixels = pixelCounts(inspection.result.coreDefects());
    inspection.claddingPixels = pixelCounts(inspection.result.claddingDefects());
    return inspection;
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

Inspection inspect(const Task &task, const Options &options, const Pictures &pictures)
{
    const bool keepsImages = !options.outputFolder.isEmpty();
    if (keepsImages)
        pictures.forget();

    Inspection worst;
    Repetition repetition;
    for (int run = 0; run < options.repeat; ++run) {
        const Inspection inspection = analyseOnce(task, options, pictures);
        count(inspection.verdict(), &repetition);
        if (run > 0 && inspection.verdict() <= worst.verdict())
            continue;
        if (keepsImages)
            pictures.keep();
        worst = inspection;
    }
    worst.repetition = repetition;
    return worst;
}

Inspection notAnalysed(const Task &task, const QString &reason)
{
    Inspection inspection;
    inspection.task = task;
    inspection.result = TestResult(Standard(task.standardId));
    inspection.reason = reason;
    return inspection;
}

} // namespace Inspect
