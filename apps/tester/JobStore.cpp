// SPDX-License-Identifier: Apache-2.0
#include "JobStore.h"

#include "Helpers/BaseDirHelper.h"
#include "Helpers/QObjectHelper.h"
#include "Helpers/TestNameGenerator.h"
#include "InspectionWords.h"
#include "JobFigures.h"
#include "Records/Doubt.h"
#include "StoreWords.h"
#include "TesterSettings.h"

#include <QPointer>
#include <QStorageInfo>

#include <algorithm>

using FiberInspection::Standard;
using Records::Answer;
using Records::FibreKind;
using Records::Id;
using Records::InspectionSummary;
using Records::Job;
using Records::JobProgress;
using Records::Point;
using Records::PointState;
using Records::Problem;
using Records::Side;

namespace {
constexpr int doubtfulState = 5; // behind those of Records::PointState
constexpr double scarce = 0.9; // share of the disk

FibreKind fibreOf(Standard::Id standard)
{
    switch (standard) {
    case Standard::IEC61300_3_35_SM_APC:
        return FibreKind::SingleModeAngled;
    case Standard::IEC61300_3_35_MM:
        return FibreKind::MultiMode;
    case Standard::Manual:
        return FibreKind::Unknown;
    default:
        return FibreKind::SingleMode;
    }
}

QVector<Side> sidesOf(int number)
{
    if (number == 2)
        return {Side::A, Side::B};
    return {number == 1 ? Side::B : Side::A};
}

QString sideName(Side side)
{
    return side == Side::B ? QStringLiteral("B") : QStringLiteral("A");
}

QVariantMap rowOf(const Point &point)
{
    return {
        {QStringLiteral("id"), point.id},
        {QStringLiteral("name"), StoreWords::shown(point.name)},
        {QStringLiteral("side"), sideName(point.side)},
        {QStringLiteral("state"), point.isDoubtful ? doubtfulState : static_cast<int>(point.state)},
        {QStringLiteral("inspections"), point.inspections},
        {QStringLiteral("lastInspection"), point.lastInspection},
    };
}

QString text(const QVariantMap &fields, const char *name)
{
    return fields.value(QLatin1String(name)).toString().trimmed();
}
} // namespace

JobStore::JobStore(const QString &folder, TesterSettings *settings, QObject *parent)
    : QObject(parent)
    , mFolder(folder)
    , mSettings(settings)
    , mPoints({"id", "name", "side", "state", "inspections", "lastInspection"})
    , mJobs({"id", "name", "customer", "site", "operatorName", "standardName", "created", "isOpen", "points", "done",
          "failed", "doubtful"})
    , mResults({"id", "pointName", "side", "jobName", "made", "standardName", "verdict", "decision", "note", "cause",
          "isDoubtful"})
{
    for (RowModel *model : {&mPoints, &mJobs, &mResults})
        QObjectHelper::ownByCpp(model);
    open();
}

JobStore::~JobStore() = default;

QString JobStore::defaultFolder()
{
    return BaseDirHelper::workDir() + QStringLiteral("records");
}

void JobStore::open()
{
    const Job former = mJob;
    const Point selected = this->selected();
    const QUuid wanted = former.id != Records::noId ? former.identity : mSettings->lastJob();
    const bool wasInPlace = mStore.isInPlace();
    mOpening = mStore.open(mFolder);
    mWasOpen = mWasOpen || mOpening.isOpen();
    mIsGone = false;
    mProblem = {};
    if (!wasInPlace || mOpening.how == Records::Opened::BegunAnew) { // their numbers mean nothing any more
        mJobs.setRows({});
        mResults.setRows({});
        mResultFilter.remove(QStringLiteral("job"));
        mPointless = {};
    }
    const Answer<Job> job = wanted.isNull() || !mOpening.isOpen() ? Answer<Job>() : mStore.jobOf(wanted);
    if (job.ok() && job.value.id != Records::noId && use(job.value)) {
        selectPoint(numberOf(mJob.identity, selected.name, selected.side)); // what is worked on stays what it is
    } else {
        if (job.problem.fault == Records::Fault::NotFound && former.id != Records::noId)
            mLostJob = former.name;
        else
            mProblem = job.problem.fault == Records::Fault::NotFound ? Problem() : job.problem;
        forgetJob();
    }
    mError.clear(); // a job that is not there any more is none
    Q_EMIT reopened();
}

