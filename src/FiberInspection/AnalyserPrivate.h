// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

#include <QImage>
#include <QPoint>
#include <QRect>

#include <opencv2/core.hpp>

#include <vector>

class QRandomGenerator;

namespace FiberInspection {

/// The image analysis of a connector end face, from the file to the verdict, as static functions without state.
///
/// Unless said otherwise: images are 8-bit matrices, grey or BGR; lengths are pixels of the image at hand; colours are
/// grey levels from 0 to 255; bad input gives a warning in the log and a neutral value. All functions are re-entrant.
/// The functions from claddingColor() to removeEdgesWithinRing() take the middle of the image as the fibre's centre,
/// and the first of two coordinates as the row: on the square crops that they are made for both readings are the same.
class VANTORBASE_EXPORT AnalyserPrivate
{
public:
    AnalyserPrivate() = delete;

    /// An inspection, with what it has read and written: the files may be those of another one by now.
    struct Analysis
    {
        Inspection inspection;
        QByteArray photograph; ///< content of the file; empty when it could not be read
        QByteArray resultImage; ///< content of the result image; empty when it was not written
    };

    /// Inspects one still photograph: locates the fibre, finds its defects, and grades them.
    ///
    /// Writes the annotated crop to BaseDirHelper::tmpFiberInspectionResultImagePath() and, if asked to, numbered step
    /// images beside the photograph. One analysis runs at a time in a process: one of another thread waits, one that a
    /// handler of the log asks for in the same thread runs at once, within the other. OpenCV's exceptions reach the
    /// caller, and so does a want of memory.
    /// @param fileName colour photograph; its path is also the prefix of the step images
    /// @param scale divisor of the image size; 1 leaves it
    static Analysis analyseFile(
        Standard::Id standardId, const QString &fileName, const Device &device, float scale, bool saveStepsImages);

    /// The same. Without a verdict the result is an error.
    /// @param inspection if given, receives all that was found out, also without a verdict
    static TestResult analyse(Standard::Id standardId, const QString &fileName, const Device &device, float scale,
        bool saveStepsImages, Inspection *inspection = nullptr);

    // --- images: AnalyserPrivateImages.cpp

    static QSize imageSize(const cv::Mat &mat);

    /// Decodes an image file (JPEG, PNG, BMP, PNM, TIFF, WebP) to BGR; orientation tags are applied, alpha is dropped.
    /// Empty for a file that is missing, damaged, incomplete, of unreasonable size, or none of these.
    /// @param problem if given, receives why the image is empty
    static cv::Mat loadImage(const QString &path, QString *problem = nullptr);

    /// The content of an image file, by the extension with its dot; empty when that is unknown or the image has no such
    /// form.
    static QByteArray encodeImage(const cv::Mat &mat, const QString &extension);

    /// Encodes by the extension of the path. The file appears whole or not at all. Returns whether it was written.
    static bool saveImage(const cv::Mat &mat, const QString &path);

    /// A grey or four-channel result shares the pixels: keep the matrix alive while the image is used.
    static QImage matToQImage(const cv::Mat &mat);

    /// Grey levels with the weights of red and blue exchanged; empty for an image without three or four channels.
    static cv::Mat convertImageToGray(const cv::Mat &mat);

    static constexpr int notSearched = -1; ///< number of candidates where a search may take minutes

    /// The one circle of the Hough transform (OpenCV, HOUGH_GRADIENT) that is at most 10 pixels smaller than expected
    /// and not larger; an empty circle when there is none or more than one.
    /// @param candidates if given, receives how many there are, or notSearched for an image with that many edges; not
    /// touched where there is nothing to search
    static Circle findCladdingCircle(const cv::Mat &grayImage, float expectedCladdingRadius, int *candidates = nullptr);

    /// Fast search at a sixth of the size, for live frames of the scope Device::ks20(). Candidates as above.
    static Circle approximateFindCladdingCircle(const cv::Mat &grayImage, int *candidates = nullptr);
    static Circle approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height);

    /// The square around the fibre: the zone and a margin of 20 pixels on each side. Empty if it leaves the image.
    static QRect calculateCrop(const QPointF &claddingCenter, float contactZoneOuterDiameter, const QSize &resolution);

    /// A view of a part of the image: it shares the pixels. The rectangle has to lie within the image.
    static cv::Mat cropImage(const cv::Mat &mat, const QRect &cropGeometry);

    static float pixelSize(const QSize &fov, const QSize &resolution); ///< micrometres per pixel
    static float micronSize(const QSize &fov, const QSize &resolution); ///< pixels per micrometre

    /// -1 for a negative length, an invalid size, or a size without width.
    static float pixelsToMicrons(float pixels, const QSize &fov, const QSize &resolution);
    static float micronsToPixels(float microns, const QSize &fov, const QSize &resolution);

