// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/InspectionCore_p.h"
#include "FiberInspection/Log_p.h"
#include "Helpers/BaseDirHelper.h"
#include "Internal/WholeFile.h"

#include <QFile>
#include <QFileInfo>
#include <QMutex>

namespace FiberInspection {

namespace {
/// Writes the steps beside the photograph.
StepImages::Show writer(const QString &fileName)
{
    return [fileName](const QString &step, const QImage &picture) {
        const QString path = QStringLiteral("%1_%2.png").arg(fileName, step);
        if (!AnalyserPrivate::saveImage(StepImages::viewOf(picture), path))
            qCWarning(messageLog) << "step image not written:" << path;
    };
}

/// The annotated crop as it was written, or nothing.
QByteArray writeResultImage(const Inspection &inspection, const QString &path)
{
    const QImage picture = inspection.annotatedImage();
    const QByteArray content = picture.isNull()
        ? QByteArray()
        : AnalyserPrivate::encodeImage(StepImages::viewOf(picture), path.mid(path.lastIndexOf(QLatin1Char('.'))));
    if (!content.isEmpty() && WholeFile::write(path, content))
        return content;
    QFile::remove(path); // nothing is better than the picture of another fibre
    qCWarning(messageLog) << "result image not written:" << path;
    return {};
}

/// Of a process before this one. Once a start is enough: this one leaves nothing unless it is killed.
void sweepOnce(const QString &folder)
{
    static QString swept;
    if (folder != swept)
        WholeFile::sweep(folder);
    swept = folder;
}
} // namespace

AnalyserPrivate::Analysis AnalyserPrivate::analyseFile(
    Standard::Id standardId, const QString &fileName, const Device &device, float scale, bool saveStepsImages)
{
    // Every analysis writes the same result image. A handler of the log may run an event loop, in which the next
    // request comes to this thread: that analysis is within this one, and may write the image before or after it.
    static QRecursiveMutex oneAtATime;
    const QMutexLocker lock(&oneAtATime);
    const LogScope log(*QLoggingCategory::defaultCategory()); // also where an inspect() that is silent shows a step

    InspectionOptions options;
    options.scale = scale;
    options.maxImagePixels = ImageFile::maxPixels();
    InspectionTrace trace(saveStepsImages ? writer(fileName) : StepImages::Show());
    Analysis analysis;
    analysis.inspection =
        InspectionCore(standardId, device, options, trace).inspectFile(fileName, &analysis.photograph);
    if (analysis.inspection.hasVerdict()) {
        const QString path = BaseDirHelper::tmpFiberInspectionResultImagePath();
        sweepOnce(QFileInfo(path).path());
        analysis.resultImage = writeResultImage(analysis.inspection, path);
        trace.finished(analysis.inspection.passed());
    }
    return analysis;
}

TestResult AnalyserPrivate::analyse(Standard::Id standardId, const QString &fileName, const Device &device, float scale,
    bool saveStepsImages, Inspection *inspection)
{
    const Analysis analysis = analyseFile(standardId, fileName, device, scale, saveStepsImages);
    if (inspection)
        *inspection = analysis.inspection;
    return analysis.inspection.result();
}

} // namespace FiberInspection
