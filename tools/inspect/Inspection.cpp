// SPDX-License-Identifier: Apache-2.0
#include "Inspection.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "Options.h"
#include "OutputFolder.h"
#include "WorkDir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <exception>

namespace Inspect {

using FiberInspection::AnalyserPrivate;
using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
/// The name under which the image is analysed: its step images shall not land beside it.
QString linkToImage(const Task &task, const Tools::WorkDir &workDir)
{
    const QString link = QDir(workDir.stepsFolder()).filePath(task.outputName);
    QFile::remove(link);
    QFile::link(QFileInfo(task.image.path).absoluteFilePath(), link);
    return link;
}

QString reasonOf(const FiberInspection::InspectionRecord &record)
{
    return record.detail.isEmpty() ? record.reason : QStringLiteral("%1: %2").arg(record.reason, record.detail);
}

Inspection analyseOnce(const Task &task, const Options &options, const Tools::WorkDir &workDir)
{
    Inspection inspection;
    inspection.task = task;
    const QString fileName = options.saveSteps ? linkToImage(task, workDir) : task.image.path;
    try {
        inspection.result = AnalyserPrivate::analyse(
            task.standardId, fileName, options.device, options.scale, options.saveSteps, &inspection.record);
        inspection.reason = reasonOf(inspection.record);
    } catch (const std::exception &exception) {
        inspection.result = TestResult(Standard(task.standardId));
        inspection.reason = QString::fromUtf8(exception.what()).simplified();
    }
    return inspection;
}

void keepImages(
    Inspection *inspection, const Options &options, const Tools::WorkDir &workDir, const OutputFolder &output)
{
    const QString &name = inspection->task.outputName;
    if (options.saveSteps)
        output.takeStepImages(workDir.stepsFolder(), name, &inspection->problem);
    if (inspection->record.resultImageWritten) {
        inspection->resultImage =
            output.takeResultImage(BaseDirHelper::tmpFiberInspectionResultImagePath(), name, &inspection->problem);
    } else if (inspection->verdict() != Verdict::NotAnalysed) {
        inspection->problem = QStringLiteral("the annotated image could not be written to the temporary folder");
    }
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

Inspection inspect(const Task &task, const Options &options, const Tools::WorkDir &workDir, const OutputFolder &output)
{
    if (!task.image.problem.isEmpty())
        return notAnalysed(task, task.image.problem);

    Inspection worst;
    Repetition repetition;
    for (int run = 0; run < options.repeat; ++run) {
        Inspection inspection = analyseOnce(task, options, workDir);
        count(inspection.verdict(), &repetition);
        if (run > 0 && inspection.verdict() <= worst.verdict())
            continue;
        if (output.keepsImages())
            keepImages(&inspection, options, workDir, output);
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