    /// Euclidean; the points are truncated to whole pixels first.
    static float distanceBetweenPoints(int x1, int y1, int x2, int y2);
    static float distanceBetweenPoints(const QPointF &point1, const QPointF &point2);
    static float distanceBetweenPoints(const cv::Point &point1, const cv::Point &point2);

    /// A little below the mean of the ring between core and cladding rim; may be negative.
    static int claddingColor(const cv::Mat &mat, float claddingDiameter, float coreDiameter);

    /// Mean of the square around the circle, without the circle's line and without levels outside of the two bounds.
    static int colorAroundCircle(const cv::Mat &mat, float diameter, int minColor, int maxColor);

    /// Mean of what lies outside of the cladding in the square around it.
    static int backgroundColor(const cv::Mat &mat, float claddingDiameter);

    /// Focus measure around the core, larger is sharper: variance of the Laplacian, rounded up to one decimal.
    /// @param fits if given, receives whether what is looked at lies within the image; if not, the measure is 0
    static double getBlurLevel(const cv::Mat &mat, const Circle &claddingCircle, bool *fits = nullptr);
    static double getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle);

    /// The luminance plane of a 4:2:0 frame as an image of its own. The buffer holds width * height * 3 / 2 bytes, its
    /// rows are not padded whatever bytesPerLine says. Empty without data or for a size that is not even.
    static cv::Mat createOpenCVImageFromBytes(uchar *data, int bytesPerLine, int width, int height);

    static cv::Point2f qpointfToCvPoint2f(const QPointF &point);
    static QPointF cvPoint2fToQPoint(const cv::Point2f &point);
    static std::vector<cv::Point> qpointVectorToCvPoint2fVector(const QVector<QPointF> &points);
    static QVector<QPointF> cvPoint2fVectorToQPointVector(const std::vector<cv::Point> &points);

    // --- edge map: AnalyserPrivateEdges.cpp

    static cv::Mat blurImage(const cv::Mat &mat);

    /// Paints the bright part of the core with about the given colour, in place, so that its rim yields no edges. What
    /// is not brighter than the colour stays: dark defects of the core survive. The fill is random.
    /// @param random if given, is drawn from row by row; else OpenCV's threads draw from the process-wide generator
    static void removeCoreCircle(
        cv::Mat &mat, float coreDiameter, int claddingColor, QRandomGenerator *random = nullptr);

    /// Erases, in place, the edge pixels that are only the rim of the cladding: within 4 pixels of it, and plain
    /// background three pixels outward and inward.
    static void removeCladdingEdges(
        cv::Mat &edgeImage, const cv::Mat &grayImage, float claddingRadius, int claddingColor, int colorAroundCladding);

    /// The pixel that lies the distance beyond the end of a line: one decision of Bresenham's algorithm, all octants.
    static QPoint nextPixel(int startX, int startY, int endX, int endY, int distance);
    static QPoint nextPixel(const QPoint &start, const QPoint &end, int distance);

    /// The pixel that lies the distance before the end of a line: nextPixel() mirrored at the end.
    static QPoint prevPixel(int startX, int startY, int endX, int endY, int distance);
    static QPoint prevPixel(const QPoint &start, const QPoint &end, int distance);

    /// Erases the edge pixels of a ring, both radii included; -1 as the outer one means without end.
    static void removeEdgesWithinRing(cv::Mat &mat, float innerRadius, float outerRadius);

    /// Erases the edge pixels from the contact radius outward.
    static void applyZonesOnEdges(cv::Mat &edgeImage, const ZoneSizes &zoneSizes);

    // --- defects: AnalyserPrivateDefects.cpp

    /// @param pixelSize micrometres per pixel; 0 leaves the size of the defect unset
    static Defect createDefectFromPixels(const std::vector<cv::Point> &pixels, float pixelSize);
    static Defect createDefectFromPixels(const QVector<QPointF> &pixels, float pixelSize);

    /// Joins point-like defects that lie close to each other, directly or by way of others. Scratches and lonely
    /// defects come first, unchanged and in their order; a joined defect has nothing but its pixels.
    static std::vector<Defect> mergeDefects(const std::vector<Defect> &defects, float maxDistanceToMerge);

    /// Appends each defect to the innermost zone that its enclosing circle overlaps, and drops what lies outside of the
    /// cladding; contactDefects stays as it is.
    static void splitDefectsToZones(const std::vector<Defect> &defects, std::vector<Defect> &coreDefects,
        std::vector<Defect> &claddingDefects, std::vector<Defect> &contactDefects, const QSize &imageSize,
        const ZoneSizes &zoneSizes);
};

} // namespace FiberInspection
