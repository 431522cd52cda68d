// SPDX-License-Identifier: Apache-2.0
#include "Examiner.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "Truth.h"

#include <QImageWriter>

#include <algorithm>
#include <exception>

namespace Study {

using FiberInspection::AnalyserPrivate;
using FiberInspection::Defect;
using FiberInspection::Device;
using FiberInspection::InspectionRecord;
using FiberInspection::Standard;
using FiberInspection::TestResult;
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

Inspection analyse(const Face &face, Standard::Id standard, const QString &fileName)
{
    Inspection inspection;
    inspection.standard = standard;
    try {
        InspectionRecord record;
        const TestResult result = AnalyserPrivate::analyse(standard, fileName, Device::ks20(), 1, false, &record);
        inspection.reason = record.reason;
        inspection.passed = result.passed();
        inspection.contours = record.contours;
        inspection.rawDefects = record.rawDefects;
        inspection.mergedDefects = record.mergedDefects;
        const Matcher matcher(face.scene, record.crop);
        appendFindings(result.coreDefects(), Zone::Core, matcher, &inspection.findings);
        appendFindings(result.claddingDefects(), Zone::Cladding, matcher, &inspection.findings);
    } catch (const std::exception &exception) {
        inspection.reason = QString::fromUtf8(exception.what()).simplified();
    }
    return inspection;
}

/// Empty when the face was painted into the file.
QString paint(const Face &face, const QString &fileName)
{
    const QImage image = paintEndface(face.scene);
    if (image.isNull())
        return face.scene.problem();
    QImageWriter writer(fileName, "jpg");
    writer.setQuality(face.jpegQuality);
    return writer.write(image) ? QString() : writer.errorString();
}
} // namespace

FaceOutcome examine(const Face &face, const QString &folder)
{
    const QString fileName = folder + QStringLiteral("/face.jpg");
    const QString problem = paint(face, fileName);
    FaceOutcome outcome;
    for (const Standard::Id standard : face.standards) {
        for (int run = 0; run < face.runs; ++run) {
            if (problem.isEmpty()) {
                outcome.append(analyse(face, standard, fileName));
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

} // namespace Study
