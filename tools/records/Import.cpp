// SPDX-License-Identifier: Apache-2.0
#include "records/Import.h"

#include "Helpers/TestNameGenerator.h"
#include "Internal/FileAccess.h"
#include "Records/Doubt.h"
#include "common/ExitCode.h"
#include "common/FileNameCodec.h"
#include "common/FolderListing.h"
#include "common/Micrometres.h"
#include "common/StandardOutput.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "records/StoreAccess.h"
#include "records/Words.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QSet>

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
    return Tools::FileNameCodec::isText(name) ? withoutMark(name) : Terminal::printableName(name);
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

bool hasVerdict(const InspectionSummary &row)
{
    return row.verdict == Verdict::Passed || row.verdict == Verdict::Failed; // a row may say anything
}

/// What a point counts as whose last inspection this is.
Verdict verdictAfter(const InspectionSummary &last)
{
    return last.decision != Decision::ToRepeat && hasVerdict(last) ? last.verdict : Verdict::None;
}

/// What has become of a point after the inspection of one of its pictures; empty when that still tells it.
QString newsOf(const InspectionSummary &last, Id inspection)
{
    const QString point = Terminal::printable(last.pointName);
    const QString id = QString::number(last.id);
    if (last.decision == Decision::ToRepeat)
        return QStringLiteral("point %1 is to be repeated after inspection %2").arg(point, id);
    if (last.id == inspection)
        return {};
    const QString what =
        hasVerdict(last) ? QStringLiteral("has ") + Words::of(last.verdict) : QStringLiteral("could not be graded");
    const bool isAccepted = last.decision == Decision::Accepted && last.verdict != Verdict::Passed;
    return QStringLiteral("point %1 %2 since, by inspection %3%4")
        .arg(point, what, id, isAccepted ? QStringLiteral(", and was accepted") : QString());
}

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
    bool findPoints();
    bool addPointsOfRun();
    bool import(const Picture &picture);
    bool read(const Picture &picture, QByteArray *bytes);
    bool takeKnown(const Picture &picture, const QByteArray &bytes, const InspectionSummary &row);
    bool confirmKnown(const Picture &picture, const QByteArray &bytes, const StoredInspection &known);
    bool store(const Picture &picture, const QByteArray &bytes, const QString &remark = {});
    Answer<InspectionSummary> find(const Picture &picture, const QByteArray &bytes) const;
    Answer<InspectionSummary> lastOf(Id point) const;
    Answer<Id> pointNamed(const QString &name);
    QString doubtOfLast(const InspectionSummary &last, Id known) const;
    bool printKnown(const Picture &picture, const InspectionSummary &row);
    bool printVerdict(const Picture &picture, const InspectionSummary &row, const QString &remark);
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
    int mAtLeast = Tools::Done; ///< exit code, by the state of the store
    int mCounts[3] = {0, 0, 0}; ///< by verdict
    int mKnownCounts[3] = {0, 0, 0}; ///< of those that were known: as their points stand
    int mLeftOut = 0;
    int mPointWidth = 0; ///< columns
};

int Importer::run()
{
    if (!listFolder() || !openStore() || !findJob() || !findPoints() || !addPointsOfRun())
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
    const int refused = openToWrite(mOptions.store, &mStore, &mAtLeast);
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
            QStringLiteral("the job \"%1\" is graded by %2").arg(mJob.name, wordOfStandard(mJob.standard)));
    }
    if (!agrees(mOptions.job.customer, mJob.customer) || !agrees(mOptions.job.site, mJob.site)
        || !agrees(mOptions.job.operatorName, mJob.operatorName)) {
        return fail(Tools::WrongUsage,
            QStringLiteral("the job \"%1\" is there already, with another customer, site or operator").arg(mJob.name));
    }
    return true;
}

