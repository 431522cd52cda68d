// SPDX-License-Identifier: Apache-2.0
#include "inspect/Pictures.h"

#include "common/Terminal.h"
#include "inspect/Inspection.h"
#include "inspect/Options.h"
#include "inspect/OutputFolder.h"

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

namespace Inspect {

namespace {
const QLatin1String keptName("kept");

constexpr int stepsOfAnalysis = 14; // of one that comes to its end; one more when it scales
constexpr int mostFiles = 64; // of a worker: the pictures of a run, and what is half written
constexpr qint64 largestPicture = 64LL * 1024 * 1024; // bytes, for usual photographs
constexpr qint64 mostBytes = 1024LL * 1024 * 1024; // of all its files, for usual photographs

int mostSteps(const Options &options)
{
    if (!options.saveSteps)
        return 0;
    return options.scale == 1.0F ? stepsOfAnalysis : stepsOfAnalysis + 1;
}

qint64 largestPictureOf(const Options &options)
{
    return largestPicture * options.timesTheUsualPixels();
}

qint64 mostBytesOf(const Options &options)
{
    return mostBytes * options.timesTheUsualPixels();
}

/// As a whole or, on a full disk, not at all: of what is still in a buffer, closing would fail, and nothing be removed.
void write(const QImage &picture, const QString &path)
{
    QBuffer png;
    QFile file(path);
    const bool isWritten = png.open(QIODevice::WriteOnly) && picture.save(&png, "PNG")
        && file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(png.data()) == png.size();
    if (!isWritten)
        file.remove();
}
} // namespace

Pictures::Pictures(const QString &folder)
    : mFolder(folder)
{
}

bool Pictures::prepare() const
{
    return QDir().mkpath(stepsFolder()) && QDir().mkpath(resultFolder());
}

QList<QByteArray> Pictures::foldersToWrite(const Options &options) const
{
    QList<QByteArray> folders;
    if (!options.outputFolder.isEmpty())
        folders.append(QFile::encodeName(resultFolder()));
    if (options.saveSteps)
        folders.append(QFile::encodeName(stepsFolder()));
    return folders;
}

bool Pictures::keep(const FiberInspection::Inspection &found, const Steps &steps) const
{
    QFile::remove(keptResult());
    const QStringList former =
        QDir(stepsFolder()).entryList({keptName + QStringLiteral("_*")}, QDir::Files | QDir::Hidden);
    for (const QString &step : former)
        QFile::remove(stepsFolder() + step);

    const bool hasResult = found.saveAnnotatedImage(keptResult()); // first: on a full disk it is the one that counts
    for (const Step &step : steps)
        write(step.picture, QStringLiteral("%1%2_%3.png").arg(stepsFolder(), keptName, step.name));
    return hasResult;
}

void Pictures::take(const OutputFolder &output, const Options &options, Inspection *inspection) const
{
    const QString name = inspection->task.outputName + OutputFolder::resultSuffix();
    if (inspection->hasKeptResult) // first, as in keep()
        inspection->resultImage = output.take(keptResult(), name, largestPictureOf(options), &inspection->problem);
    else if (inspection->verdict() != Verdict::NotAnalysed)
        inspection->problem = QStringLiteral("the annotated image could not be written to the temporary folder");

    const QString problem = takeSteps(output, options, *inspection);
    if (inspection->problem.isEmpty())
        inspection->problem = problem;
}

QString Pictures::takeSteps(const OutputFolder &output, const Options &options, const Inspection &inspection) const
{
    // A worker that was taken over shall not choose names for other images.
    static const QRegularExpression stepSuffix(QStringLiteral("\\A_\\d\\d_[a-z_]+\\.png\\z"));

    const int most = mostSteps(options);
    const QString name = Tools::Terminal::printableName(inspection.task.outputName);
    QString problem;
    int taken = 0;
    QDirIterator step(stepsFolder(), {keptName + QStringLiteral("_*")}, QDir::Files | QDir::Hidden);
    while (step.hasNext() && taken <= most) {
        const QString path = step.next();
        const QString suffix = step.fileName().mid(keptName.size());
        if (!stepSuffix.match(suffix).hasMatch())
            continue;
        if (++taken <= most)
            output.take(path, inspection.task.outputName + suffix, largestPictureOf(options), &problem);
    }
    if (taken > most && most > 0)
        problem = QStringLiteral("%1: more step images than an analysis has; some were left").arg(name);
    if (taken < most && inspection.verdict() != Verdict::NotAnalysed)
        problem = QStringLiteral("%1: some step images could not be written to the temporary folder").arg(name);
    return problem;
}

bool Pictures::areTooMany(const Options &options) const
{
    int files = 0;
    qint64 bytes = 0;
    QDirIterator file(
        mFolder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (file.hasNext() && files <= mostFiles && bytes <= mostBytesOf(options)) {
        file.next();
        ++files;
        bytes += file.fileInfo().isSymLink() ? 0 : file.fileInfo().size();
    }
    return files > mostFiles || bytes > mostBytesOf(options);
}

QString Pictures::stepsFolder() const
{
    return mFolder + QStringLiteral("/steps/");
}

QString Pictures::resultFolder() const
{
    return mFolder + QStringLiteral("/result/");
}

QString Pictures::keptResult() const
{
    return resultFolder() + keptName + QStringLiteral(".jpg");
}

} // namespace Inspect