void JobStore::forgetJob()
{
    mJob = {};
    mSelected = Records::noId;
    mPointRows.clear();
    mPoints.setRows({});
    Q_EMIT jobChanged();
    Q_EMIT pointChanged();
}

void JobStore::reopen()
{
    const bool isInPlace = mStore.isInPlace();
    if (canWrite() && mProblem.ok() && isInPlace)
        return;
    // What was open once is not begun anew: it may be the folder that a disk belongs over.
    mIsGone = mWasOpen && !isInPlace && !Records::RecordStore::isThere(mFolder);
    if (!mIsGone)
        open();
    Q_EMIT stateChanged();
}

void JobStore::hear(const Records::Opening &opening)
{
    if (opening.how == Records::Opened::BegunAnew)
        mAside = opening;
    if (opening.isOpen())
        reopen();
    Q_EMIT stateChanged();
}

QString JobStore::notice() const
{
    if (mIsGone)
        return tr("The folder of the results was moved or removed. Nothing can be stored.");
    const QString words = StoreWords::of(mOpening);
    if (!words.isEmpty() || mAside.isOpen())
        return words.isEmpty() ? StoreWords::of(mAside) : words;
    if (!mLostJob.isEmpty())
        return tr("Other results are there now, without the job %1.").arg(StoreWords::shown(mLostJob));
    return mProblem.ok() ? QString() : tr("The results cannot be read: %1").arg(StoreWords::of(mProblem));
}

void JobStore::retranslate()
{
    Q_EMIT stateChanged();
    Q_EMIT jobChanged();
}

bool JobStore::tell(const QString &error)
{
    mError = error;
    Q_EMIT errorChanged();
    return error.isEmpty();
}

bool JobStore::tell(const Problem &problem)
{
    if (problem.fault == Records::Fault::Gone)
        reopen();
    return tell(StoreWords::of(problem));
}

// --- The current job -------------------------------------------------------------------------------------------------

QVariantMap JobStore::rowOf(const Job &job) const
{
    return {
        {QStringLiteral("id"), job.id},
        {QStringLiteral("name"), StoreWords::shown(job.name)},
        {QStringLiteral("customer"), StoreWords::shown(job.customer)},
        {QStringLiteral("site"), StoreWords::shown(job.site)},
        {QStringLiteral("operatorName"), StoreWords::shown(job.operatorName)},
        {QStringLiteral("standard"), static_cast<int>(job.standard)},
        {QStringLiteral("standardName"), Standard::name(job.standard)},
        {QStringLiteral("created"),
            InspectionWords::locale().toString(job.created.toLocalTime(), QLocale::ShortFormat)},
        {QStringLiteral("isOpen"), job.isOpen()},
    };
}

QVariantMap JobStore::job() const
{
    return mJob.id == Records::noId ? QVariantMap() : rowOf(mJob);
}

namespace {
QVariantMap countsOf(const JobProgress &progress)
{
    return {
        {QStringLiteral("points"), progress.points},
        {QStringLiteral("done"), progress.points - progress.open},
        {QStringLiteral("open"), progress.open},
        {QStringLiteral("passed"), progress.passed},
        {QStringLiteral("failed"), progress.failed},
        {QStringLiteral("accepted"), progress.accepted},
        {QStringLiteral("withoutVerdict"), progress.withoutVerdict},
        {QStringLiteral("doubtful"), progress.doubtful},
    };
}
} // namespace

