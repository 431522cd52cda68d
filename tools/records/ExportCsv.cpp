// SPDX-License-Identifier: Apache-2.0
#include "records/ExportCsv.h"

#include "common/Csv.h"
#include "common/ShortestNumber.h"
#include "common/Terminal.h"
#include "records/Words.h"

#include <algorithm>

namespace RecordsTool {

using namespace FiberInspection;
using namespace Records;

namespace {
struct Column
{
    QString name;
    QString value;
};

QString numberText(double number, const Options &options)
{
    QString text = QString::fromLatin1(Tools::shortestNumber(number));
    return options.hasDecimalComma ? text.replace(QLatin1Char('.'), QLatin1Char(',')) : text;
}

QString numberText(qint64 number)
{
    return QString::number(number);
}

/// Single precision, or digits would come that nobody measured.
QString sizeText(double micrometres, const Options &options)
{
    QString text = QString::fromLatin1(Tools::shortestNumber(static_cast<float>(micrometres)));
    return options.hasDecimalComma ? text.replace(QLatin1Char('.'), QLatin1Char(',')) : text;
}

/// What is counted of one zone.
struct ZoneCounts
{
    int defects = 0;
    int failing = 0;
    double largest = 0; ///< micrometres

    ZoneCounts(const StoredInspection &record, Zone::Id zone)
    {
        for (const StoredDefect &defect : record.defects) {
            if (defect.graded.zone != zone)
                continue;
            ++defects;
            failing += defect.graded.causesFailure ? 1 : 0;
            largest = std::max(largest, defect.graded.sizeMicrons);
        }
    }
};

QVector<Column> zoneColumns(const ExportedInspection &inspection, Zone::Id zone, const Options &options)
{
    const QString name = Zone::name(zone);
    const ZoneCounts counts(inspection.record, zone);
    const bool isCounted = inspection.record.verdict != Verdict::None; // or 0 would look like a clean one
    return {
        {name + QStringLiteral(" defects"), isCounted ? numberText(counts.defects) : QString()},
        {name + QStringLiteral(" defects that fail"), isCounted ? numberText(counts.failing) : QString()},
        {name + QStringLiteral(" largest defect (\u00B5m)"), isCounted ? sizeText(counts.largest, options) : QString()},
    };
}

QVector<Column> columnsOf(const ExportedInspection &inspection, const Options &options)
{
    const StoredInspection &record = inspection.record;
    const Origin &origin = record.origin;
    const bool hasPoint = record.point != noId;
    QVector<Column> columns{
        {QStringLiteral("Inspection"), numberText(record.id)},
        {QStringLiteral("Made (UTC)"), Words::utcTime(record.made)},
        {QStringLiteral("Job"), inspection.job.name},
        {QStringLiteral("Customer"), inspection.job.customer},
        {QStringLiteral("Site"), inspection.job.site},
        {QStringLiteral("Operator"), inspection.job.operatorName},
        {QStringLiteral("Point"), record.pointName},
        {QStringLiteral("Side"), hasPoint ? Words::of(record.side) : QString()},
        {QStringLiteral("Fibre"), hasPoint ? Words::of(inspection.point.fibre) : QString()},
        {QStringLiteral("Standard"), Words::nameOf(record.standard)},
        {QStringLiteral("Verdict"), Words::of(record.verdict)},
        {QStringLiteral("Reason"), Words::reasonOf(record)},
        {QStringLiteral("Decision"), Words::of(record.decision)},
        {QStringLiteral("Note"), record.note},
    };
    columns += zoneColumns(inspection, Zone::Core, options);
    columns += zoneColumns(inspection, Zone::Cladding, options);
    columns += {
        {QStringLiteral("Scope"), origin.device.name},
        {QStringLiteral("Field of view width (\u00B5m)"), numberText(origin.device.fov.width())},
        {QStringLiteral("Field of view height (\u00B5m)"), numberText(origin.device.fov.height())},
        {QStringLiteral("Scale (\u00B5m per pixel)"), sizeText(double(record.micronsPerPixel), options)},
        {QStringLiteral("Focus value"), origin.focusValue ? numberText(*origin.focusValue, options) : QString()},
        {QStringLiteral("Software"), origin.software},
        // A number of so many digits would be rounded by whoever takes it for one.
        {QStringLiteral("Seed (hexadecimal)"),
            origin.seed ? QStringLiteral("0x%1").arg(*origin.seed, 16, 16, QLatin1Char('0')) : QString()},
        {QStringLiteral("Picture (SHA-256)"), QString::fromLatin1(record.picture)},
        {QStringLiteral("Annotated picture (SHA-256)"), QString::fromLatin1(record.annotatedPicture)},
        {QStringLiteral("Identity"), record.identity.toString(QUuid::WithoutBraces)},
    };
    return columns;
}

QByteArray line(const QVector<Column> &columns, QString Column::*part, const Options &options)
{
    QStringList fields;
    for (const Column &column : columns)
        fields.append(column.*part);
    return Tools::csvLine(fields, options.separator);
}
} // namespace

QByteArray csvHeader(const Options &options)
{
    const QByteArray mark = options.hasByteOrderMark ? QByteArrayLiteral("\xEF\xBB\xBF") : QByteArray();
    return mark + line(columnsOf({}, options), &Column::name, options);
}

QByteArray csvRow(const ExportedInspection &inspection, const Options &options, bool isShown)
{
    QVector<Column> columns = columnsOf(inspection, options);
    for (Column &column : columns) {
        if (isShown)
            column.value = Tools::Terminal::printable(column.value);
    }
    return line(columns, &Column::value, options);
}

} // namespace RecordsTool
