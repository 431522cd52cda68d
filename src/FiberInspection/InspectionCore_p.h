// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/ImageDecoder_p.h"
#include "FiberInspection/InspectionTrace_p.h"

namespace FiberInspection {

/// One inspection from the image to the verdict. Touches nothing but its arguments; throws what OpenCV throws.
class InspectionCore
{
public:
    InspectionCore(
        Standard::Id standardId, const Device &device, const InspectionOptions &options, InspectionTrace &trace);

    /// @param content if given, receives the bytes of the file; empty when it could not be read
    Inspection inspectFile(const QString &path, QByteArray *content = nullptr);
    Inspection inspectLoaded(const LoadedImage &image);
    Inspection inspectImage(const QImage &image);

    static LoadedImage readImage(const QString &path, qint64 maxImagePixels, QByteArray *content = nullptr);
    static LoadedImage decodeImage(const QByteArray &bytes, qint64 maxImagePixels);

    /// The image in blue, green and red; null for want of memory. Converted by this thread alone: QImage itself shares
    /// out what is large to the pool of the application, and waits for it.
    static QImage bgrOf(const QImage &image);

    /// What becomes of an inspection that an exception ended.
    static Inspection broken(Standard::Id standardId, const QString &detail);

    static const char *reasonText(Inspection::Reason reason);

private:
    struct ZoneDiameters;

    // The stages in their order. False: there is no verdict, and the inspection says why.
    bool loadImage(const QImage &image);
    bool inspect();
    bool convertToGray();
    bool scaleDown();
    bool locateFibre(const ZoneDiameters &diameters);
    bool crop(float contactDiameter);
    void measureGrayLevels(float coreDiameter);
    void removeCore(float coreDiameter);
    cv::Mat detectEdges() const;
    std::vector<Defect> findDefects(const cv::Mat &edges);
    void grade(const std::vector<Defect> &defects, const ZoneSizes &zones);

    void appendGraded(Zone::Id zone, const QVector<Defect> &defects);
    bool fail(Inspection::Reason reason, const QString &detail = {});

    const Standard mStandard;
    const Device &mDevice;
    const InspectionOptions &mOptions;
    InspectionTrace &mTrace;

    Inspection mInspection;
    QImage mConverted; ///< the caller's image in blue, green and red
    cv::Mat mColors; ///< a view of that, or of the image of the inspection; never written to
    cv::Mat mGray;
    cv::Mat mColorCrop;
    cv::Mat mGrayCrop; ///< shares the pixels of mGray
};

} // namespace FiberInspection