QVariantMap JobStore::counts() const
{
    JobProgress progress;
    progress.points = mPointRows.size();
    for (const Point &point : mPointRows) {
        const auto is = [&point](PointState state) { return !point.isDoubtful && point.state == state ? 1 : 0; };
        progress.open += is(PointState::Open);
        progress.passed += is(PointState::Passed);
        progress.failed += is(PointState::Failed);
        progress.accepted += is(PointState::Accepted);
        progress.withoutVerdict += is(PointState::NoVerdict);
        progress.doubtful += point.isDoubtful ? 1 : 0;
    }
    return countsOf(progress);
}

QVariantList JobStore::rings() const
{
    constexpr double frameWidth = 800; // pixels
    const double pixelsPerMicron = frameWidth / FiberInspection::Device::ks20().fov.width();
    const Standard standard(mJob.standard);
    QVariantList rings;
    for (const FiberInspection::Zone &zone :
        {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()}) {
        rings.append(QVariantMap{{QStringLiteral("zone"), static_cast<int>(zone.zone)},
            {QStringLiteral("diameter"), zone.outerDiameter * pixelsPerMicron}});
    }
    return rings;
}

QVariantMap JobStore::point() const
{
    return mPoints.row(mPoints.indexOf(mSelected));
}

bool JobStore::openJob(qint64 id)
{
    const Answer<Job> answer = mStore.job(id);
    if (!answer.ok())
        return tell(answer.problem);
    return use(answer.value) && tell(QString());
}

bool JobStore::use(const Job &job)
{
    const Answer<JobProgress> progress = mStore.progress(job.id);
    if (!progress.ok())
        return tell(progress.problem);
    if (progress.value.points > maxPoints)
        return tell(
            tr("The job has %1 points; at most %2 can be worked on here.").arg(progress.value.points).arg(maxPoints));
    mJob = job;
    mLostJob.clear();
    mSelected = Records::noId;
    mPointRows.clear();
    mSettings->setLastJob(mJob.identity);
    readPoints();
    selectNextOpen();
    Q_EMIT stateChanged();
    return true;
}

Point JobStore::selected() const
{
    return mPointRows.value(mPoints.indexOf(mSelected));
}

Id JobStore::numberOf(const QUuid &job, const QString &name, Side side) const
{
    const auto found = std::find_if(mPointRows.cbegin(), mPointRows.cend(),
        [&](const Point &point) { return point.name == name && point.side == side; });
    return mJob.identity == job && found != mPointRows.cend() ? found->id : Records::noId;
}

void JobStore::readPoints()
{
    const Answer<QVector<Point>> answer = mStore.points(mJob.id);
    const bool wasWell = mProblem.ok();
    mProblem = answer.problem;
    if (answer.ok()) // else they are what they were
        mPointRows = answer.value;
    QVector<QVariantMap> rows;
    rows.reserve(mPointRows.size());
    for (const Point &point : qAsConst(mPointRows))
        rows.append(::rowOf(point));
    mPoints.setRows(rows);
    Q_EMIT jobChanged();
    Q_EMIT pointChanged();
    if (!wasWell || !mProblem.ok())
        Q_EMIT stateChanged();
}

void JobStore::refresh()
{
    if (!mStore.isInPlace())
        reopen();
    if (mJob.id == Records::noId || mIsGone)
        return;
    const Answer<Job> answer = mStore.job(mJob.id);
    if (answer.ok())
        mJob = answer.value;
    readPoints();
}

bool JobStore::setJobClosed(bool isClosed)
{
    Job changed = mJob;
    changed.closed = isClosed ? QDateTime::currentDateTimeUtc() : QDateTime();
    const Problem problem = mStore.updateJob(changed);
    refresh();
    return tell(problem);
}

bool JobStore::selectPoint(qint64 point)
{
    if (mPoints.indexOf(point) < 0)
        return false;
    mSelected = point;
    Q_EMIT pointChanged();
    return true;
}

bool JobStore::selectNextOpen()
{
    if (!mProblem.ok())
        refresh();
    if (!mProblem.ok())
        return tell(tr("The results cannot be read: %1").arg(StoreWords::of(mProblem)));
    tell(QString());
    const int count = mPointRows.size();
    const int selected = mPoints.indexOf(mSelected);
    for (int i = 1; i <= count; ++i) {
        const Point &point = mPointRows.at((selected + i) % count);
        if (point.state == PointState::Open)
            return selectPoint(point.id);
    }
    if (selected < 0 && count > 0)
        selectPoint(mPointRows.constFirst().id);
    return false;
}