bool Importer::findPoints()
{
    QSet<QString> wanted;
    for (const Picture &picture : qAsConst(mPictures))
        wanted.insert(picture.point);
    const Answer<QVector<Point>> points = mStore.points(mJob.id);
    for (const Point &point : points.value) {
        if (point.side != mOptions.side)
            continue;
        mPoints.insert(point.name, point.id);
        const bool agrees = mOptions.fibre == FibreKind::Unknown || mOptions.fibre == point.fibre;
        if (!agrees && wanted.contains(point.name)) {
            return fail(Tools::WrongUsage,
                QStringLiteral("the point \"%1\" is there already, with another kind of fibre").arg(point.name));
        }
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
    QByteArray bytes;
    if (!read(picture, &bytes))
        return true;
    const Answer<InspectionSummary> known = find(picture, bytes);
    if (!known.ok())
        return fail(tell(known.problem));
    const InspectionSummary &row = known.value;
    if (row.id == noId)
        return store(picture, bytes);
    if (row.point == mPoints.value(picture.point, noId))
        return takeKnown(picture, bytes, row);
    leaveOut(picture.path, // or its point would look inspected, and stays open
        QStringLiteral("it is the picture of inspection %1, point %2, side %3")
            .arg(QString::number(row.id), Terminal::printable(row.pointName), Words::of(row.side)));
    return true;
}

/// @return false when it was left out
bool Importer::read(const Picture &picture, QByteArray *bytes)
{
    QFile file;
    if (!FileAccess::openRegular(picture.path, &file)) { // by now it may be something else
        leaveOut(picture.path, QStringLiteral("it cannot be opened, or is no file any more"));
        return false;
    }
    file.setTextModeEnabled(false); // every byte counts
    const bool isSmall = file.size() <= PictureStore::maxPictureSize;
    if (isSmall && FileAccess::readAll(&file, PictureStore::maxPictureSize, bytes) && !bytes->isEmpty())
        return true;
    const bool isBroken = file.error() != QFileDevice::NoError;
    leaveOut(picture.path,
        !isSmall       ? QStringLiteral("the file is too large")
            : isBroken ? file.errorString()
                       : FiberInspection::detailOfFile(Inspection::Reason::FileEmpty));
    return false;
}

/// The verdict that is there counts only if it was found with the field of view that is to be used now.
bool Importer::takeKnown(const Picture &picture, const QByteArray &bytes, const InspectionSummary &row)
{
    const Answer<StoredInspection> known = mStore.inspection(row.id);
    if (!known.ok()) {
        leaveOut(picture.path, known.problem.text);
        return true;
    }
    const QSize &former = known.value.origin.device.fov;
    const QSize &wanted = mOptions.device.fov;
    if (former == wanted)
        return confirmKnown(picture, bytes, known.value);
    const QString id = QString::number(row.id);
    if (mOptions.choosesFieldOfView) {
        return store(picture, bytes,
            QStringLiteral(", anew: inspection %1 has the field of view %2").arg(id, Tools::fieldOfViewText(former)));
    }
    leaveOut(picture.path,
        QStringLiteral("inspection %1 of it has the field of view %2, not %3; --fov says which is right")
            .arg(id, Tools::fieldOfViewText(former), Tools::fieldOfViewText(wanted)));
    return true;
}

/// What the store has of it may have been harmed since.
bool Importer::confirmKnown(const Picture &picture, const QByteArray &bytes, const StoredInspection &known)
{
    if (const Doubt doubt = doubtOf(known, mJob.standard); doubt != Doubt::None) {
        leaveOut(picture.path, doubtText(known.id, doubt));
        return true;
    }
    const Answer<bool> isRestored = mStore.restorePicture(bytes);
    if (!isRestored.ok())
        return refuse(picture, isRestored.problem);
    if (isRestored.value) {
        Terminal::tell(QStringLiteral("%1: the stored picture of inspection %2 was missing or damaged, and is put back")
                           .arg(Terminal::printableName(picture.path), QString::number(known.id)));
    }
    return printKnown(picture, known);
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

/// @param remark for who reads the verdict
bool Importer::store(const Picture &picture, const QByteArray &bytes, const QString &remark)
{
    InspectionOptions options;
    options.seed = QRandomGenerator::system()->generate64(); // so that it can be made again
    const LoadedImage loaded = decodeImage(bytes, options.maxImagePixels);
    const Inspection inspection = inspect(loaded, mJob.standard, mOptions.device, options);
    const Answer<Id> point = pointNamed(picture.point);
    if (!point.ok())
        return refuse(picture, point.problem);
    // What is no photograph may be a secret that somebody has put a link to: that it was there is kept, not what it is.
    const bool isPhotograph = loaded.reason != Inspection::Reason::UnknownFormat;
    const Answer<InspectionSummary> last = isPhotograph ? Answer<InspectionSummary>() : lastOf(point.value);
    if (!last.ok())
        return fail(tell(last.problem));
    if (last.value.id != noId && last.value.reason == loaded.reason)
        return printKnown(picture, last.value);
    const Answer<Id> id = mStore.addInspection(
        Origin::of(point.value, mOptions.device, options), inspection, isPhotograph ? bytes : QByteArray());
    if (!id.ok())
        return refuse(picture, id.problem);
    ++mCounts[static_cast<int>(Records::verdictOf(inspection))];
    return printVerdict(picture, summaryOf(id.value, inspection), remark);
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

/// Why the last inspection of a point does not tell how it stands; empty when it does, or was looked at.
QString Importer::doubtOfLast(const InspectionSummary &last, Id known) const
{
    if (last.id == known)
        return {};
    const Answer<StoredInspection> record = mStore.inspection(last.id);
    if (!record.ok())
        return record.problem.text;
    if (const Doubt doubt = doubtOf(record.value, mJob.standard); doubt != Doubt::None)
        return doubtText(last.id, doubt);
    const QByteArray &picture = record.value.picture;
    const Fault fault = picture.isEmpty() ? Fault::None : mStore.picture(picture).problem.fault;
    return fault == Fault::None
        ? QString()
        : QStringLiteral("inspection %1 is in doubt: %2").arg(QString::number(last.id), Words::ofPicture(fault));
}

/// With what has become of the point since, which counts for the exit code.
bool Importer::printKnown(const Picture &picture, const InspectionSummary &row)
{
    const Answer<InspectionSummary> last = lastOf(row.point);
    if (!last.ok())
        return fail(tell(last.problem));
    if (const QString doubt = doubtOfLast(last.value, row.id); !doubt.isEmpty()) {
        leaveOut(picture.path, doubt);
        return true;
    }
    ++mKnownCounts[static_cast<int>(verdictAfter(last.value))];
    if (const QString news = newsOf(last.value, row.id); !news.isEmpty())
        Terminal::tell(QStringLiteral("%1: %2").arg(Terminal::printableName(picture.path), news));
    return printVerdict(picture, row, QStringLiteral(", known already"));
}

bool Importer::printVerdict(const Picture &picture, const InspectionSummary &row, const QString &remark)
{
    const QString path = Terminal::printableName(picture.path);
    if (!hasVerdict(row))
        Terminal::tell(QStringLiteral("%1: %2").arg(path, Words::reasonOf(row)));
    const QString word =
        (hasVerdict(row) ? Words::of(row.verdict) : QStringLiteral("no verdict")).leftJustified(verdictWidth);
    return printLine(picture.point, row.verdict == Verdict::Passed ? mStyle.good(word) : mStyle.bad(word),
        QStringLiteral("%1, inspection %2%3").arg(path, QString::number(row.id), remark));
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
    return std::max<int>(mAtLeast, has(Verdict::Failed) ? Tools::NotPassed : Tools::Done);
}
} // namespace

int importFolder(const Options &options)
{
    return Importer(options).run();
}

} // namespace RecordsTool
