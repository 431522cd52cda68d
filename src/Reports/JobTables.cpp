// SPDX-License-Identifier: Apache-2.0
#include "Reports/JobTables.h"

#include "Reports/JobTables_p.h"
#include "Reports/PdfWriting_p.h"
#include "Reports/ReportFile_p.h"

#include <QHash>

namespace Reports {

using namespace Records;

namespace {
/// @param bytesOf gives them, and is told where to ask whether it goes on
template <typename BytesOf>
Written writeBytes(const JobReport &report, const QString &path, const GoesOn &goesOn, BytesOf bytesOf)
{
    const Problem notGathered = whyNotGathered(report);
    if (!notGathered.ok())
        return {notGathered, {}};
    return guarded([&]() -> Written {
        ReportFile file(path);
        if (!file.begin())
            return {file.problem(), {}};
        bool isUnwanted = false;
        const QByteArray bytes = bytesOf([&](int done, int all) {
            isUnwanted = isUnwanted || (goesOn && !goesOn(done, all));
            return !isUnwanted;
        });
        if (isUnwanted)
            return {{Fault::Stopped, QStringLiteral("Stopped; nothing was written")}, {}};
        file.write(bytes); // what fails is told by the commit
        return {file.commit(), {}};
    });
}
} // namespace

QByteArray tableOf(
    const JobReport &report, const QVector<PictureFault> &lost, const CsvFormat &format, const GoesOn &goesOn)
{
    QHash<QByteArray, Fault> faults; // by the name of the picture
    for (const PictureFault &fault : lost)
        faults.insert(fault.hash, fault.fault);
    QHash<Id, Point> points;
    for (const ReportPoint &point : report.points)
        points.insert(point.point.id, point.point);
    QByteArray text = csvHeader(format);
    const int all = report.inspections.size();
    for (int i = 0; i < all && (!goesOn || goesOn(i, all)); ++i) {
        const StoredInspection &inspection = report.inspections[i];
        const Fault fault = faults.value(inspection.picture, Fault::None);
        text += csvRow({inspection, report.job, points.value(inspection.point), fault, Fault::None}, format);
    }
    return text;
}

Written writeJobTable(const JobReport &report, const QString &path, const TableOptions &options)
{
    return writeBytes(report, path, options.goesOn,
        [&](const GoesOn &goesOn) { return tableOf(report, report.pictureFaults, options.csv, goesOn); });
}

Written writeJobRecord(const JobReport &report, const QString &path, const TableOptions &options)
{
    return writeBytes(report, path, options.goesOn, [&](const GoesOn &goesOn) {
        QByteArray json = goesOn(0, 1) ? report.toJson(options.software) : QByteArray();
        goesOn(1, 1); // it takes its time
        return json;
    });
}

} // namespace Reports
