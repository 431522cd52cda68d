// SPDX-License-Identifier: Apache-2.0
#include "ReportTask.h"

#include "RemovableMedia.h"
#include "Reports/JobArchive.h"
#include "Reports/JobTables.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Records;
using namespace Reports;

namespace {
constexpr double readShare = 0.25; // of the time that a report takes
constexpr double pagesShare = 0.6; // of that of an archive, with the above

QString suffixOf(ReportOrder::Format format)
{
    switch (format) {
    case ReportOrder::Archive:
        return QStringLiteral("zip");
    case ReportOrder::Table:
        return QStringLiteral("csv");
    case ReportOrder::Record:
        return QStringLiteral("json");
    default:
        return QStringLiteral("pdf");
    }
}

/// As the spreadsheets of those who read the language open it.
CsvFormat csvFormatOf(Language language)
{
    CsvFormat format;
    format.hasDecimalComma = language == Language::German;
    if (format.hasDecimalComma)
        format.separator = QLatin1Char(';');
    return format;
}

QString software()
{
    const QString version = QCoreApplication::applicationVersion();
    return version.isEmpty() ? QString() : QStringLiteral("vantor-tester ") + version;
}

bool isThere(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink(); // to nothing
}
} // namespace

ReportTask::ReportTask(const QString &storeFolder, const ReportOrder &order, const GoesOn &goesOn)
    : mStoreFolder(storeFolder)
    , mOrder(order)
    , mGoesOn(goesOn)
{
}

/// Beginning anew, as gathering may, takes nothing back.
Reports::GoesOn ReportTask::goesOn(double from, double to)
{
    return [this, from, to](int done, int all) {
        mDone = std::max(mDone, all > 0 ? from + (to - from) * done / all : from);
        return mGoesOn(mDone);
    };
}

ReportAnswer ReportTask::run()
{
    RecordStore store;
    const Opening opening = store.open(mStoreFolder, RecordStore::Mode::ReadOnly);
    if (!opening.isOpen()) {
        mAnswer.notRead = opening.problem;
        return mAnswer;
    }
    const bool isRead = mOrder.format == ReportOrder::None;
    const Answer<Job> job = store.jobOf(mOrder.job);
    const Answer<JobReport> report = job.ok()
        ? JobReport::gather(store, job.value.id, goesOn(0, isRead ? 1 : readShare))
        : Answer<JobReport>{{}, job.problem};
    mAnswer.notRead = report.problem;
    if (!report.ok())
        return mAnswer;
    noteFacts(report.value);
    if (!isRead)
        write(report.value);
    return mAnswer;
}

void ReportTask::noteFacts(const JobReport &report)
{
    ReportFacts &facts = mAnswer.facts;
    facts.job = report.job;
    facts.counts = report.counts();
    facts.lostPictures = report.pictureFaults;
    facts.contradictions = report.contradictions;
    facts.unreadable = report.unreadable;
    QMap<Id, QString> names; // of all points
    for (const ReportPoint &point : report.points) {
        names.insert(point.point.id, point.point.name);
        facts.pointNames.insert(point.point.lastInspection, point.point.name); // also of one that cannot be read
    }
    for (const StoredInspection &inspection : report.inspections)
        facts.pointNames.insert(inspection.id, names.value(inspection.point));
}

// --- Writing ---------------------------------------------------------------------------------------------------------

void ReportTask::write(const JobReport &report)
{
    mAnswer.notWritten = prepareFolder();
    if (!mAnswer.notWritten.ok())
        return;
    const QString path = freePath();
    const Written written = writeTo(path, report);
    mAnswer.notWritten = written.problem;
    if (mAnswer.notWritten.fault != Fault::Stopped && isDiskGone())
        mAnswer.notWritten = {Fault::Gone, QStringLiteral("The disk was pulled out: ") + mOrder.folder};
    if (!written.lostPictures.isEmpty())
        mAnswer.facts.lostPictures = written.lostPictures; // those that were known are among them
    if (!mAnswer.notWritten.ok())
        return;
    mAnswer.path = path;
    mAnswer.size = QFileInfo(path).size();
}

bool ReportTask::isDiskGone() const
{
    return mOrder.isDisk && !RemovableMedia::isMounted(mOrder.folder);
}

Problem ReportTask::prepareFolder() const
{
    if (isDiskGone()) // the folder that it was mounted on is none of its
        return {Fault::Gone, QStringLiteral("The disk was pulled out: ") + mOrder.folder};
    if (!QDir::isAbsolutePath(mOrder.folder))
        return {Fault::Invalid, QStringLiteral("The folder is not told by its whole path: ") + mOrder.folder};
    if (!mOrder.isDisk)
        QDir().mkpath(mOrder.folder); // writing tells what is in the way
    return {};
}

QString ReportTask::fileName(const QString &job, const QDate &day, const QString &suffix)
{
    constexpr int mostBytes = 120; // of 255, and of what old programs take
    const QLatin1Char blank(' ');
    QString name;
    const QVector<uint> letters = job.normalized(QString::NormalizationForm_C).toUcs4();
    for (const uint letter : letters) {
        const QString text = QString::fromUcs4(&letter, 1);
        const bool isPlain =
            QChar::isLetterOrNumber(letter) || QChar::isMark(letter) || QStringLiteral("-_+,()").contains(text);
        const bool isWritable = isPlain && QFile::decodeName(QFile::encodeName(text)) == text;
        if (name.toUtf8().size() + text.toUtf8().size() > mostBytes)
            break;
        name += isWritable ? text : QString(blank); // what directs, controls, or leads into another folder
    }
    name = name.simplified();
    while (!name.isEmpty() && !QChar::isLetterOrNumber(name.toUcs4().constFirst()))
        name.remove(0, 1); // neither hidden nor an option
    if (name.isEmpty())
        name = QStringLiteral("job");
    return name + blank + day.toString(Qt::ISODate) + QLatin1Char('.') + suffix;
}

/// Nothing that is there is replaced: the name gets a number.
QString ReportTask::freePath() const
{
    const QString suffix = suffixOf(mOrder.format);
    const QString name = fileName(mAnswer.facts.job.name, QDate::currentDate(), suffix);
    const QString base = QDir(mOrder.folder).filePath(name.chopped(suffix.size() + 1));
    QString path = base + QLatin1Char('.') + suffix;
    for (int number = 2; isThere(path); ++number)
        path = QStringLiteral("%1 (%2).%3").arg(base, QString::number(number), suffix);
    return path;
}

Written ReportTask::writeTo(const QString &path, const JobReport &report)
{
    if (mOrder.format == ReportOrder::Table || mOrder.format == ReportOrder::Record) {
        const TableOptions options{csvFormatOf(mOrder.language), software(), goesOn(readShare, 1)};
        return mOrder.format == ReportOrder::Table ? writeJobTable(report, path, options)
                                                   : writeJobRecord(report, path, options);
    }
    ReportOptions options{mOrder.language, software(), goesOn(readShare, 1)};
    if (mOrder.format == ReportOrder::Pdf)
        return writeJobPdf(report, path, options);
    const auto pages = goesOn(readShare, pagesShare);
    const auto files = goesOn(pagesShare, 1);
    int last = 0;
    bool isPacking = false; // the files of an archive are counted from 0, behind all its pages
    options.goesOn = [&](int done, int all) {
        isPacking = isPacking || done < last;
        last = done;
        return isPacking ? files(done, all) : pages(done, all);
    };
    return writeJobArchive(report, path, {options, csvFormatOf(mOrder.language)});
}