bool JobStore::decide(qint64 inspection, int decision, const QString &note)
{
    if (note.size() > TesterSettings::maxTextLength)
        return tell(tr("The note is longer than %1 characters.").arg(TesterSettings::maxTextLength));
    const Problem problem = mStore.setDecision(inspection, static_cast<Records::Decision>(decision), note.trimmed());
    refresh();
    return tell(problem);
}

// --- New jobs --------------------------------------------------------------------------------------------------------

namespace {
class RunWords
{
    Q_DECLARE_TR_FUNCTIONS(RunWords)

public:
    static QString of(TestNameGenerator::GenerateError error)
    {
        switch (error) {
        case TestNameGenerator::NoError:
            return {};
        case TestNameGenerator::EmptyFromAndToStrings:
            return tr("Type the first and the last name.");
        case TestNameGenerator::ToLessThanFrom:
        case TestNameGenerator::InvalidRange:
            return tr("The last name comes before the first one here.");
        case TestNameGenerator::FromToTokenNotEqual:
            return tr("A letter in one name, another kind of sign in the other.");
        case TestNameGenerator::ExceedsMax:
            return tr("These are more than %1 points.").arg(Records::RecordStore::maxPointsOfRun);
        default:
            return tr("The two names have not the same length or parts.");
        }
    }
};
} // namespace

QVariantMap JobStore::preview(const QString &first, const QString &last, int sides) const
{
    QVector<QString> names;
    NameGenFault fault;
    const QString from = first.trimmed();
    const QString to = last.trimmed();
    if (qMax(from.size(), to.size()) > TesterSettings::maxTextLength)
        return {{QStringLiteral("count"), 0}, {QStringLiteral("column"), 0},
            {QStringLiteral("error"), tr("A name is longer than %1 characters.").arg(TesterSettings::maxTextLength)}};
    auto error = TestNameGenerator::generateTestNames(from, to, names, Records::RecordStore::maxPointsOfRun, fault);
    if (from.isEmpty() || to.isEmpty())
        error = TestNameGenerator::EmptyFromAndToStrings;
    if (error == TestNameGenerator::NoError && names.size() > Records::RecordStore::maxPointsOfRun)
        error = TestNameGenerator::ExceedsMax;
    if (error != TestNameGenerator::NoError) {
        return {{QStringLiteral("count"), 0}, {QStringLiteral("error"), RunWords::of(error)},
            {QStringLiteral("column"), fault.hasColumn() ? fault.column + 1 : 0}};
    }
    constexpr int shown = 3;
    QStringList sample = names.mid(0, shown).toList();
    if (names.size() > shown + 1)
        sample.append(QStringLiteral("\u2026"));
    if (names.size() > shown)
        sample.append(names.constLast());
    return {{QStringLiteral("count"), names.size() * sidesOf(sides).size()}, {QStringLiteral("column"), 0},
        {QStringLiteral("error"), QString()}, {QStringLiteral("sample"), sample.join(QStringLiteral(", "))}};
}

QString JobStore::unusable(const QVariantMap &fields) const
{
    if (text(fields, "name").isEmpty())
        return tr("The job needs a name.");
    for (const char *const name : {"name", "customer", "site", "operatorName"}) {
        if (text(fields, name).size() > TesterSettings::maxTextLength)
            return tr("A text is longer than %1 characters.").arg(TesterSettings::maxTextLength);
    }
    const auto standard = static_cast<Standard::Id>(fields.value(QStringLiteral("standard")).toInt());
    if (!TesterSettings::standards().contains(standard))
        return tr("The standard is not offered.");
    return preview(text(fields, "first"), text(fields, "last"), 0).value(QStringLiteral("error")).toString();
}

bool JobStore::createJob(const QVariantMap &fields)
{
    const QString reason = unusable(fields);
    if (!reason.isEmpty())
        return tell(reason);
    return makeJob(fields);
}

