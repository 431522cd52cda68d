// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/TestResult.h"

#include <QImage>
#include <QMetaType>
#include <QRect>

#include <functional>
#include <optional>

namespace FiberInspection {

/// What may be asked of an inspection beside the image, the standard, and the scope.
///
/// @code
/// InspectionOptions options;
/// options.seed = 1; // the photograph gives the same inspection again
/// options.onStep = [](const QString &step, const QImage &picture) { picture.save(step + QStringLiteral(".png")); };
/// const QString path = QStringLiteral("face.jpg");
/// const Inspection inspection = inspectFile(path, Standard::IEC61300_3_35_MM, Device::ks20(), options);
/// @endcode
struct InspectionOptions
{
    float scale = 1; ///< divisor of the image size; 1 leaves it

    /// Where the bright part of the core is painted over, so that its rim is no edge, the paint is random. With a seed
    /// it is not: the same image, options and build give the same inspection to the last bit, however many threads are
    /// at work. Without one it comes from the process-wide generator, and an end face at the margin may pass once and
    /// fail once.
    std::optional<quint64> seed;

    static constexpr qint64 defaultMaxImagePixels = 16LL * 1024 * 1024;
    qint64 maxImagePixels =
        defaultMaxImagePixels; ///< larger images are not decoded; a pixel may take 24 bytes meanwhile

    /// If given, is shown a picture of each step, in the thread that inspects: "01_gray", "02_cropped",
    /// "03_cropped_without_core" and so on. Painting them takes longer than the inspection.
    std::function<void(const QString &step, const QImage &picture)> onStep;
};

/// A defect that the standard has something to say about, and where it lies.
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// for (const GradedDefect &defect : inspection.defects()) {
///     if (defect.causesFailure)
///         qInfo() << Zone::name(defect.zone) << defect.sizeMicrons << "um, at" << defect.centerMicrons;
/// }
/// @endcode
struct VANTORBASE_EXPORT GradedDefect
{
    Zone::Id zone = Zone::Core;
    Defect::Type kind = Defect::Type::Defect;
    double sizeMicrons = 0; ///< diameter of the smallest circle around it
    QPointF centerMicrons; ///< of that circle, from the centre of the fibre; x runs right, y down
    bool causesFailure = false; ///< above what a rule allows

    /// @param crop that the pixels of the defect are counted in, with the fibre in its middle
    static GradedDefect of(Zone::Id zone, const Defect &defect, const QRect &crop, float micronsPerPixel);

    bool operator==(const GradedDefect &other) const;
    bool operator!=(const GradedDefect &other) const { return !(*this == other); }
};

/// Mean grey levels, 0 (black) to 255; 0 where nothing could be measured.
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// const GrayLevels &levels = inspection.grayLevels();
/// if (levels != GrayLevels())
///     qInfo() << "the cladding has" << levels.cladding << "and what is around it" << levels.aroundCladding;
/// @endcode
struct VANTORBASE_EXPORT GrayLevels
{
    int cladding = 0; ///< a little below the mean of the cladding; may be negative
    int aroundCore = 0;
    int aroundCladding = 0;

    bool operator==(const GrayLevels &other) const;
    bool operator!=(const GrayLevels &other) const { return !(*this == other); }
};

/// How many there were on the way from edges to defects.
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// const DefectCounts &counts = inspection.counts();
/// qInfo() << counts.merged << "defects, of" << counts.contours << "contours";
/// @endcode
struct VANTORBASE_EXPORT DefectCounts
{
    int contours = 0; ///< all of the cleaned edge map
    int raw = 0; ///< contours that reach the cladding
    int merged = 0; ///< after those close to each other were joined

    bool operator==(const DefectCounts &other) const;
    bool operator!=(const DefectCounts &other) const { return !(*this == other); }
};

/// All that one inspection of an end face has found out: a value, made by inspect() and inspectFile().
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// if (!inspection.hasVerdict())
///     qInfo() << inspection.problem();
/// for (const GradedDefect &defect : inspection.defects())
///     qInfo() << Zone::name(defect.zone) << defect.sizeMicrons << defect.centerMicrons;
/// @endcode
///
/// Copies share their images. What was measured before an inspection came to no verdict is there, the rest has its
/// initial value.
class VANTORBASE_EXPORT Inspection
{
public:
    /// Why there is no verdict.
    enum class Reason : int {
        None, ///< there is one
        NotInspected, ///< the value was never made by an inspection
        FileMissing, ///< or the name of nothing
        NotAFile, ///< a folder, a pipe, a device
        FileUnreadable, ///< not for us, or the disk fails
        FileEmpty,
        UnknownFormat, ///< neither JPEG, PNG, BMP, PNM, TIFF nor WebP
        ImageDamaged, ///< or incomplete, or of a kind that no decoder here knows
        ImageTooLarge, ///< more bytes or pixels than are decoded
        NoImage, ///< a null QImage
        NotConvertible, ///< to grey
        UnusableScale, ///< it leaves nothing of the image, or makes it too large
        NoFibre, ///< no circle as large as the cladding of the standard, or too many edges to look for one
        SeveralFibres, ///< more than one
        FibreAtBorder, ///< the contact zone leaves the image
        AnalysisBroken, ///< by an exception, mostly for want of memory
    };

    Inspection() = default;

    bool hasVerdict() const { return mReason == Reason::None; }
    bool passed() const { return mResult.passed(); } ///< false also without a verdict

