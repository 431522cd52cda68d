// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

namespace FiberInspection {

/// An inspection, and where its pictures are.
struct VANTORBASE_EXPORT FiledInspection
{
    Inspection inspection;
    QString sourceImagePath; ///< the photograph; empty when nothing could be filed under the name
    QString resultImagePath; ///< the annotated result, if there is a verdict; empty as above
};

/// Inspects the image that the scope's camera has left in its fixed place, and files the images by test.
/// An object belongs to one thread.
class VANTORBASE_EXPORT Analyser
{
public:
    Analyser();

    /// Inspects tmpFiberInspectionImagePath() with the optics of Device::ks20().
    ///
    /// The photograph and the annotated result are copied to BaseDirHelper::fiberInspectionDir() + name, also when
    /// there is no verdict; the result image is then the one of an earlier inspection and must not be shown. Images of
    /// the same name are replaced, each as a whole. What could not be filed is said in the log. Exceptions
    /// reach the caller. A handler of the log may have the next image inspected meanwhile, by the same object: each
    /// inspection files the photograph that it saw, and its own result.
    /// @param name of the test; slashes make nested folders, a name that leads out of the directory files nothing
    TestResult analyse(Standard::Id standardId, const QString &name);

    /// The same, with all that was found out.
    FiledInspection inspectAndFile(Standard::Id standardId, const QString &name);

    /// The fast search of live frames: the first width * height bytes are the luminance, rows without padding.
    static Circle approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height);
    static double getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle);

    /// The most pixels of a photograph that is decoded, of all analyses in the process: 16 * 1024 * 1024 at first. A
    /// pixel may take 24 bytes while it is decoded. All threads may call.
    static qint64 maxImagePixels();
    static void setMaxImagePixels(qint64 pixels);

    static QString fiberSourceImageName();
    static QString fiberResultImageName();
    static QString tmpFiberInspectionImagePath();

    /// Where the images of the analysis that ended last are; empty before the first, after an exception, and when
    /// nothing could be filed under the name.
    const QString &lastSourceImagePath() const { return mLast.sourceImagePath; }
    const QString &lastResultImagePath() const { return mLast.resultImagePath; }

    /// All that the analysis that ended last has found out.
    const Inspection &lastInspection() const { return mLast.inspection; }

private:
    FiledInspection mLast;
};

} // namespace FiberInspection
