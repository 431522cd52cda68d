// SPDX-License-Identifier: Apache-2.0
#include "records/Import.h"

#include "Helpers/FileAccess_p.h"
#include "Helpers/TestNameGenerator.h"
#include "common/ExitCode.h"
#include "common/FileNameCodec.h"
#include "common/FolderListing.h"
#include "common/StandardOutput.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "records/StoreAccess.h"
#include "records/Words.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>

#include <algorithm>
#include <unistd.h>

namespace RecordsTool {

using namespace FiberInspection;
using namespace Records;
namespace Terminal = Tools::Terminal;

namespace {
constexpr int verdictWidth = 10; // columns

struct Picture
{
    QString path;
    QString point; ///< name
};

/// Those of other scripts come in another order than their numbers among letters.
bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

/// Numbers in names count as such: 2 comes before 10.
bool comesBefore(const QString &a, const QString &b)
{
    int i = 0;
    int j = 0;
    const auto digits = [](const QString &text, int from) {
        int end = from;
        while (end < text.size() && isDigit(text.at(end)))
            ++end;
        return end - from;
    };
    while (i < a.size() && j < b.size()) {
        const int m = digits(a, i);
        const int n = digits(b, j);
        if (m == 0 || n == 0) {
            if (a.at(i) != b.at(j))
                return a.at(i) < b.at(j);
            ++i;
            ++j;
            continue;
        }
        const int length = qMax(m, n);
        const QString first = a.mid(i, m).rightJustified(length, QLatin1Char('0'));
        const QString second = b.mid(j, n).rightJustified(length, QLatin1Char('0'));
        if (first != second)
            return first < second;
        i += m;
        j += n;
    }
    const bool aEnds = i >= a.size();
    const bool bEnds = j >= b.size();
    return aEnds != bEnds ? aEnds : a < b;
}

bool agrees(const QString &asked, const QString &there)
{
    return asked.isEmpty() || asked == there;
}

/// As the file is called. A name that is no text cannot be stored: it is that what is printed of it.
QString pointOf(const QString &path)
{
    const QString name = QFileInfo(path).completeBaseName();
    return Tools::FileNameCodec::isText(name) ? name : Terminal::printableName(name);
}

InspectionSummary summaryOf(Id id, const Inspection &inspection)
{
    InspectionSummary row;
    row.id = id;
    if (inspection.hasVerdict())
        row.verdict = inspection.passed() ? Verdict::Passed : Verdict::Failed;
    row.reason = inspection.reason();
    row.detail = inspection.detail();
    return row;
}

/// Whether the job has had a picture before.
enum class Known : int { Not, Already };

class Importer
{
public:
    explicit Importer(const Options &options)
        : mOptions(options)
        , mStyle(Terminal::hasColors(STDOUT_FILENO))
    {
    }

    int run();

private:
    bool listFolder();
    void leaveOutNamesakes();
    bool nameByRun();
    bool openStore();
    bool findJob();
    bool addPointsOfRun();
    bool import(const Picture &picture);
    bool store(const Picture &picture, const QByteArray &bytes);
    Answer<InspectionSummary> find(const Picture &picture, const QByteArray &bytes) const;
    Answer<InspectionSummary> lastOf(Id point) const;
    Answer<Id> pointNamed(const QString &name);
    bool printVerdict(const Picture &picture, const InspectionSummary &row, Known known);
    bool printLine(const QString &point, const QString &verdict, const QString &rest);
    bool printSummary();
    bool refuse(const Picture &picture, const Problem &problem);
    void leaveOut(const QString &path, const QString &reason);
    bool fail(int exitCode, const QString &reason = {});
    int tellUnwritten();
    int exitCode() const;

    const Options &mOptions;
    RecordStore mStore;
    Tools::StopSignals mSignals;
    Tools::StandardOutput mOutput; ///< a signal holds back no line of what is stored, if somebody reads it
    const Tools::TextStyle mStyle;

