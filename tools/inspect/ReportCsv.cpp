// SPDX-License-Identifier: Apache-2.0
#include "ReportCsv.h"

#include "Csv.h"
#include "Inspection.h"
#include "Options.h"
#include "ShortestNumber.h"
#include "StandardNames.h"
#include "Terminal.h"

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
    return QString::fromLatin1(Tools::shortestNumber(number));
}

QString text(double number)
{
    return QString::fromLatin1(Tools::shortestNumber(number));
}

QVector<Column> columnsOf(const Inspection &inspection, const Options &options)
{
    const FiberInspection::TestResult &result = inspection.result;
    const FiberInspection::InspectionRecord &record = inspection.record;
    QVector<Column> columns{
        {QStringLiteral("image"), Tools::Terminal::printableName(inspection.task.image.path)},
        {QStringLiteral("standard"), standardEnumerator(inspection.task.standardId)},
        {QStringLiteral("standardName"), FiberInspection::Standard::name(inspection.task.standardId)},
        {QStringLiteral("error"), text(result.error())},
        {QStringLiteral("reason"), inspection.reason},
        {QStringLiteral("passed"), text(result.passed())},
        {QStringLiteral("resultImage"), Tools::Terminal::printableName(inspection.resultImage)},
        {QStringLiteral("elapsedMs"), text(record.elapsedMs)},
        {QStringLiteral("pixelSize"), text(record.pixelSize)},
        {QStringLiteral("claddingX"), text(record.cladding.center.x())},
        {QStringLiteral("claddingY"), text(record.cladding.center.y())},
        {QStringLiteral("claddingRadius"), text(record.cladding.radius)},
        {QStringLiteral("cropX"), text(record.crop.x())},
        {QStringLiteral("cropY"), text(record.crop.y())},
        {QStringLiteral("cropWidth"), text(record.crop.width())},
        {QStringLiteral("cropHeight"), text(record.crop.height())},
        {QStringLiteral("claddingColor"), text(record.claddingColor)},
        {QStringLiteral("colorAroundCore"), text(record.colorAroundCore)},
        {QStringLiteral("colorAroundCladding"), text(record.colorAroundCladding)},
        {QStringLiteral("contours"), text(record.contours)},
        {QStringLiteral("rawDefects"), text(record.rawDefects)},
        {QStringLiteral("mergedDefects"), text(record.mergedDefects)},
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
    return Tools::csvLine(fields);
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
