// SPDX-License-Identifier: Apache-2.0
#include "inspect/ReportCsv.h"

#include "FiberInspection/EnumeratorNames.h"
#include "Internal/Csv.h"
#include "Internal/ShortestNumber.h"
#include "common/StandardNames.h"
#include "common/Terminal.h"
#include "inspect/Inspection.h"
#include "inspect/Options.h"

#include <QStringList>

namespace Inspect {

namespace {
struct Column
{
    QString name;
    QString value;
};

QString text(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}

QString text(int number)
{
    return QString::number(number);
}

QString text(float number)
{
    return QString::fromLatin1(shortestNumber(number));
}

QString text(double number)
{
    return QString::fromLatin1(shortestNumber(number));
}

QVector<Column> columnsOf(const Inspection &inspection, const Options &options)
{
    const FiberInspection::TestResult &result = inspection.result;
    const Measurements &measured = inspection.measurements;
    QVector<Column> columns{
        {QStringLiteral("image"), Tools::Terminal::printableName(inspection.task.image.path)},
        {QStringLiteral("standard"), FiberInspection::enumeratorOf(inspection.task.standardId)},
        {QStringLiteral("standardName"), FiberInspection::Standard::name(inspection.task.standardId)},
        {QStringLiteral("error"), text(result.error())},
        {QStringLiteral("reason"), Tools::Terminal::printable(inspection.reason.text())},
        {QStringLiteral("passed"), text(result.passed())},
        {QStringLiteral("resultImage"), Tools::Terminal::printableName(inspection.resultImage)},
        {QStringLiteral("elapsedMs"), text(measured.elapsedMs)},
        {QStringLiteral("pixelSize"), text(measured.pixelSize)},
        {QStringLiteral("claddingX"), text(measured.cladding.center.x())},
        {QStringLiteral("claddingY"), text(measured.cladding.center.y())},
        {QStringLiteral("claddingRadius"), text(measured.cladding.radius)},
        {QStringLiteral("cropX"), text(measured.crop.x())},
        {QStringLiteral("cropY"), text(measured.crop.y())},
        {QStringLiteral("cropWidth"), text(measured.crop.width())},
        {QStringLiteral("cropHeight"), text(measured.crop.height())},
        {QStringLiteral("claddingColor"), text(measured.grayLevels.cladding)},
        {QStringLiteral("colorAroundCore"), text(measured.grayLevels.aroundCore)},
        {QStringLiteral("colorAroundCladding"), text(measured.grayLevels.aroundCladding)},
        {QStringLiteral("contours"), text(measured.counts.contours)},
        {QStringLiteral("rawDefects"), text(measured.counts.raw)},
        {QStringLiteral("mergedDefects"), text(measured.counts.merged)},
        {QStringLiteral("coreDefects"), text(result.coreDefects().size())},
        {QStringLiteral("coreViolations"), text(result.core().violations)},
        {QStringLiteral("claddingDefects"), text(result.claddingDefects().size())},
        {QStringLiteral("claddingViolations"), text(result.cladding().violations)},
    };
    if (options.reportsRuns) {
        columns += {
            {QStringLiteral("runs"), text(inspection.repetition.runs)},
            {QStringLiteral("runsPassed"), text(inspection.repetition.passed)},
            {QStringLiteral("runsFailed"), text(inspection.repetition.failed)},
            {QStringLiteral("runsWithError"), text(inspection.repetition.errors)},
        };
    }
    return columns;
}

QByteArray line(const QVector<Column> &columns, QString Column::*part)
{
    QStringList fields;
    for (const Column &column : columns)
        fields.append(column.*part);
    return csvLine(fields);
}
} // namespace

QByteArray csvHeader(const Options &options)
{
    return line(columnsOf({}, options), &Column::name);
}

QByteArray csvReport(const Inspection &inspection, const Options &options)
{
    return line(columnsOf(inspection, options), &Column::value);
}

} // namespace Inspect
