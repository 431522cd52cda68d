// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/InspectionCore_p.h"
#include "FiberInspection/Log_p.h"
#include "Helpers/BaseDirHelper.h"

#include <QFile>
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
} // namespace

TestResult AnalyserPrivate::analyse(Standard::Id standardId, const QString &fileName, const Device &device, float scale,
    bool saveStepsImages, Inspection *inspection)
{
    // Every analysis writes the same result image. A handler of the log may run an event loop, in which the next
    // request comes to this thread: that analysis is within this one, which writes its own image when it goes on.
    static QRecursiveMutex oneAtATime;
    const QMutexLocker lock(&oneAtATime);

    InspectionOptions options;
    options.scale = scale;
    options.maxImagePixels = ImageFile::maxPixels();
    InspectionTrace trace(saveStepsImages ? writer(fileName) : StepImages::Show());
    const Inspection found = InspectionCore(standardId, device, options, trace).inspectFile(fileName);
    if (found.hasVerdict()) {
        const QString resultImagePath = BaseDirHelper::tmpFiberInspectionResultImagePath();
        if (!found.saveAnnotatedImage(resultImagePath)) {
            QFile::remove(resultImagePath); // nothing is better than the picture of another fibre
            qCWarning(messageLog) << "result image not written:" << resultImagePath;
        }
        trace.finished(found.passed());
    }
    if (inspection)
        *inspection = found;
    return found.result();
}

} // namespace FiberInspection