bool JobStore::hasPoints(Id job, Side side) const
{
    const QVector<Point> points = mStore.points(job).value;
    return std::any_of(points.cbegin(), points.cend(), [side](const Point &point) { return point.side == side; });
}

bool JobStore::makeJob(const QVariantMap &fields)
{
    Job job;
    job.name = text(fields, "name");
    job.customer = text(fields, "customer");
    job.site = text(fields, "site");
    job.operatorName = text(fields, "operatorName");
    job.standard = static_cast<Standard::Id>(fields.value(QStringLiteral("standard")).toInt());
    const QVariantMap run{
        {QStringLiteral("first"), text(fields, "first")}, {QStringLiteral("last"), text(fields, "last")}};
    const bool hasSides = !mStore.points(mPointless.id).value.isEmpty(); // one of the two: then only of the same run
    const bool goesOn =
        mPointless.id != Records::noId && mPointless.standard == job.standard && (!hasSides || mPointlessRun == run);
    if (goesOn) {
        job.id = mPointless.id;
        job.identity = mPointless.identity;
        job.created = mPointless.created;
        const Problem problem = mStore.updateJob(job);
        if (!problem.ok())
            return tell(problem);
    } else {
        const Answer<Job> added = mStore.addJob(job);
        if (!added.ok())
            return tell(added.problem);
        job = mPointless = added.value;
        mPointlessRun = run;
    }
    const QVector<Side> sides = sidesOf(fields.value(QStringLiteral("sides")).toInt());
    for (const Side side : sides) {
        if (hasPoints(job.id, side))
            continue;
        const Answer<QVector<Point>> points =
            mStore.addPoints(job.id, {text(fields, "first"), text(fields, "last"), side, fibreOf(job.standard)});
        if (!points.ok())
            return tell(points.problem);
    }
    mPointless = {};
    mSettings->setOperatorName(job.operatorName);
    return openJob(job.id);
}

// --- Lists -----------------------------------------------------------------------------------------------------------

void JobStore::listJobs(int offset)
{
    const Answer<QVector<Job>> answer = mStore.jobs({offset, pageRows});
    Problem problem = answer.problem;
    QVector<QVariantMap> rows;
    for (const Job &job : answer.value) {
        QVariantMap row = rowOf(job);
        const Answer<JobProgress> known = mStore.progress(job.id);
        if (problem.ok())
            problem = known.problem;
        const QVariantMap progress = countsOf(known.value);
        for (const QString &name :
            {QStringLiteral("points"), QStringLiteral("done"), QStringLiteral("failed"), QStringLiteral("doubtful")})
            row.insert(name, progress.value(name));
        rows.append(row);
    }
    mJobs.setRows(rows);
    tell(problem);
}

QVariantMap JobStore::rowOf(const InspectionSummary &summary)
{
    return {
        {QStringLiteral("id"), summary.id},
        {QStringLiteral("pointName"), StoreWords::shown(summary.pointName)},
        {QStringLiteral("side"), sideName(summary.side)},
        {QStringLiteral("jobName"), StoreWords::shown(summary.jobName)},
        {QStringLiteral("made"), InspectionWords::locale().toString(summary.made.toLocalTime(), QLocale::ShortFormat)},
        {QStringLiteral("standardName"), Standard::name(summary.standard)},
        {QStringLiteral("verdict"), static_cast<int>(summary.verdict)},
        {QStringLiteral("decision"), static_cast<int>(summary.decision)},
        {QStringLiteral("note"), StoreWords::shown(summary.note)},
        {QStringLiteral("cause"), InspectionWords::cause(summary.reason)},
    };
}

