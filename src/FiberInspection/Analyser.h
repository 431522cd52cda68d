// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

namespace FiberInspection {

/// An inspection, and where its pictures are.
///
/// @code
/// const AbsoluteBaseDir folder(QStringLiteral("/srv/unit")); // with a photograph at the camera's place
/// Analyser analyser;
/// const FiledInspection filed = analyser.inspectAndFile(Standard::IEC61300_3_35_MM, QStringLiteral("port 1"));
/// if (filed.inspection.hasVerdict())
///     qInfo() << filed.inspection.passed() << filed.sourceImagePath << filed.resultImagePath;
/// @endcode
struct VANTORBASE_EXPORT FiledInspection
{
    Inspection inspection;
    QByteArray photograph; ///< the bytes that were inspected; empty when they could not be read
    /// Where the photograph belongs; empty when the name leads out of the directory. A picture that could not be filed
    /// is not there, or still the former one where it cannot be removed either; the log tells.
    QString sourceImagePath;
    QString resultImagePath; ///< the same of the annotated result, if there is a verdict
};

/// Inspects the image that the scope's camera has left in its fixed place, and files the images by test.
/// An object belongs to one thread.
///
/// @code
/// const AbsoluteBaseDir folder(QStringLiteral("/srv/unit")); // with a photograph at the camera's place
/// Analyser analyser;
/// const TestResult result = analyser.analyse(Standard::IEC61300_3_35_SM_RL45, QStringLiteral("port 1"));
/// if (result.error())
///     qWarning() << analyser.lastInspection().problem();
/// else
///     qInfo() << result.passed() << analyser.lastResultImagePath();
/// @endcode
class VANTORBASE_EXPORT Analyser
{
public:
    Analyser();

    /// Inspects tmpFiberInspectionImagePath() with the optics of Device::ks20().
    ///
    /// The photograph and the annotated result are copied to BaseDirHelper::fiberInspectionDir() + name, also when
    /// there is no verdict; the result image is then the one of an earlier inspection and must not be shown. Images of
    /// the same name are replaced, each as a whole. What could not be filed is said in the log, as a file that is
    /// larger than LoadedImage::maxFileSize. Exceptions reach the caller. A handler of the log may have the next image
    /// inspected meanwhile, by the same object: each inspection files the photograph that it saw, and its own result.
    /// @param name of the test; slashes make nested folders, a name that leads out of the directory files nothing
    TestResult analyse(Standard::Id standardId, const QString &name);

    /// The same, with all that was found out.
    FiledInspection inspectAndFile(Standard::Id standardId, const QString &name);

    /// The fast search of live frames: the first width * height bytes are the luminance, rows without padding. Where it
    /// breaks off, for want of memory, the log tells; no circle is found then, and the level is 0.
    static Circle approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height);
    static double getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle);

    /// The most pixels of a photograph that is decoded, of all analyses in the process: 16 * 1024 * 1024 at first. A
    /// pixel may take 24 bytes while it is decoded. All threads may call.
    static qint64 maxImagePixels();
    static void setMaxImagePixels(qint64 pixels);

    static QString fiberSourceImageName();
    static QString fiberResultImageName();
    static QString tmpFiberInspectionImagePath();

    /// Where the images of the analysis that ended last belong; empty before the first, after an exception, and when
    /// the name leads out of the directory.
    const QString &lastSourceImagePath() const { return mLast.sourceImagePath; }
    const QString &lastResultImagePath() const { return mLast.resultImagePath; }

    /// All that the analysis that ended last has found out.
    const Inspection &lastInspection() const { return mLast.inspection; }

private:
    FiledInspection mLast;
};

} // namespace FiberInspection
