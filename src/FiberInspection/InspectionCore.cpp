// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/InspectionCore_p.h"

#include <QRandomGenerator>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace FiberInspection {

using Reason = Inspection::Reason;

namespace {
constexpr float maxPixelDistanceToMergeDefects = 4.0F; // micrometres

/// An image on the pixels of the matrix, which lives as long as the image and its copies.
QImage sharing(const cv::Mat &colors)
{
    const auto release = [](void *mat) { delete static_cast<cv::Mat *>(mat); };
    auto owner = std::make_unique<cv::Mat>(colors);
    const uchar *const pixels = owner->data; // const, so that who paints on the image paints on a copy
    return {pixels, colors.cols, colors.rows, static_cast<int>(colors.step), QImage::Format_BGR888, release,
        owner.release()};
}

LoadedImage loadedImage(const DecodedImage &image)
{
    if (image.pixels.empty())
        return {{}, reasonOf(image.fault), image.problem};
    return {sharing(image.pixels), Reason::None, {}};
}

std::vector<std::vector<cv::Point>> detectContours(const cv::Mat &edges)
{
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(edges, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE, cv::Point(0, 0));
    return contours;
}

/// The contours that reach the cladding, as defects without a size. Single pixels are noise.
std::vector<Defect> createRawDefects(
    const std::vector<std::vector<cv::Point>> &contours, const QSize &imageSize, float claddingRadius)
{
    const QPoint imageCenter(imageSize.width() / 2, imageSize.height() / 2);
    std::vector<Defect> rawDefects;
    for (const std::vector<cv::Point> &contour : contours) {
        if (contour.size() == 1)
            continue;
        Defect defect = AnalyserPrivate::createDefectFromPixels(contour, 0);
        const float distance = AnalyserPrivate::distanceBetweenPoints(imageCenter, defect.enclosingCircle.center);
        if (distance <= claddingRadius + defect.enclosingCircle.radius)
            rawDefects.push_back(std::move(defect));
    }
    return rawDefects;
}

/// Gives every defect its size. A joined one is rebuilt from its pixels; a lonely one has its geometry already.
std::vector<Defect> createMergedDefects(const std::vector<Defect> &mergedRawDefects, float pixelSize)
{
    std::vector<Defect> mergedDefects;
    mergedDefects.reserve(mergedRawDefects.size());
    for (const Defect &defect : mergedRawDefects) {
        if (defect.boundingRectPoints.isEmpty()) {
            mergedDefects.push_back(AnalyserPrivate::createDefectFromPixels(defect.pixels, pixelSize));
        } else {
            mergedDefects.push_back(defect);
            mergedDefects.back().calculateSize(pixelSize);
        }
    }
    return mergedDefects;
}

QVector<Defect> toVector(const std::vector<Defect> &defects)
{
    return {defects.cbegin(), defects.cend()};
}

std::optional<QRandomGenerator> generatorOf(const std::optional<quint64> &seed)
{
    if (!seed)
        return std::nullopt;
    const quint32 halves[] = {static_cast<quint32>(*seed), static_cast<quint32>(*seed >> 32U)};
    return QRandomGenerator(halves);
}
} // namespace

/// The diameters of a standard in pixels of the image.
struct InspectionCore::ZoneDiameters
{
    float core = 0;
    float cladding = 0;
    float adhesive = 0;
    float adhesiveWidth = 0;
    float contact = 0;

    float expectedCladdingRadius() const { return cladding / 2 + adhesiveWidth / 2; }

    static ZoneDiameters of(const Standard &standard, const QSize &fov, const QSize &imageSize)
    {
        const auto toPixels = [&](int microns) {
            return AnalyserPrivate::micronsToPixels(static_cast<float>(microns), fov, imageSize);
        };
        const Zone &adhesive = standard.adhesive();
        return {toPixels(standard.core().outerDiameter), toPixels(standard.cladding().outerDiameter),
            toPixels(adhesive.outerDiameter), toPixels(adhesive.outerDiameter - adhesive.innerDiameter),
            toPixels(standard.contact().outerDiameter)};
    }
};

