// SPDX-License-Identifier: Apache-2.0
#include "Pictures.h"

#include "Inspection.h"
#include "OutputFolder.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace Inspect {

namespace {
const QLatin1String keptName("kept");

QStringList stepsIn(const QString &folder)
{
    return QDir(folder).entryList({keptName + QStringLiteral("_*")}, QDir::Files | QDir::Hidden);
}
} // namespace

Pictures::Pictures(const QString &folder)
    : mFolder(folder)
{
}

bool Pictures::prepare() const
{
    return QDir().mkpath(stepsFolder());
}

bool Pictures::keep(const FiberInspection::Inspection &found, const Steps &steps) const
{
    QFile::remove(keptResult());
    const QStringList former = stepsIn(stepsFolder());
    for (const QString &step : former)
        QFile::remove(stepsFolder() + step);

    for (const Step &step : steps)
        step.picture.save(QStringLiteral("%1%2_%3.png").arg(stepsFolder(), keptName, step.name), "PNG");
    return found.saveAnnotatedImage(keptResult());
}

void Pictures::take(const OutputFolder &output, Inspection *inspection) const
{
    // A worker that was taken over shall not choose names for other images.
    static const QRegularExpression stepSuffix(QStringLiteral("^_\\d\\d_[a-z_]+\\.png$"));

    const QString &name = inspection->task.outputName;
    const QStringList steps = stepsIn(stepsFolder());
    for (const QString &step : steps) {
        const QString suffix = step.mid(keptName.size());
        if (stepSuffix.match(suffix).hasMatch())
            output.take(stepsFolder() + step, name + suffix, &inspection->problem);
    }
    if (inspection->hasKeptResult)
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
    return mFolder + QStringLiteral("/kept.jpg");
}

} // namespace Inspect
