// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Inspection.h"

#include "FiberInspection/ExceptionText_p.h"
#include "FiberInspection/InspectionCore_p.h"
#include "FiberInspection/Log_p.h"
#include "FiberInspection/OnThisThread_p.h"

#include <algorithm>
#include <exception>

namespace FiberInspection {

namespace {
/// Says nothing by itself: what there is to say comes back as a value.
const QLoggingCategory &inspectionLog()
{
    static const QLoggingCategory category("vantor.inspection", QtFatalMsg);
    return category;
}

QString detailOfException()
{
    return QString::fromUtf8(exceptionText()).simplified();
}

/// @param run what is to be done with the core
template <typename Run>
Inspection inspectQuietly(Standard::Id standardId, const Device &device, const InspectionOptions &options, Run run)
{
    const LogScope log(inspectionLog());
    return withHandler(
        [&] {
            InspectionTrace trace(options.onStep);
            InspectionCore core(standardId, device, options, trace);
            Inspection inspection;
            onThisThread([&] { inspection = run(core); });
            if (inspection.hasVerdict())
                trace.finished(inspection.passed());
            return inspection;
        },
        [&] { return InspectionCore::broken(standardId, detailOfException()); });
}

template <typename Load>
LoadedImage loadQuietly(Load load)
{
    const LogScope log(inspectionLog());
    return withHandler(load, [] { return LoadedImage{{}, Inspection::Reason::AnalysisBroken, detailOfException()}; });
}

bool areEqual(const Defect &a, const Defect &b)
{
    return a.type == b.type && a.pixels == b.pixels && a.enclosingCircle == b.enclosingCircle
        && a.boundingRectPoints == b.boundingRectPoints && a.size == b.size && a.causesFailure == b.causesFailure;
}

bool areEqual(const QVector<Defect> &a, const QVector<Defect> &b)
{
    return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend(),
        [](const Defect &one, const Defect &other) { return areEqual(one, other); });
}

bool areEqual(const ZoneResult &a, const ZoneResult &b)
{
    return a.violations == b.violations
        && std::equal(a.rules.cbegin(), a.rules.cend(), b.rules.cbegin(), b.rules.cend(),
            [](const RuleResult &one, const RuleResult &other) {
                return one.defectCount == other.defectCount && one.violated == other.violated;
            });
}

bool areEqual(const TestResult &a, const TestResult &b)
{
    return a.error() == b.error() && a.passed() == b.passed() && areEqual(a.core(), b.core())
        && areEqual(a.cladding(), b.cladding()) && areEqual(a.coreDefects(), b.coreDefects())
        && areEqual(a.claddingDefects(), b.claddingDefects());
}
} // namespace

GradedDefect GradedDefect::of(Zone::Id zone, const Defect &defect, const QRect &crop, float micronsPerPixel)
{
    const QPointF fibre(crop.width() / 2.0, crop.height() / 2.0);
    const QPointF center = (defect.enclosingCircle.center - fibre) * static_cast<double>(micronsPerPixel);
    return {zone, defect.type, static_cast<double>(defect.size), center, defect.causesFailure};
}

bool GradedDefect::operator==(const GradedDefect &other) const
{
    return zone == other.zone && kind == other.kind && sizeMicrons == other.sizeMicrons
        && centerMicrons == other.centerMicrons && causesFailure == other.causesFailure;
}

bool GrayLevels::operator==(const GrayLevels &other) const
{
    return cladding == other.cladding && aroundCore == other.aroundCore && aroundCladding == other.aroundCladding;
}

bool DefectCounts::operator==(const DefectCounts &other) const
{
    return contours == other.contours && raw == other.raw && merged == other.merged;
}

QString Inspection::reasonText(Reason reason)
{
    return QString::fromLatin1(InspectionCore::reasonText(reason));
}

QString Inspection::problemText(Reason reason, const QString &detail)
{
    return detail.isEmpty() ? reasonText(reason) : QStringLiteral("%1: %2").arg(reasonText(reason), detail);
}

QImage Inspection::annotatedImage() const
{
    if (!hasVerdict())
        return {};
    try {
        QImage picture = InspectionCore::bgrOf(mImage.copy(mCrop));
        cv::Mat canvas(picture.height(), picture.width(), CV_8UC3, picture.bits(),
            static_cast<std::size_t>(picture.bytesPerLine()));
        for (const QVector<QPointF> &outline : mOutlines)
            drawOutline(canvas, outline);
        return picture;
    } catch (const std::exception &) { // no memory
        return {};
    }
}

bool Inspection::saveAnnotatedImage(const QString &path) const
{
    const QImage picture = annotatedImage();
    return !picture.isNull() && AnalyserPrivate::saveImage(StepImages::viewOf(picture), path);
}

bool Inspection::operator==(const Inspection &other) const
{
    return mReason == other.mReason && mDetail == other.mDetail && mStandardId == other.mStandardId
        && areEqual(mResult, other.mResult) && mDefects == other.mDefects && mMicronsPerPixel == other.mMicronsPerPixel
        && mCladding == other.mCladding && mCrop == other.mCrop && mGrayLevels == other.mGrayLevels
        && mCounts == other.mCounts && mOutlines == other.mOutlines && mImage == other.mImage;
}

LoadedImage loadImage(const QString &path, qint64 maxImagePixels)
{
    return loadQuietly([&] { return InspectionCore::readImage(path, maxImagePixels); });
}

LoadedImage decodeImage(const QByteArray &bytes, qint64 maxImagePixels)
{
    return loadQuietly([&] { return InspectionCore::decodeImage(bytes, maxImagePixels); });
}

Inspection inspect(const QImage &image, Standard::Id standardId, const Device &device, const InspectionOptions &options)
{
    return inspectQuietly(
        standardId, device, options, [&image](InspectionCore &core) { return core.inspectImage(image); });
}

Inspection inspect(
    const LoadedImage &image, Standard::Id standardId, const Device &device, const InspectionOptions &options)
{
    return inspectQuietly(
        standardId, device, options, [&image](InspectionCore &core) { return core.inspectLoaded(image); });
}

Inspection inspectFile(const QString &path, Standard::Id standardId, const Device &device,
    const InspectionOptions &options, QByteArray *content)
{
    if (content)
        content->clear();
    return inspectQuietly(
        standardId, device, options, [&](InspectionCore &core) { return core.inspectFile(path, content); });
}

} // namespace FiberInspection