namespace {
/// Of the unit's time zone; invalid for any time.
QDateTime beginOf(int days)
{
    return days > 0 ? QDate::currentDate().addDays(1 - days).startOfDay().toUTC() : QDateTime();
}

Records::Filter filterOf(const QVariantMap &values)
{
    constexpr int any = -1;
    Records::Filter filter;
    filter.text = values.value(QStringLiteral("text")).toString().left(TesterSettings::maxTextLength);
    if (const Id job = values.value(QStringLiteral("job")).toLongLong())
        filter.job = job;
    const int verdict = values.value(QStringLiteral("verdict"), any).toInt();
    if (verdict != any)
        filter.verdict = static_cast<Records::Verdict>(verdict);
    const int standard = values.value(QStringLiteral("standard"), any).toInt();
    if (standard != any)
        filter.standard = static_cast<Standard::Id>(standard);
    filter.from = beginOf(values.value(QStringLiteral("days")).toInt());
    return filter;
}
} // namespace

void JobStore::listResults(const QVariantMap &filter, int offset)
{
    const Answer<QVector<InspectionSummary>> answer = mStore.list(filterOf(filter), {offset, pageRows});
    QVector<QVariantMap> rows;
    rows.reserve(answer.value.size());
    QVector<Id> ids;
    for (const InspectionSummary &summary : answer.value)
        ids.append(summary.id);
    const Answer<QVector<Records::Doubt>> doubts = mStore.doubts(ids);
    for (int i = 0; i < ids.size(); ++i) {
        rows.append(rowOf(answer.value[i]));
        const bool isSound = doubts.ok() && doubts.value.value(i, Records::Doubt::Unreadable) == Records::Doubt::None;
        rows.last().insert(QStringLiteral("isDoubtful"), !isSound);
    }
    const bool isOther = mResultFilter != filter;
    mResultFilter = filter;
    const QPointer<JobStore> self(this);
    mResults.setRows(rows);
    if (self && isOther)
        Q_EMIT resultFilterChanged();
    if (self)
        tell(answer.problem);
}

QVariantList JobStore::jobChoices() const
{
    QVector<Job> jobs = mStore.jobs({0, maxJobChoices}).value;
    for (const Id wanted : {mJob.id, mResultFilter.value(QStringLiteral("job")).toLongLong()}) {
        const bool isThere =
            std::any_of(jobs.cbegin(), jobs.cend(), [wanted](const Job &job) { return job.id == wanted; });
        const Answer<Job> job = wanted == Records::noId || isThere ? Answer<Job>() : mStore.job(wanted);
        if (job.ok() && job.value.id != Records::noId)
            jobs.append(job.value);
    }
    QVariantList choices;
    for (const Job &job : qAsConst(jobs))
        choices.append(QVariantMap{{QStringLiteral("name"), StoreWords::shown(job.name)},
            {QStringLiteral("value"), job.id}, {QStringLiteral("identity"), job.identity}});
    return choices;
}

QVariantMap JobStore::figures(const QUuid &job) const
{
    return JobFigures::of(mStore, job);
}

QVariantList JobStore::beforeAndAfter(qint64 point, qint64 inspection) const
{
    if (point == Records::noId)
        return {};
    Records::Filter filter;
    filter.point = point;
    const QVector<InspectionSummary> last = mStore.list(filter, {0, 2}).value;
    if (last.size() < 2)
        return {};
    const Id latest = last.constFirst().id;
    return {inspection == latest ? last.constLast().id : inspection, latest};
}

bool JobStore::isDoubtful(const Records::StoredInspection &record) const
{
    if (record.job == Records::noId)
        return Records::doubtOf(record) != Records::Doubt::None;
    const Answer<Job> job = mStore.job(record.job);
    return !job.ok() || Records::doubtOf(record, job.value.standard) != Records::Doubt::None;
}

QVariantMap JobStore::storage() const
{
    const QStorageInfo disk(mFolder);
    const double used = disk.bytesTotal() > 0
        ? 1 - static_cast<double>(disk.bytesAvailable()) / static_cast<double>(disk.bytesTotal())
        : 0;
    return {
        {QStringLiteral("folder"), mFolder},
        {QStringLiteral("free"), InspectionWords::locale().formattedDataSize(disk.bytesAvailable(), 1)},
        {QStringLiteral("used"), used},
        {QStringLiteral("isScarce"), used >= scarce},
    };
}