InspectionCore::InspectionCore(
    Standard::Id standardId, const Device &device, const InspectionOptions &options, InspectionTrace &trace)
    : mStandard(standardId)
    , mDevice(device)
    , mOptions(options)
    , mTrace(trace)
{
    mInspection.mStandardId = standardId;
    mInspection.mResult = TestResult(mStandard);
}

LoadedImage InspectionCore::readImage(const QString &path, qint64 maxImagePixels, QByteArray *content)
{
    return loadedImage(ImageDecoder::decodeFile(path, ImageFile::usableMaxPixels(maxImagePixels), content));
}

LoadedImage InspectionCore::decodeImage(const QByteArray &bytes, qint64 maxImagePixels)
{
    return loadedImage(ImageDecoder::decode(bytes, ImageFile::usableMaxPixels(maxImagePixels)));
}

QImage InspectionCore::bgrOf(const QImage &image)
{
    constexpr int pieceSize = 64 * 1024; // bytes; QImage shares out from twice as many on
    if (image.format() == QImage::Format_BGR888)
        return image;
    QImage bgr(image.size(), QImage::Format_BGR888);
    if (bgr.isNull())
        return {};
    const int rows = std::max(1, pieceSize / std::max(image.bytesPerLine(), bgr.bytesPerLine()));
    for (int top = 0; top < image.height(); top += rows) {
        const int count = std::min(rows, image.height() - top);
        QImage piece(image.constScanLine(top), image.width(), count, image.bytesPerLine(), image.format());
        piece.setColorTable(image.colorTable());
        const QImage converted = piece.convertToFormat(QImage::Format_BGR888);
        if (converted.isNull())
            return {};
        std::memcpy(bgr.scanLine(top), converted.constBits(), static_cast<std::size_t>(converted.sizeInBytes()));
    }
    return bgr;
}

Inspection InspectionCore::broken(Standard::Id standardId, const QString &detail)
{
    Inspection inspection;
    inspection.mStandardId = standardId;
    inspection.mResult = TestResult(Standard(standardId));
    inspection.mReason = Reason::AnalysisBroken;
    inspection.mDetail = detail;
    return inspection;
}

const char *InspectionCore::reasonText(Reason reason)
{
    switch (reason) {
    case Reason::None:
        break;
    case Reason::NotInspected:
        return "Nothing was inspected";
    case Reason::FileMissing:
    case Reason::NotAFile:
    case Reason::FileUnreadable:
    case Reason::FileEmpty:
    case Reason::UnknownFormat:
    case Reason::ImageDamaged:
    case Reason::ImageTooLarge:
    case Reason::NoImage:
        return "Failed to load image";
    case Reason::NotConvertible:
        return "Failed to convert image to grayscale";
    case Reason::UnusableScale:
    case Reason::NoFibre:
    case Reason::SeveralFibres:
        return "Failed to detect cladding";
    case Reason::FibreAtBorder:
        return "crop geometry is invalid";
    case Reason::AnalysisBroken:
        return "The analysis came to no end";
    }
    return "";
}

Inspection InspectionCore::inspectFile(const QString &path, QByteArray *content)
{
    return inspectLoaded(readImage(path, mOptions.maxImagePixels, content));
}

Inspection InspectionCore::inspectLoaded(const LoadedImage &image)
{
    if (image.reason != Reason::None)
        fail(image.reason, image.detail);
    else if (loadImage(image.image))
        inspect();
    return mInspection;
}

Inspection InspectionCore::inspectImage(const QImage &image)
{
    loadImage(image) && inspect();
    return mInspection;
}

bool InspectionCore::loadImage(const QImage &image)
{
    if (image.isNull())
        return fail(Reason::NoImage);
    const QString problem =
        ImageFormats::problemOfSize(image.width(), image.height(), ImageFile::usableMaxPixels(mOptions.maxImagePixels));
    if (!problem.isEmpty())
        return fail(Reason::ImageTooLarge, problem);
    mConverted = bgrOf(image);
    if (mConverted.isNull())
        return fail(Reason::AnalysisBroken, QStringLiteral("no memory for the image"));
    mColors = StepImages::viewOf(mConverted);
    mInspection.mImage = image;
    return true;
}

