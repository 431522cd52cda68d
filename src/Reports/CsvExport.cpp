// SPDX-License-Identifier: Apache-2.0
#include "Reports/CsvExport.h"

#include "Internal/Csv.h"
#include "Internal/ShortestNumber.h"
#include "Reports/RecordWords.h"

#include <algorithm>

namespace Reports {

using namespace FiberInspection;
using namespace Records;

namespace {
struct Column
{
    QString name;
    QString value;
};

QString numberText(double number, const CsvFormat &format)
{
    QString text = QString::fromLatin1(shortestNumber(number));
    return format.hasDecimalComma ? text.replace(QLatin1Char('.'), QLatin1Char(',')) : text;
}

QString numberText(qint64 number)
{
    return QString::number(number);
}

/// Single precision, or digits would come that nobody measured.
QString sizeText(double micrometres, const CsvFormat &format)
{
    QString text = QString::fromLatin1(shortestNumber(static_cast<float>(micrometres)));
    return format.hasDecimalComma ? text.replace(QLatin1Char('.'), QLatin1Char(',')) : text;
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

QVector<Column> zoneColumns(const ExportedInspection &inspection, Zone::Id zone, const CsvFormat &format)
{
    const QString name = Zone::name(zone);
    const ZoneCounts counts(inspection.record, zone);
    const bool isCounted = inspection.record.verdict != Verdict::None; // or 0 would look like a clean one
    return {
        {name + QStringLiteral(" defects"), isCounted ? numberText(counts.defects) : QString()},
        {name + QStringLiteral(" defects that fail"), isCounted ? numberText(counts.failing) : QString()},
        {name + QStringLiteral(" largest defect (\u00B5m)"), isCounted ? sizeText(counts.largest, format) : QString()},
    };
}

QVector<Column> columnsOf(const ExportedInspection &inspection, const CsvFormat &format)
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
        {QStringLiteral("Doubt"), inspection.doubts()},
        {QStringLiteral("Decision"), Words::of(record.decision)},
        {QStringLiteral("Note"), record.note},
    };
    columns += zoneColumns(inspection, Zone::Core, format);
    columns += zoneColumns(inspection, Zone::Cladding, format);
    columns += {
        {QStringLiteral("Scope"), origin.device.name},
        {QStringLiteral("Field of view width (\u00B5m)"), numberText(origin.device.fov.width())},
        {QStringLiteral("Field of view height (\u00B5m)"), numberText(origin.device.fov.height())},
        {QStringLiteral("Scale (\u00B5m per pixel)"), sizeText(double(record.micronsPerPixel), format)},
        {QStringLiteral("Focus value"), origin.focusValue ? numberText(*origin.focusValue, format) : QString()},
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

QByteArray line(const QVector<Column> &columns, QString Column::*part, const CsvFormat &format)
{
    QStringList fields;
    for (const Column &column : columns)
        fields.append(column.*part);
    return csvLine(fields, format.separator);
}
} // namespace

QByteArray csvHeader(const CsvFormat &format)
{
    const QByteArray mark = format.hasByteOrderMark ? QByteArrayLiteral("\xEF\xBB\xBF") : QByteArray();
    return mark + line(columnsOf({}, format), &Column::name, format);
}

QByteArray csvRow(const ExportedInspection &inspection, const CsvFormat &format)
{
    QVector<Column> columns = columnsOf(inspection, format);
    for (Column &column : columns) {
        if (format.shown)
            column.value = format.shown(column.value);
    }
    return line(columns, &Column::value, format);
}

} // namespace Reports
