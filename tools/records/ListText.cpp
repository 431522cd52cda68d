// SPDX-License-Identifier: Apache-2.0
#include "records/ListText.h"

#include "common/ExitCode.h"
#include "common/Program.h"
#include "records/StoreAccess.h"
#include "records/Table.h"
#include "records/Words.h"

#include <algorithm>
#include <unistd.h>

namespace RecordsTool {

using namespace Records;
using Align = Table::Align;
using Look = Table::Look;

namespace {
Table::Cell verdictCell(Verdict verdict)
{
    const Look look = verdict == Verdict::Passed ? Look::Good : verdict == Verdict::Failed ? Look::Bad : Look::Plain;
    return {verdict == Verdict::None ? QStringLiteral("no verdict") : Words::of(verdict), look};
}

Table::Cell decisionCell(Decision decision)
{
    return {decision == Decision::Undecided ? QString() : Words::of(decision)};
}

QString remarkOf(const InspectionSummary &row)
{
    const QString reason = Words::reasonOf(row);
    return reason.isEmpty() || row.note.isEmpty() ? reason + row.note : QStringLiteral("%1; %2").arg(reason, row.note);
}

/// What cannot be relied on is not shown as passed, nor as failed.
void add(Table &table, const InspectionSummary &row, Doubt doubt)
{
    const bool isDoubtful = doubt != Doubt::None;
    const QString remark = isDoubtful ? Words::of(doubt) : remarkOf(row);
    const bool hasPoint = row.point != noId;
    table.add({{QString::number(row.id)}, {Words::localTime(row.made)}, {row.jobName}, {row.pointName},
        {hasPoint ? Words::of(row.side) : QString()}, {wordOfStandard(row.standard)},
        isDoubtful ? Table::Cell{QStringLiteral("DOUBTFUL"), Look::Bad} : verdictCell(row.verdict),
        decisionCell(row.decision), {remark}});
}

Table inspectionsTable(const QVector<InspectionSummary> &rows, const QVector<Doubt> &doubts)
{
    Table table({{QStringLiteral("ID"), Align::Right}, {QStringLiteral("Made")}, {QStringLiteral("Job")},
        {QStringLiteral("Point")}, {QStringLiteral("Side")}, {QStringLiteral("Standard")}, {QStringLiteral("Verdict")},
        {QStringLiteral("Decision")}, {QStringLiteral("Remark")}});
    for (int i = 0; i < rows.size(); ++i)
        add(table, rows[i], doubts[i]);
    return table;
}

Page pageOf(const Options &options)
{
    return {(options.page - 1) * options.limit, options.limit};
}

/// Empty when all rows are on one page.
QString footer(const Options &options, int shown, int all)
{
    const int pages = (all + options.limit - 1) / options.limit;
    if (pages <= 1 && options.page == 1)
        return {};
    return QStringLiteral("\n%1 of %2 inspections, page %3 of %4\n").arg(shown).arg(all).arg(options.page).arg(pages);
}

Table::Cell countCell(int count, Look look)
{
    return {QString::number(count), count > 0 ? look : Look::Dim};
}

Table emptyJobsTable()
{
    return Table({{QStringLiteral("ID"), Align::Right}, {QStringLiteral("Created")}, {QStringLiteral("Name")},
        {QStringLiteral("Customer")}, {QStringLiteral("Site")}, {QStringLiteral("Standard")},
        {QStringLiteral("Points"), Align::Right}, {QStringLiteral("Open"), Align::Right},
        {QStringLiteral("Passed"), Align::Right}, {QStringLiteral("Failed"), Align::Right},
        {QStringLiteral("Accepted"), Align::Right}, {QStringLiteral("No verdict"), Align::Right},
        {QStringLiteral("Doubtful"), Align::Right}, {QStringLiteral("State")}});
}

void add(Table &table, const Job &job, const JobProgress &count)
{
    table.add({{QString::number(job.id)}, {Words::localTime(job.created)}, {job.name}, {job.customer}, {job.site},
        {wordOfStandard(job.standard)}, countCell(count.points, Look::Plain), countCell(count.open, Look::Plain),
        countCell(count.passed, Look::Good), countCell(count.failed, Look::Bad), countCell(count.accepted, Look::Plain),
        countCell(count.withoutVerdict, Look::Bad), countCell(count.doubtful, Look::Bad),
        {job.isOpen() ? QStringLiteral("open") : QStringLiteral("closed")}});
}

bool isOfSigns(const QString &text)
{
    const QVector<uint> characters = text.toUcs4();
    return !text.isEmpty()
        && std::none_of(characters.cbegin(), characters.cend(), [](uint c) { return QChar::isLetterOrNumber(c); });
}

/// In the order of the rows.
Answer<QVector<Doubt>> doubtsOf(const QVector<InspectionSummary> &rows, const RecordStore &store)
{
    QVector<Id> ids;
    for (const InspectionSummary &row : rows)
        ids.append(row.id);
    return store.doubts(ids);
}

int printed(const QString &text, bool isDoubtful)
{
    const int exitCode = Tools::print(text.toUtf8());
    return exitCode == Tools::Done && isDoubtful ? Tools::NotAnswered : exitCode;
}

Tools::TextStyle style()
{
    return Tools::TextStyle(Tools::Terminal::hasColors(STDOUT_FILENO));
}
} // namespace

int listInspections(const Options &options, const RecordStore &store)
{
    Filter filter;
    const int refused = filterOf(options, store, &filter);
    if (refused != Tools::Done)
        return refused;
    const Answer<int> all = store.count(filter);
    const Answer<QVector<InspectionSummary>> rows = store.list(filter, pageOf(options));
    for (const Problem &problem : {all.problem, rows.problem}) {
        if (!problem.ok())
            return tell(problem);
    }
    if (rows.value.isEmpty())
        return tell({Fault::NotFound,
            all.value > 0                ? QStringLiteral("there is no page %1").arg(options.page)
                : isOfSigns(filter.text) ? QStringLiteral("there is no letter or digit to search for")
                                         : QStringLiteral("there is no such inspection")});
    const Answer<QVector<Doubt>> doubts = doubtsOf(rows.value, store);
    if (!doubts.ok())
        return tell(doubts.problem);
    const QString text =
        inspectionsTable(rows.value, doubts.value).text(style()) + footer(options, rows.value.size(), all.value);
    return printed(text, doubts.value.count(Doubt::None) < doubts.value.size());
}

int listJobs(const Options &options, const RecordStore &store)
{
    const Answer<QVector<Job>> jobs = store.jobs(pageOf(options));
    if (!jobs.ok())
        return tell(jobs.problem);
    if (jobs.value.isEmpty())
        return tell({Fault::NotFound,
            options.page > 1 ? QStringLiteral("there is no page %1").arg(options.page)
                             : QStringLiteral("there is no job")});
    Table table = emptyJobsTable();
    bool isDoubtful = false;
    for (const Job &job : jobs.value) {
        const Answer<JobProgress> progress = store.progress(job.id);
        if (!progress.ok())
            return tell(progress.problem);
        isDoubtful = isDoubtful || progress.value.doubtful > 0;
        add(table, job, progress.value);
    }
    const Answer<QVector<Job>> more = store.jobs({options.page * options.limit, 1});
    if (!more.ok())
        return tell(more.problem);
    const QString footer =
        more.value.isEmpty() ? QString() : QStringLiteral("\nThere are more: --page %1\n").arg(options.page + 1);
    return printed(table.text(style()) + footer, isDoubtful);
}

} // namespace RecordsTool