bool InspectionCore::inspect()
{
    mTrace.loaded();
    if (!convertToGray() || !scaleDown())
        return false;

    const QSize imageSize = AnalyserPrivate::imageSize(mGray);
    const ZoneDiameters diameters = ZoneDiameters::of(mStandard, mDevice.fov, imageSize);
    mInspection.mMicronsPerPixel = AnalyserPrivate::pixelSize(mDevice.fov, imageSize);
    if (!locateFibre(diameters) || !crop(diameters.contact))
        return false;

    measureGrayLevels(diameters.core);
    removeCore(diameters.core);
    const std::vector<Defect> defects = findDefects(detectEdges());
    grade(defects, {diameters.core / 2, mInspection.mCladding.radius, diameters.adhesive / 2, diameters.contact / 2});
    return true;
}

bool InspectionCore::convertToGray()
{
    mGray = AnalyserPrivate::convertImageToGray(mColors);
    if (mGray.empty())
        return fail(Reason::NotConvertible);
    mTrace.convertedToGray(mGray);
    return true;
}

/// Divides the size of both images.
bool InspectionCore::scaleDown()
{
    const float scale = mOptions.scale;
    if (qFuzzyCompare(scale, 1.0F))
        return true;
    const float width = static_cast<float>(mGray.cols) / scale;
    const float height = static_cast<float>(mGray.rows) / scale;
    const bool isUsable = std::isfinite(scale) && width >= 1 && height >= 1
        && static_cast<double>(width) * static_cast<double>(height)
            <= static_cast<double>(ImageFile::usableMaxPixels(mOptions.maxImagePixels))
        && std::max(width, height) < static_cast<float>(std::numeric_limits<int>::max());
    if (!isUsable)
        return fail(Reason::UnusableScale,
            QStringLiteral("the size of the image cannot be divided by %1").arg(static_cast<double>(scale)));

    const cv::Size size(static_cast<int>(width), static_cast<int>(height));
    for (cv::Mat *const image : {&mGray, &mColors}) {
        cv::Mat scaled;
        cv::resize(*image, scaled, size, 0, 0, cv::INTER_LINEAR);
        *image = scaled;
    }
    mInspection.mImage = sharing(mColors);
    mTrace.scaled(mGray);
    return true;
}

bool InspectionCore::locateFibre(const ZoneDiameters &diameters)
{
    int candidates = 0;
    const Circle cladding = AnalyserPrivate::findCladdingCircle(mGray, diameters.expectedCladdingRadius(), &candidates);
    if (candidates > 1)
        return fail(Reason::SeveralFibres, QStringLiteral("%1 circles are as large as it").arg(candidates));
    if (candidates == AnalyserPrivate::notSearched)
        return fail(Reason::NoFibre, QStringLiteral("the image has too many edges to be searched for it"));
    if (!cladding.isValid())
        return fail(Reason::NoFibre);
    mInspection.mCladding = cladding;
    mTrace.foundCladding(cladding, diameters.cladding);
    return true;
}

bool InspectionCore::crop(float contactDiameter)
{
    const QRect crop = AnalyserPrivate::calculateCrop(
        mInspection.mCladding.center, contactDiameter, AnalyserPrivate::imageSize(mGray));
    mTrace.calculatedCrop(crop);
    if (!crop.isValid())
        return fail(Reason::FibreAtBorder);
    mInspection.mCrop = crop;
    mGrayCrop = AnalyserPrivate::cropImage(mGray, crop);
    mColorCrop = AnalyserPrivate::cropImage(mColors, crop);
    mTrace.cropped(mGrayCrop);
    return true;
}

void InspectionCore::measureGrayLevels(float coreDiameter)
{
    constexpr float diameterToleranceMarginForColorAroundCladding = 8;
    constexpr int brightest = 255;
    const float claddingDiameter = 2 * mInspection.mCladding.radius;
    const auto outerDiameter = static_cast<int>(claddingDiameter + diameterToleranceMarginForColorAroundCladding);

    GrayLevels &levels = mInspection.mGrayLevels;
    levels.cladding = AnalyserPrivate::claddingColor(mGrayCrop, claddingDiameter, coreDiameter);
    levels.aroundCore = AnalyserPrivate::colorAroundCircle(mGrayCrop, coreDiameter, levels.cladding, brightest);
    levels.aroundCladding =
        AnalyserPrivate::colorAroundCircle(mGrayCrop, static_cast<float>(outerDiameter), levels.cladding, brightest);
    mTrace.measured(levels);
}

