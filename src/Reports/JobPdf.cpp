// SPDX-License-Identifier: Apache-2.0
#include "Reports/JobPdf.h"

#include "Reports/PdfWriting_p.h"
#include "Reports/ReportFile_p.h"
#include "Reports/Sections_p.h"
#include "Reports/XmpMetadata_p.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <algorithm>

namespace Reports {

using namespace Records;

namespace {
Problem whyNoText()
{
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()) == nullptr)
        return {Fault::Invalid, QStringLiteral("There is no QGuiApplication, which a report needs")};
    if (QFontDatabase().families().isEmpty())
        return {Fault::Unusable, QStringLiteral("No font is installed, which a report needs")};
    return {};
}

void drawAll(Sheet *sheet, const JobReport &report, QVector<PictureFault> *lost)
{
    Sections::cover(sheet, report);
    Sections::panel(sheet, report);
    Sections::ports(sheet, report);
    Sections::failures(sheet, report, lost);
    if (sheet->isStopped())
        return;
    Sections::statistics(sheet, report);
    Sections::limits(sheet);
}
} // namespace

QString softwareOf(const ReportOptions &options)
{
    return options.software.isEmpty() ? QStringLiteral("libVantorBaseReports " VANTORBASE_VERSION) : options.software;
}

QVector<PictureFault> joined(const QVector<PictureFault> &known, const QVector<PictureFault> &found)
{
    QVector<PictureFault> all = known;
    for (const PictureFault &fault : found) {
        const bool isThere = std::any_of(all.cbegin(), all.cend(), [&fault](const PictureFault &other) {
            return other.inspection == fault.inspection && other.hash == fault.hash;
        });
        if (!isThere)
            all.append(fault);
    }
    return all;
}

Problem whyNotGathered(const JobReport &report)
{
    if (report.job.id != noId && report.made.isValid())
        return {};
    return {Fault::Invalid, QStringLiteral("There is no report to write: it was not gathered")};
}

Answer<QByteArray> pictureOf(const JobReport &report, const QByteArray &hash)
{
    if (report.picture)
        return report.picture(hash);
    return {{}, {Fault::NotOpen, QStringLiteral("The report has no reader of pictures")}};
}

Problem writePdf(const JobReport &report, const ReportOptions &options, const QByteArray &json, QIODevice *device,
    const std::function<bool()> &hasFailed, QVector<PictureFault> *lost)
{
    const Problem noText = whyNoText();
    if (!noText.ok())
        return noText;
    const ReportText words(options.language);
    const QString title = ReportText::shown(report.job.name);
    QPdfWriter writer(device);
    writer.setResolution(static_cast<int>(Sheet::resolution));
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    writer.setTitle(title);
    writer.setCreator(ReportText::shown(softwareOf(options)));
    writer.setDocumentXmpMetadata(xmpMetadata(report, words, softwareOf(options)));
    writer.addFileAttachment(QStringLiteral("record.json"), json, QStringLiteral("application/json"));

    Sheet counting(&writer, nullptr, words, title, 0);
    drawAll(&counting, report, lost);
    QPainter painter;
    if (!painter.begin(&writer))
        return {Fault::Unusable, QStringLiteral("The document cannot be begun")};
    Sheet sheet(&writer, &painter, words, title, counting.page());
    bool isUnwanted = false;
    sheet.onPage([&](int page, int all) {
        isUnwanted = isUnwanted || (options.goesOn && !options.goesOn(page, all));
        return !isUnwanted && !hasFailed();
    });
    drawAll(&sheet, report, lost);
    painter.end();
    return isUnwanted ? Problem{Fault::Stopped, QStringLiteral("Stopped; nothing was written")} : Problem();
}

Written writeJobPdf(const JobReport &report, const QString &path, const ReportOptions &options)
{
    const Problem notGathered = whyNotGathered(report);
    if (!notGathered.ok())
        return {notGathered, {}};
    return guarded([&]() -> Written {
        ReportFile file(path);
        if (!file.begin())
            return {file.problem(), {}};
        QVector<PictureFault> lost;
        const Problem problem = writePdf(
            report, options, report.toJson(softwareOf(options)), &file, [&file] { return file.isFailed(); }, &lost);
        if (!problem.ok())
            return {problem, {}};
        const Problem notWritten = file.commit();
        return {notWritten, joined(report.pictureFaults, lost)};
    });
}

} // namespace Reports
