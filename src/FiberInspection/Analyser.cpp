// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Analyser.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/ExceptionText_p.h"
#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/Log_p.h"
#include "FiberInspection/OnThisThread_p.h"
#include "Helpers/BaseDirHelper.h"
#include "Internal/FileAccess.h"
#include "Internal/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace FiberInspection {

namespace {
constexpr float unscaled = 1.0F;

/// Whether the path, with all its "..", lies in the directory or is the directory itself.
bool liesIn(const QString &directory, const QString &path)
{
    const QString cleanDirectory = QDir::cleanPath(directory);
    const QString cleanPath = QDir::cleanPath(path);
    return cleanPath == cleanDirectory || cleanPath.startsWith(cleanDirectory + QLatin1Char('/'));
}

/// Copies a regular file in pieces, but none that is larger than a photograph may be: holes would fill the disk.
bool copyWhole(const QString &from, const QString &to)
{
    constexpr qint64 pieceSize = 1024LL * 1024;
    QFile source(from);
    WholeFile target(to);
    if (!FileAccess::openRegular(from, &source) || !target.open()) // a pipe may have come to be there
        return false;
    if (source.size() > LoadedImage::maxFileSize)
        return false;
    source.setTextModeEnabled(false);
    while (!source.atEnd()) {
        const QByteArray piece = source.read(pieceSize);
        if (piece.isEmpty() || source.pos() > LoadedImage::maxFileSize || !target.write(piece))
            return false;
    }
    return source.error() == QFileDevice::NoError && target.commit();
}

/// A picture that is to be filed.
struct Picture
{
    QString path; ///< where it was read or written
    QByteArray content; ///< empty: what the file holds now
    bool isThere = true;
};

/// Replaces the target. When that fails there is none in the end: nothing is better than the picture of another fibre.
void filePicture(const Picture &picture, const QString &to)
{
    const QFileInfo source(picture.path);
    if (!picture.isThere || (picture.content.isEmpty() && !source.isFile())) {
        QFile::remove(to);
        qCWarning(messageLog) << "not filed, there is no" << picture.path;
        return;
    }
    const QFileInfo target(to);
    if (!target.isSymLink() && source.exists() && source.canonicalFilePath() == target.canonicalFilePath())
        return;
    QFile::remove(to); // of a link, not what it points to
    const bool isFiled =
        picture.content.isEmpty() ? copyWhole(picture.path, to) : WholeFile::write(to, picture.content);
    if (!isFiled)
        qCWarning(messageLog) << "not filed:" << to;
}

/// Files the pictures under the name, and tells where.
void filePictures(const AnalyserPrivate::Analysis &analysis, const QString &name, FiledInspection *filed)
{
    const QString inspectionDir = BaseDirHelper::fiberInspectionDir();
    const QString testDir = QStringLiteral("%1%2/").arg(inspectionDir, name);
    if (name.contains(QChar::Null) || !liesIn(inspectionDir, testDir)) {
        qCWarning(messageLog) << "not filed, the name leads out of the inspection directory:" << name;
        return;
    }

    if (!QDir().mkpath(testDir))
        qCWarning(messageLog) << "folder not created:" << testDir;
    WholeFile::sweep(testDir); // who was killed here before is likely to file under the same name again
    filed->sourceImagePath = testDir + Analyser::fiberSourceImageName();
    filed->resultImagePath = testDir + Analyser::fiberResultImageName();
    filePicture({Analyser::tmpFiberInspectionImagePath(), analysis.photograph}, filed->sourceImagePath);
    // Without a verdict it is the picture of an earlier inspection that is filed.
    const bool isThere = !analysis.inspection.hasVerdict() || !analysis.resultImage.isEmpty();
    filePicture(
        {BaseDirHelper::tmpFiberInspectionResultImagePath(), analysis.resultImage, isThere}, filed->resultImagePath);
}

/// Of a frame. Memory and threads may be wanting; then the result stays as it is, and the log tells.
template <typename Find>
void findQuietly(Find find)
{
    withHandler([&] { onThisThread(find); }, // the threads of OpenCV may not be there to be had
        [] { qCWarning(messageLog) << "frame not analysed:" << exceptionText().constData(); });
}
} // namespace

Analyser::Analyser()
{
    qRegisterMetaType<Standard::Id>("FiberInspection::Standard::Id");
}

TestResult Analyser::analyse(Standard::Id standardId, const QString &name)
{
    return inspectAndFile(standardId, name).inspection.result();
}

FiledInspection Analyser::inspectAndFile(Standard::Id standardId, const QString &name)
{
    const LogScope log(*QLoggingCategory::defaultCategory());
    mLast = {}; // should there be an exception
    const AnalyserPrivate::Analysis analysis =
        AnalyserPrivate::analyseFile(standardId, tmpFiberInspectionImagePath(), Device::ks20(), unscaled, false);
    FiledInspection filed;
    filed.inspection = analysis.inspection;
    filed.photograph = analysis.photograph;
    filePictures(analysis, name, &filed);
    mLast = filed;
    return filed;
}

Circle Analyser::approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height)
{
    Circle circle;
    findQuietly([&] { circle = AnalyserPrivate::approximateFindCladdingCircle(data, bytesPerLine, width, height); });
    return circle;
}

double Analyser::getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle)
{
    double blurLevel = 0;
    findQuietly([&] { blurLevel = AnalyserPrivate::getBlurLevel(data, bytesPerLine, width, height, claddingCircle); });
    return blurLevel;
}

qint64 Analyser::maxImagePixels()
{
    return ImageFile::maxPixels();
}

void Analyser::setMaxImagePixels(qint64 pixels)
{
    ImageFile::setMaxPixels(pixels);
}

QString Analyser::fiberSourceImageName()
{
    return QStringLiteral("source.jpg");
}

QString Analyser::fiberResultImageName()
{
    return QStringLiteral("result.jpg");
}

QString Analyser::tmpFiberInspectionImagePath()
{
    return BaseDirHelper::tmpFiberInspectionImagePath();
}

} // namespace FiberInspection
