// SPDX-License-Identifier: Apache-2.0
#include "Pictures.h"

#include "Helpers/BaseDirHelper.h"
#include "Inspection.h"
#include "OutputFolder.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cstdio>

namespace Inspect {

namespace {
const QLatin1String imageName("image");
const QLatin1String keptName("kept");

void rename(const QString &from, const QString &to)
{
    std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData());
}

QStringList stepsNamed(const QString &name, const QString &folder)
{
    return QDir(folder).entryList({name + QStringLiteral("_*")}, QDir::Files | QDir::Hidden);
}
} // namespace

Pictures::Pictures(const QString &folder)
    : mFolder(folder)
{
}

bool Pictures::prepare(int image) const
{
    return QDir().mkpath(stepsFolder()) && QFile::link(QStringLiteral("/proc/self/fd/%1").arg(image), imagePath());
}

QString Pictures::imagePath() const
{
    return stepsFolder() + imageName;
}

void Pictures::forget() const
{
    QFile::remove(keptResult());
    const QStringList steps = stepsNamed(keptName, stepsFolder());
    for (const QString &step : steps)
        QFile::remove(stepsFolder() + step);
}

void Pictures::keep() const
{
    forget();
    rename(BaseDirHelper::tmpFiberInspectionResultImagePath(), keptResult());
    const QStringList steps = stepsNamed(imageName, stepsFolder());
    for (const QString &step : steps)
        rename(stepsFolder() + step, stepsFolder() + keptName + step.mid(imageName.size()));
}

void Pictures::take(const OutputFolder &output, Inspection *inspection) const
{
    // A worker that was taken over shall not choose names for other images.
    static const QRegularExpression stepSuffix(QStringLiteral("^_\\d\\d_[a-z_]+\\.png$"));

    const QString &name = inspection->task.outputName;
    const QStringList steps = stepsNamed(keptName, stepsFolder());
    for (const QString &step : steps) {
        const QString suffix = step.mid(keptName.size());
        if (stepSuffix.match(suffix).hasMatch())
            output.take(stepsFolder() + step, name + suffix, &inspection->problem);
    }
    if (inspection->record.resultImageWritten)
        inspection->resultImage = output.take(keptResult(), name + OutputFolder::resultSuffix(), &inspection->problem);
    else if (inspection->verdict() != Verdict::NotAnalysed)
        inspection->problem = QStringLiteral("the annotated image could not be written to the temporary folder");
}

QString Pictures::stepsFolder() const
{
    return mFolder + QStringLiteral("/steps/");
}

QString Pictures::keptResult() const
{
    return mFolder + QStringLiteral("/tmp/kept.jpg"); // files can be renamed within their folder only
}

} // namespace Inspect
