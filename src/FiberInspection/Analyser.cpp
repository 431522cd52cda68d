// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Analyser.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/Log_p.h"
#include "Helpers/BaseDirHelper.h"
#include "Helpers/WholeFile_p.h"

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

/// Copies in pieces.
bool copyWhole(const QString &from, const QString &to)
{
    constexpr qint64 pieceSize = 1024LL * 1024;
    QFile source(from);
    WholeFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open())
        return false;
    while (!source.atEnd()) {
        const QByteArray piece = source.read(pieceSize);
        if (piece.isEmpty() || !target.write(piece.constData(), piece.size()))
            return false;
    }
    return source.error() == QFileDevice::NoError && target.commit();
}

/// Replaces the target. When that fails there is none in the end: nothing is better than the picture of another fibre.
void fileImage(const QString &from, const QString &to)
{
    const QFileInfo source(from);
    if (!source.isFile()) {
        QFile::remove(to);
        qCWarning(messageLog) << "not filed, there is no" << from;
        return;
    }
    const QFileInfo target(to);
    if (!target.isSymLink() && source.canonicalFilePath() == target.canonicalFilePath())
        return;
    QFile::remove(to); // of a link, not what it points to
    if (!copyWhole(from, to))
        qCWarning(messageLog) << "not filed:" << to;
}
} // namespace

Analyser::Analyser()
{
    qRegisterMetaType<Standard::Id>("FiberInspection::Standard::Id");
}

TestResult Analyser::analyse(Standard::Id standardId, const QString &name)
{
    mLastInspection = {}; // should there be an exception
    const TestResult result = AnalyserPrivate::analyse(
        standardId, tmpFiberInspectionImagePath(), Device::ks20(), unscaled, false, &mLastInspection);
    fileImages(name);
    return result;
}

void Analyser::fileImages(const QString &name)
{
    const QString inspectionDir = BaseDirHelper::fiberInspectionDir();
    const QString testDir = QStringLiteral("%1%2/").arg(inspectionDir, name);
    mLastSourceImagePath.clear();
    mLastResultImagePath.clear();
    if (name.contains(QChar::Null) || !liesIn(inspectionDir, testDir)) {
        qCWarning(messageLog) << "not filed, the name leads out of the inspection directory:" << name;
        return;
    }

    if (!QDir().mkpath(testDir))
        qCWarning(messageLog) << "folder not created:" << testDir;
    mLastSourceImagePath = testDir + fiberSourceImageName();
    mLastResultImagePath = testDir + fiberResultImageName();
    fileImage(tmpFiberInspectionImagePath(), mLastSourceImagePath);
    fileImage(BaseDirHelper::tmpFiberInspectionResultImagePath(), mLastResultImagePath);
}

Circle Analyser::approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height)
{
    return AnalyserPrivate::approximateFindCladdingCircle(data, bytesPerLine, width, height);
}

double Analyser::getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle)
{
    return AnalyserPrivate::getBlurLevel(data, bytesPerLine, width, height, claddingCircle);
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
