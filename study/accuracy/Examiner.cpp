// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Examiner.h"

#include "FiberInspection/Inspection.h"
#include "common/KeptMemory.h"
#include "common/ProgressBar.h"
#include "common/StopSignals.h"
#include "study/accuracy/Truth.h"

#include <QBuffer>
#include <QImageWriter>
#include <QThreadPool>
#include <QtConcurrent>

#include <opencv2/core.hpp>

#include <algorithm>
#include <poll.h>

namespace Study {

using FiberInspection::Defect;
using FiberInspection::LoadedImage;
using FiberInspection::Standard;
using FiberInspection::Zone;

namespace {
constexpr double outlineReach =
    3.0; // micrometres by which blur, smoothing and pixels may move the outline of a blemish

/// Which of the painted blemishes the contour of a defect runs along.
class Matcher
{
public:
    Matcher(const EndfaceScene &scene, const QRect &crop)
        : mScene(scene)
        , mScale(scene.micronsPerPixel())
    {
        const QVector<QPointF> fibres = endfaceFibreCenters(scene);
        if (!fibres.isEmpty())
            mOrigin = fibres.first() - crop.topLeft();
    }

    QVector<int> blemishesOf(const Defect &defect) const
    {
        const QPointF center = toMicrons(defect.enclosingCircle.center);
        const double radius = static_cast<double>(defect.enclosingCircle.radius) * mScale;
        QVector<int> blemishes;
        for (int i = 0; i < mScene.defects.size(); ++i) {
            const EndfaceDefect &blemish = mScene.defects[i];
            if (liesOn(blemish, center, radius + outlineReach) && runsAlong(defect, blemish))
                blemishes.append(i);
        }
        return blemishes;
    }

private:
    QPointF toMicrons(const QPointF &pixel) const { return (pixel - mOrigin) * mScale; }

    bool runsAlong(const Defect &defect, const EndfaceDefect &blemish) const
    {
        return std::any_of(defect.pixels.cbegin(), defect.pixels.cend(),
            [&](const QPointF &pixel) { return liesOn(blemish, toMicrons(pixel), outlineReach); });
    }

    const EndfaceScene &mScene;
    double mScale; ///< micrometres per pixel
    QPointF mOrigin; ///< the fibre centre in pixels of the crop
};

void appendFindings(const QVector<Defect> &defects, Zone::Id zone, const Matcher &matcher, QVector<Finding> *findings)
{
    for (const Defect &defect : defects) {
        findings->append(
            {defect.type, zone, static_cast<double>(defect.size), defect.causesFailure, matcher.blemishesOf(defect)});
    }
}

Inspection analyse(const Face &face, Standard::Id standard, const QImage &picture)
{
    const FiberInspection::Inspection found = FiberInspection::inspect(picture, standard);
    Inspection inspection;
    inspection.standard = standard;
    inspection.reason = found.reasonText();
    inspection.passed = found.passed();
    inspection.contours = found.counts().contours;
    inspection.rawDefects = found.counts().raw;
    inspection.mergedDefects = found.counts().merged;
    const Matcher matcher(face.scene, found.crop());
    appendFindings(found.result().coreDefects(), Zone::Core, matcher, &inspection.findings);
    appendFindings(found.result().claddingDefects(), Zone::Cladding, matcher, &inspection.findings);
    return inspection;
}

/// The face as the camera stores it, with what JPEG makes of it.
QImage photograph(const Face &face, QString *problem)
{
    const QImage image = paintEndface(face.scene);
    if (image.isNull()) {
        *problem = face.scene.problem();
        return {};
    }
    QBuffer jpeg;
    QImageWriter writer(&jpeg, "jpg");
    writer.setQuality(face.jpegQuality);
    if (!writer.write(image)) {
        *problem = writer.errorString();
        return {};
    }
    const LoadedImage loaded = FiberInspection::decodeImage(jpeg.data());
    *problem = loaded.detail;
    return loaded.image;
}
} // namespace

FaceOutcome examine(const Face &face)
{
    QString problem;
    const QImage picture = photograph(face, &problem);
    FaceOutcome outcome;
    for (const Standard::Id standard : face.standards) {
        for (int run = 0; run < face.runs; ++run) {
            if (!picture.isNull()) {
                outcome.append(analyse(face, standard, picture));
                continue;
            }
            Inspection inspection;
            inspection.standard = standard;
            inspection.reason = problem;
            outcome.append(inspection);
        }
    }
    return outcome;
}

std::optional<QVector<FaceOutcome>> examineAll(
    const QVector<Face> &faces, int jobs, bool showsProgress, QString *problem)
{
    constexpr int pollInterval = 50; // milliseconds
    Tools::StopSignals signals; // before the threads, so that these have the signals blocked as well
    cv::setNumThreads(1); // the faces are what runs in parallel
    Tools::keepFreedMemory();
    QThreadPool::globalInstance()->setMaxThreadCount(jobs);

    QFuture<FaceOutcome> outcomes = QtConcurrent::mapped(faces, examine);
    Tools::ProgressBar bar(showsProgress ? faces.size() : 0);
    while (!outcomes.isFinished()) {
        pollfd stop{signals.fileDescriptor(), POLLIN, 0};
        poll(&stop, 1, pollInterval);
        if (signals.received() != 0) {
            outcomes.cancel();
            outcomes.waitForFinished();
            *problem = QStringLiteral("stopped");
            return std::nullopt;
        }
        bar.show(outcomes.progressValue());
    }
    try {
        return outcomes.results().toVector();
    } catch (const QException &) { // of the memory
        *problem = QStringLiteral("not all faces could be examined");
        return std::nullopt;
    }
}

} // namespace Study