    Reason reason() const { return mReason; }
    QString reasonText() const { return reasonText(mReason); } ///< as the log says it; empty with a verdict
    static QString reasonText(Reason reason);
    const QString &detail() const { return mDetail; } ///< what exactly is wrong, where more is known
    QString problem() const { return problemText(mReason, mDetail); } ///< both in one line
    static QString problemText(Reason reason, const QString &detail);

    Standard::Id standardId() const { return mStandardId; }
    const TestResult &result() const { return mResult; } ///< rules, and the graded defects with their pixels

    /// Those of the core, then those of the cladding, each in the order in which they were graded.
    const QVector<GradedDefect> &defects() const { return mDefects; }

    float micronsPerPixel() const { return mMicronsPerPixel; }
    const Circle &claddingCircle() const { return mCladding; } ///< pixels of image()
    const QRect &crop() const { return mCrop; } ///< the square that was graded; pixels of image(), fibre in the middle
    const GrayLevels &grayLevels() const { return mGrayLevels; }
    const DefectCounts &counts() const { return mCounts; }

    /// The image that was analysed, after the scale. It is the caller's own if that was neither a file nor scaled.
    const QImage &image() const { return mImage; }

    /// The crop with the contours of all defects in red; null without a verdict. Painted anew at each call.
    QImage annotatedImage() const;

    /// Writes that picture by the extension of the path: whole or not at all. Returns whether it was written.
    bool saveAnnotatedImage(const QString &path) const;

    bool operator==(const Inspection &other) const; ///< also pixel by pixel
    bool operator!=(const Inspection &other) const { return !(*this == other); }

private:
    friend class InspectionCore;

    Reason mReason = Reason::NotInspected;
    QString mDetail;
    Standard::Id mStandardId = Standard::Manual;
    TestResult mResult;
    QVector<GradedDefect> mDefects;
    float mMicronsPerPixel = 0;
    Circle mCladding;
    QRect mCrop;
    GrayLevels mGrayLevels;
    DefectCounts mCounts;
    QImage mImage;
    QVector<QVector<QPointF>> mOutlines; ///< of all defects, pixels of the crop
};

/// An image file in memory, or why there is none.
///
/// @code
/// const LoadedImage photograph = loadImage(QStringLiteral("face.jpg"));
/// if (photograph.image.isNull())
///     qWarning() << Inspection::reasonText(photograph.reason) << photograph.detail;
/// @endcode
struct LoadedImage
{
    static constexpr qint64 maxFileSize = 256LL * 1024 * 1024; ///< bytes; larger files are not read

    QImage image; ///< upright, without alpha; null when there is a reason
    Inspection::Reason reason = Inspection::Reason::None;
    QString detail;
};

/// What the detail says about a file that cannot be read, whoever tried: "no such file". Empty for the reasons that are
/// not about that.
/// @param number bytes of a file that is too large, or the errno of one that is unreadable
VANTORBASE_EXPORT QString detailOfFile(Inspection::Reason reason, qint64 number = 0);

/// Reads an image file: JPEG, PNG, BMP, PNM, TIFF or WebP, by its content. It is opened once; orientation tags are
/// applied. A file of which a part is missing or damaged is refused, and the detail tells what is wrong. Never throws.
VANTORBASE_EXPORT LoadedImage loadImage(
    const QString &path, qint64 maxImagePixels = InspectionOptions::defaultMaxImagePixels);

/// The same for the content of a file.
VANTORBASE_EXPORT LoadedImage decodeImage(
    const QByteArray &bytes, qint64 maxImagePixels = InspectionOptions::defaultMaxImagePixels);

/// Locates the fibre in a photograph, finds its defects, and grades them.
///
/// Nothing but the arguments counts, and nothing is left behind: no file is written, no other work waited for. All
/// threads may call at once, and two do twice the work of one. One inspection at a time starts no thread; of several
/// that overlap, the image library may share out a step to threads of its own, which stay. Without a seed the
/// process-wide generator is drawn from, which has a lock. The log goes to the category "vantor.inspection", which is
/// silent unless a rule switches it on. Never throws; an exception of onStep ends the inspection without a verdict.
/// @param image of any format, as the camera made it: upright, the whole field of view; alpha is dropped
/// @param device whose field of view, in micrometres, is the width of the image
VANTORBASE_EXPORT Inspection inspect(const QImage &image, Standard::Id standardId,
    const Device &device = Device::ks20(), const InspectionOptions &options = {});

/// The same for what loadImage() or decodeImage() gave, so that what is read once can be graded by several standards:
/// each inspection is that of inspectFile(), also where there is no image but a reason.
///
/// @code
/// const LoadedImage face = loadImage(QStringLiteral("face.jpg"));
/// for (const Standard::Id id : {Standard::IEC61300_3_35_SM_RL26, Standard::IEC61300_3_35_SM_RL45})
///     qInfo() << Standard::name(id) << inspect(face, id).passed();
/// @endcode
VANTORBASE_EXPORT Inspection inspect(const LoadedImage &image, Standard::Id standardId,
    const Device &device = Device::ks20(), const InspectionOptions &options = {});

/// The same for a file, as loadImage() reads it.
/// @param content if given, receives the bytes that were inspected; none when the file could not be read
VANTORBASE_EXPORT Inspection inspectFile(const QString &path, Standard::Id standardId,
    const Device &device = Device::ks20(), const InspectionOptions &options = {}, QByteArray *content = nullptr);

} // namespace FiberInspection

Q_DECLARE_METATYPE(FiberInspection::Inspection)