    QVector<Picture> mPictures;
    Job mJob;
    QHash<QString, Id> mPoints; ///< of the job and the side, by their names
    int mFailure = Tools::Done; ///< what ends the program early
    int mCounts[3] = {0, 0, 0}; ///< by verdict
    int mKnownCounts[3] = {0, 0, 0}; ///< the same of those that were known
    int mLeftOut = 0;
    int mPointWidth = 0; ///< columns
};

int Importer::run()
{
    if (!listFolder() || !openStore() || !findJob() || !addPointsOfRun())
        return mFailure != Tools::Done ? mFailure : exitCode();
    for (const Picture &picture : qAsConst(mPictures))
        mPointWidth = qMax(mPointWidth, Terminal::printable(picture.point).size());
    for (const Picture &picture : qAsConst(mPictures)) {
        if (mSignals.received() != 0)
            return Tools::StoppedBySignal + mSignals.received();
        if (!import(picture))
            return mFailure != Tools::Done ? mFailure : tellUnwritten();
    }
    return printSummary() ? exitCode() : tellUnwritten();
}

int Importer::tellUnwritten()
{
    return mSignals.received() != 0 ? Tools::StoppedBySignal + mSignals.received() : mOutput.tellFailure();
}

bool Importer::listFolder()
{
    const auto listing = Tools::FolderListing::of(mOptions.operand, Tools::FolderListing::imageSuffixes());
    for (const auto &entry : listing.leftOut)
        leaveOut(entry.path, entry.reason);
    if (!listing.problem.isEmpty())
        leaveOut(mOptions.operand, listing.problem);
    else if (listing.files.isEmpty())
        leaveOut(mOptions.operand, QStringLiteral("there is no image in the folder"));
    for (const QString &path : listing.files)
        mPictures.append({path, pointOf(path)});
    std::sort(mPictures.begin(), mPictures.end(),
        [](const Picture &a, const Picture &b) { return comesBefore(a.path, b.path); });
    if (mOptions.first.isEmpty())
        leaveOutNamesakes();
    return !mPictures.isEmpty() && (mOptions.first.isEmpty() || nameByRun());
}

/// Of pictures whose names differ in their suffix only, or the later one would be the verdict of both.
void Importer::leaveOutNamesakes()
{
    QHash<QString, QString> paths; // by point
    QVector<Picture> kept;
    for (const Picture &picture : qAsConst(mPictures)) {
        const QString former = paths.value(picture.point);
        if (former.isEmpty()) {
            paths.insert(picture.point, picture.path);
            kept.append(picture);
        } else {
            leaveOut(
                picture.path, QStringLiteral("%1 is of the same point already").arg(Terminal::printableName(former)));
        }
    }
    mPictures = kept;
}

bool Importer::nameByRun()
{
    QVector<QString> names;
    NameGenFault fault;
    TestNameGenerator::generateTestNames(mOptions.first, mOptions.last, names, RecordStore::maxPointsOfRun, fault);
    if (names.size() != mPictures.size()) {
        return fail(Tools::WrongUsage,
            QStringLiteral("from %1 to %2 there are %3 points, but in the folder there are %4 pictures")
                .arg(mOptions.first, mOptions.last, QString::number(names.size()), QString::number(mPictures.size())));
    }
    for (int i = 0; i < names.size(); ++i)
        mPictures[i].point = names[i];
    return true;
}

/// When there is something to import, or a store would be begun for nothing.
bool Importer::openStore()
{
    const int refused = openToWrite(mOptions.store, &mStore);
    return refused == Tools::Done || fail(refused);
}

/// The job of that name or number; a new one where there is none of the name.
bool Importer::findJob()
{
    if (mOptions.jobId != noId) {
        const Answer<Job> job = mStore.job(mOptions.jobId);
        if (!job.ok())
            return fail(tell(job.problem));
        mJob = job.value;
    } else {
        const Answer<QVector<Job>> jobs = jobsNamed(mStore, mOptions.jobName);
        if (!jobs.ok())
            return fail(tell(jobs.problem));
        if (jobs.value.size() > 1)
            return fail(tell({Fault::Invalid, ambiguity(jobs.value)}));
        const Answer<Job> job =
            jobs.value.isEmpty() ? mStore.addJob(mOptions.job) : Answer<Job>{jobs.value.first(), {}};
        if (!job.ok())
            return fail(tell(job.problem));
        mJob = job.value;
    }
    if (!mJob.isOpen())
        return fail(Tools::WrongUsage, QStringLiteral("the job \"%1\" is closed").arg(mJob.name));
    if (mOptions.standard && *mOptions.standard != mJob.standard) {
        return fail(Tools::WrongUsage,
            QStringLiteral("the job \"%1\" is graded by %2").arg(mJob.name, Words::ofStandard(mJob.standard)));
    }
    if (!agrees(mOptions.job.customer, mJob.customer) || !agrees(mOptions.job.site, mJob.site)
        || !agrees(mOptions.job.operatorName, mJob.operatorName)) {
        return fail(Tools::WrongUsage,
            QStringLiteral("the job \"%1\" is there already, with another customer, site or operator").arg(mJob.name));
    }
    const Answer<QVector<Point>> points = mStore.points(mJob.id);
    for (const Point &point : points.value) {
        if (point.side == mOptions.side)
            mPoints.insert(point.name, point.id);
    }
    return points.ok() || fail(tell(points.problem));
}

/// All at once, so that the panel is whole also when the import is not.
bool Importer::addPointsOfRun()
{
    if (mOptions.first.isEmpty())
        return true;
    for (const Picture &picture : qAsConst(mPictures)) {
        const Answer<Id> point = pointNamed(picture.point);
        if (!point.ok())
            return fail(tell(point.problem));
    }
    return true;
}

/// @return false when there is no use in going on
bool Importer::import(const Picture &picture)
{
    QFile file;
    if (!FileAccess::openRegular(picture.path, &file)) { // by now it may be something else
        leaveOut(picture.path, QStringLiteral("it cannot be opened, or is no file any more"));
        return true;
    }
    file.setTextModeEnabled(false); // every byte counts
    const bool isSmall = file.size() <= PictureStore::maxPictureSize;
    QByteArray bytes;
    if (!isSmall || !FileAccess::readAll(&file, PictureStore::maxPictureSize, &bytes) || bytes.isEmpty()) {
        const bool isBroken = file.error() != QFileDevice::NoError;
        leaveOut(picture.path,
            !isSmall       ? QStringLiteral("the file is too large")
                : isBroken ? file.errorString()
                           : QStringLiteral("there is nothing in the file"));
        return true;
    }
    const Answer<InspectionSummary> known = find(picture, bytes);
    if (!known.ok())
        return fail(tell(known.problem));
    const InspectionSummary &row = known.value;
    if (row.id == noId)
        return store(picture, bytes);
    if (row.point == mPoints.value(picture.point, noId))
        return printVerdict(picture, row, Known::Already);
    leaveOut(picture.path, // or its point would look inspected, and stays open
        QStringLiteral("it is the picture of inspection %1, point %2, side %3")
            .arg(QString::number(row.id), Terminal::printable(row.pointName), Words::of(row.side)));
    return true;
}

/// The inspection of the same picture in the job: of the same point, or else of another one.
Answer<InspectionSummary> Importer::find(const Picture &picture, const QByteArray &bytes) const
{
    Filter same;
    same.job = mJob.id;
    same.picture = PictureStore::hashOf(bytes);
    same.point = mPoints.value(picture.point, noId);
    Answer<QVector<InspectionSummary>> known = mStore.list(same, {0, 1});
    if (known.ok() && known.value.isEmpty()) {
        same.point.reset();
        known = mStore.list(same, {0, 1});
    }
    return {known.value.value(0), known.problem};
}

Answer<InspectionSummary> Importer::lastOf(Id point) const
{
    Filter filter;
    filter.point = point;
    const Answer<QVector<InspectionSummary>> rows = mStore.list(filter, {0, 1});
    return {rows.value.value(0), rows.problem};
}

bool Importer::store(const Picture &picture, const QByteArray &bytes)
{
    InspectionOptions options;
    options.seed = QRandomGenerator::system()->generate64(); // so that it can be made again
    const LoadedImage loaded = decodeImage(bytes, options.maxImagePixels);
    const Inspection inspection = loaded.reason == Inspection::Reason::None
        ? inspect(loaded.image, mJob.standard, mOptions.device, options)
        : inspectFile(picture.path, mJob.standard, mOptions.device, options); // which keeps the reason
    if (loaded.reason != inspection.reason() && loaded.reason != Inspection::Reason::None) {
        leaveOut(picture.path, QStringLiteral("the file changes while it is read"));
        return true;
    }
    const Answer<Id> point = pointNamed(picture.point);
    if (!point.ok())
        return refuse(picture, point.problem);
    // What is no photograph may be a secret that somebody has put a link to: that it was there is kept, not what it is.
    const bool isPhotograph = loaded.reason != Inspection::Reason::UnknownFormat;
    const Answer<InspectionSummary> last = isPhotograph ? Answer<InspectionSummary>() : lastOf(point.value);
    if (!last.ok())
        return fail(tell(last.problem));
    if (last.value.id != noId && last.value.reason == loaded.reason)
        return printVerdict(picture, last.value, Known::Already);
    const Answer<Id> id = mStore.addInspection(
        Origin::of(point.value, mOptions.device, options), inspection, isPhotograph ? bytes : QByteArray());
    return id.ok() ? printVerdict(picture, summaryOf(id.value, inspection), Known::Not) : refuse(picture, id.problem);
}

/// @return false when there is no use in going on
bool Importer::refuse(const Picture &picture, const Problem &problem)
{
    if (problem.fault != Fault::Invalid)
        return fail(tell(problem));
    leaveOut(picture.path, problem.text);
    return true;
}

Answer<Id> Importer::pointNamed(const QString &name)
{
    const auto known = mPoints.constFind(name);
    if (known != mPoints.constEnd())
        return {*known, {}};
    const Answer<QVector<Point>> added = mStore.addPoints(mJob.id, {name, name, mOptions.side, mOptions.fibre});
    if (!added.ok())
        return {noId, added.problem};
    mPoints.insert(name, added.value.first().id);
    return {added.value.first().id, {}};
}

bool Importer::printVerdict(const Picture &picture, const InspectionSummary &row, Known known)
{
    const bool isKnown = known == Known::Already;
    const bool hasVerdict = row.verdict == Verdict::Passed || row.verdict == Verdict::Failed; // a row may say anything
    ++(isKnown ? mKnownCounts : mCounts)[static_cast<int>(hasVerdict ? row.verdict : Verdict::None)];
    const QString path = Terminal::printableName(picture.path);
    if (!hasVerdict)
        Terminal::tell(QStringLiteral("%1: %2").arg(path, Words::reasonOf(row)));
    const QString word =
        (hasVerdict ? Words::of(row.verdict) : QStringLiteral("no verdict")).leftJustified(verdictWidth);
    return printLine(picture.point, row.verdict == Verdict::Passed ? mStyle.good(word) : mStyle.bad(word),
        QStringLiteral("%1, inspection %2%3")
            .arg(path, QString::number(row.id), isKnown ? QStringLiteral(", known already") : QString()));
}

/// @param verdict as wide as all of them
bool Importer::printLine(const QString &point, const QString &verdict, const QString &rest)
{
    const QString line =
        QStringLiteral("%1  %2  %3\n").arg(Terminal::printable(point).leftJustified(mPointWidth), verdict, rest);
    return mOutput.write(line.toUtf8());
}

bool Importer::printSummary()
{
    const auto count = [this](Verdict verdict) { return QString::number(mCounts[static_cast<int>(verdict)]); };
    const int known = mKnownCounts[0] + mKnownCounts[1] + mKnownCounts[2];
    const QString text =
        QStringLiteral("\nJob %1 \"%2\": %3 inspections: %4 passed, %5 failed, %6 without a verdict; "
                       "%7 known already, %8 left out\n")
            .arg(QString::number(mJob.id), Terminal::printable(mJob.name),
                QString::number(mCounts[0] + mCounts[1] + mCounts[2]), count(Verdict::Passed), count(Verdict::Failed),
                count(Verdict::None), QString::number(known), QString::number(mLeftOut));
    return mOutput.write(text.toUtf8());
}

void Importer::leaveOut(const QString &path, const QString &reason)
{
    Terminal::tell(QStringLiteral("%1: %2").arg(Terminal::printableName(path), reason));
    ++mLeftOut;
}

/// @return false
bool Importer::fail(int exitCode, const QString &reason)
{
    if (!reason.isEmpty())
        Terminal::tell(reason);
    mFailure = exitCode;
    return false;
}

int Importer::exitCode() const
{
    const auto has = [this](Verdict verdict) {
        const int at = static_cast<int>(verdict);
        return mCounts[at] + mKnownCounts[at] > 0;
    };
    if (has(Verdict::None) || mLeftOut > 0)
        return Tools::NotAnswered;
    return has(Verdict::Failed) ? Tools::NotPassed : Tools::Done;
}
} // namespace

int importFolder(const Options &options)
{
    return Importer(options).run();
}

} // namespace RecordsTool