void InspectionCore::removeCore(float coreDiameter)
{
    const int fill = mInspection.mGrayLevels.aroundCore;
    std::optional<QRandomGenerator> generator = generatorOf(mOptions.seed);
    AnalyserPrivate::removeCoreCircle(mGrayCrop, coreDiameter, fill, generator ? &*generator : nullptr);
    mTrace.removedCore(mGrayCrop);
}

/// The edges of the crop without those that are only the rim of the cladding.
cv::Mat InspectionCore::detectEdges() const
{
    constexpr double lowerThreshold = 10.0;
    constexpr double upperThreshold = 40.0;
    constexpr int apertureSize = 3;
    const GrayLevels &levels = mInspection.mGrayLevels;

    cv::Mat edges = AnalyserPrivate::blurImage(mGrayCrop);
    mTrace.blurred(edges, levels);
    cv::Canny(edges, edges, lowerThreshold, upperThreshold, apertureSize, false);
    mTrace.detectedEdges(edges);
    AnalyserPrivate::removeCladdingEdges(
        edges, mGrayCrop, mInspection.mCladding.radius, levels.cladding, levels.aroundCladding);
    mTrace.removedCladdingEdges(edges);
    return edges;
}

std::vector<Defect> InspectionCore::findDefects(const cv::Mat &edges)
{
    const std::vector<std::vector<cv::Point>> contours = detectContours(edges);
    mTrace.detectedContours();

    const std::vector<Defect> rawDefects =
        createRawDefects(contours, AnalyserPrivate::imageSize(edges), mInspection.mCladding.radius);
    DefectCounts &counts = mInspection.mCounts;
    counts.contours = static_cast<int>(contours.size());
    counts.raw = static_cast<int>(rawDefects.size());
    mTrace.processedContours(counts);

    const float maxDistanceToMerge = AnalyserPrivate::micronsToPixels(
        maxPixelDistanceToMergeDefects, mDevice.fov, AnalyserPrivate::imageSize(mGray));
    std::vector<Defect> defects = createMergedDefects(
        AnalyserPrivate::mergeDefects(rawDefects, maxDistanceToMerge), mInspection.mMicronsPerPixel);
    counts.merged = static_cast<int>(defects.size());
    mTrace.merged(mColorCrop, rawDefects, defects);
    return defects;
}

void InspectionCore::grade(const std::vector<Defect> &defects, const ZoneSizes &zones)
{
    std::vector<Defect> coreDefects;
    std::vector<Defect> claddingDefects;
    std::vector<Defect> contactDefects;
    AnalyserPrivate::splitDefectsToZones(
        defects, coreDefects, claddingDefects, contactDefects, AnalyserPrivate::imageSize(mGrayCrop), zones);
    mTrace.split(coreDefects.size(), claddingDefects.size(), contactDefects.size());

    TestResult &result = mInspection.mResult;
    result.processDefects(toVector(coreDefects), toVector(claddingDefects));
    mTrace.graded(mColorCrop, result, zones);

    for (const Defect &defect : defects)
        mInspection.mOutlines.append(defect.pixels);
    appendGraded(Zone::Core, result.coreDefects());
    appendGraded(Zone::Cladding, result.claddingDefects());
    result.setError(false);
    mInspection.mReason = Reason::None;
}

void InspectionCore::appendGraded(Zone::Id zone, const QVector<Defect> &defects)
{
    for (const Defect &defect : defects)
        mInspection.mDefects.append(GradedDefect::of(zone, defect, mInspection.mCrop, mInspection.mMicronsPerPixel));
}

bool InspectionCore::fail(Reason reason, const QString &detail)
{
    mInspection.mReason = reason;
    mInspection.mDetail = detail;
    mTrace.failed(reasonText(reason));
    return false;
}

} // namespace FiberInspection
