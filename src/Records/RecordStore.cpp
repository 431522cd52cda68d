// SPDX-License-Identifier: Apache-2.0
#include "Records/RecordStore.h"

#include "Helpers/TestNameGenerator.h"
#include "Helpers/WholeFile_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/MergeRows_p.h"
#include "Records/RowChecks_p.h"
#include "Records/Schema_p.h"
#include "Records/SearchIndex_p.h"
#include "Records/StoreFolder_p.h"
#include "Records/StoreLock_p.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QMetaEnum>
#include <QSet>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <sys/file.h>
#include <type_traits>
#include <unistd.h>

namespace Records {

using FiberInspection::Inspection;

namespace {
constexpr int mostFaults = 100; // of a database that are told, which is how many its own check tells

/// A record from elsewhere may ask for any number.
constexpr qint64 maxPixelsAgain = FiberInspection::InspectionOptions::defaultMaxImagePixels;

constexpr const char *quickAnswer = "ok"; // of SQLite's own check

Problem problemOf(const Problem &problem)
{
    return problem;
}

template <typename Value>
Problem problemOf(const Answer<Value> &answer)
{
    return answer.problem;
}

/// A problem as what the call answers with.
template <typename Result>
Result failed(const Problem &problem)
{
    if constexpr (std::is_same_v<Result, Problem>)
        return problem;
    else
        return Result{{}, problem};
}

Problem invalid(const QString &text)
{
    return {Fault::Invalid, text};
}

/// It would mean the root of all folders.
Problem noFolder()
{
    return invalid(QStringLiteral("A store needs a folder"));
}

Problem checkTexts(const QStringList &texts)
{
    for (const QString &text : texts) {
        if (text.size() > RecordStore::maxTextLength)
            return invalid(QStringLiteral("A text of %1 characters is too long").arg(text.size()));
        if (!text.isValidUtf16()) // it would come back as another one
            return invalid(QStringLiteral("A text has bytes that are no characters"));
    }
    return {};
}

Problem checkJob(const Job &job)
{
    if (job.name.trimmed().isEmpty())
        return invalid(QStringLiteral("A job needs a name"));
    return checkTexts({job.name, job.customer, job.site, job.operatorName});
}

/// Whether the point is there, or none is meant, and has to be inspected by this standard.
Problem checkPoint(const Database &database, Id point, FiberInspection::Standard::Id standard)
{
    if (point == noId)
        return {};
    const Answer<QVariant> wanted =
        database.value("SELECT job.standard FROM point JOIN job ON job.id = point.job WHERE point.id = ?", {point});
    if (!wanted.ok())
        return wanted.problem;
    if (!wanted.value.isValid())
        return {Fault::NotFound, QStringLiteral("There is no point %1").arg(point)};
    if (wanted.value.toInt() != static_cast<int>(standard))
        return invalid(QStringLiteral("The job of point %1 is by another standard").arg(point));
    return {};
}

Page usable(const Page &page)
{
    return {qMax(0, page.offset), qBound(0, page.rows, Page::maxRows)};
}

Problem namesOf(const PointRun &run, QVector<QString> *names)
{
    NameGenFault fault;
    const auto error =
        TestNameGenerator::generateTestNames(run.from, run.to, *names, RecordStore::maxPointsOfRun, fault);
    if (error == TestNameGenerator::NoError)
        return {};
    const char *const name = QMetaEnum::fromType<TestNameGenerator::GenerateError>().valueToKey(error);
    const QString where = fault.hasColumn() ? QStringLiteral(" at column %1").arg(fault.column + 1) : QString();
    return invalid(QStringLiteral("No run of names leads from \"%1\" to \"%2\": %3%4")
                       .arg(run.from, run.to, QString::fromLatin1(name), where));
}

/// Whether a picture can be inspected so.
bool isUsable(const Origin &origin)
{
    constexpr float leastScale = 0.01F;
    constexpr float mostScale = 1000;
    constexpr int mostField = 100000; // micrometres
    const QSize &field = origin.device.fov;
    return origin.scale >= leastScale && origin.scale <= mostScale && !field.isEmpty() && field.width() <= mostField
        && field.height() <= mostField;
}

Origin completed(Origin origin)
{
    if (!origin.made.isValid())
        origin.made = QDateTime::currentDateTimeUtc();
    if (origin.software.isEmpty())
        origin.software = QStringLiteral("VantorBase " VANTORBASE_VERSION);
    return origin;
}

QByteArray pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && image.save(&buffer, "PNG") ? bytes : QByteArray();
}

/// Pictures that are no longer new once their record is stored; until then, what is new goes again.
class NewPictures
{
public:
    explicit NewPictures(const PictureStore &store)
        : mStore(store)
    {
    }
    ~NewPictures()
    {
        for (const QByteArray &hash : qAsConst(mNew))
            mStore.remove(hash);
    }
    NewPictures(const NewPictures &) = delete;
    NewPictures &operator=(const NewPictures &) = delete;

    /// @return its name; none for no bytes
    Answer<QByteArray> put(const QByteArray &bytes)
    {
        if (bytes.isEmpty())
            return {};
        const Answer<PictureStore::Kept> kept = mStore.put(bytes);
        if (kept.value.isNew)
            mNew << kept.value.hash;
        return {kept.value.hash, kept.problem};
    }

    void keep() { mNew.clear(); }

private:
    const PictureStore &mStore;
    QList<QByteArray> mNew;
};

/// Keeps others from writing a copy into the same folder.
class FolderLock
{
public:
    explicit FolderLock(const QString &folder)
        : mDescriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , mIsOthers(mDescriptor >= 0 && flock(mDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    {
    }
    ~FolderLock()
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
    }
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;

    bool isOthers() const { return mIsOthers; }

private:
    const int mDescriptor;
    const bool mIsOthers;
};

/// Counts the calls that are under way, one within the other.
class Depth
{
public:
    explicit Depth(int *calls)
        : mCalls(calls)
    {
        ++*mCalls;
    }
    ~Depth() { --*mCalls; }
    Depth(const Depth &) = delete;
    Depth &operator=(const Depth &) = delete;

private:
    int *const mCalls;
};

QSet<QByteArray> namesOf(const QVector<InspectionRows::Named> &all)
{
    QSet<QByteArray> names;
    names.reserve(2 * all.size());
    for (const InspectionRows::Named &named : all) {
        for (const QByteArray &hash : {named.pictures.source, named.pictures.annotated}) {
            if (!hash.isEmpty())
                names.insert(hash);
        }
    }
    return names;
}

/// Whether SQLite's own check finds nothing. @param faults receives what it finds
Problem checkTables(const Database &database, QStringList *faults)
{
    Query query(database, "PRAGMA integrity_check");
    query.run({});
    while (query.next()) {
        if (query.text(0) != QLatin1String(quickAnswer))
            faults->append(query.text(0));
    }
    Query orphans(database, "PRAGMA foreign_key_check");
    orphans.run({});
    while (faults->size() < mostFaults && orphans.next())
        faults->append(QStringLiteral("A row of %1 belongs to nothing").arg(orphans.text(0)));
    return query.problem().ok() ? orphans.problem() : query.problem();
}

/// The same, and whether searching finds what is there. SQLite does not look into an index of words.
Problem checkWhole(Database &database, QStringList *faults)
{
    const Problem problem = checkTables(database, faults);
    if (!problem.ok())
        return problem;
    const Answer<bool> isKnown = Schema::isOfThisVersion(database);
    const Answer<QString> fault = isKnown.value ? SearchIndex::fault(database) : Answer<QString>();
    if (!fault.value.isEmpty())
        faults->append(fault.value);
    const Problem added = isKnown.value ? Schema::checkNothingActs(database) : Problem();
    if (!added.ok())
        faults->append(added.text);
    return isKnown.ok() ? fault.problem : isKnown.problem;
}

/// Whether a folder is the other one or lies below it; neither need be there yet.
bool isWithin(const QString &folder, const QString &other)
{
    const QFileInfo outer(other);
    QFileInfo info(QFileInfo(folder).absoluteFilePath());
    while (!info.exists() && !info.isRoot())
        info.setFile(info.path());
    const QString inner = info.canonicalFilePath() + QLatin1Char('/');
    return outer.exists() && inner.startsWith(outer.canonicalFilePath() + QLatin1Char('/'));
}

/// Whether all of a database of another unit may be taken over.
Problem checkForeign(const Database &database, const Database &ours, const StoreFolder &place)
{
    Problem problem = Schema::checkSame(database, ours);
    if (problem.ok())
        problem = MergeRows::checkSize(database);
    QStringList faults;
    if (problem.ok())
        problem = checkTables(database, &faults);
    if (!problem.ok() || !faults.isEmpty())
        return problem.ok() ? Problem{Fault::Damaged, QStringLiteral("%1: %2").arg(place.database(), faults.first())}
                            : problem;
    const Answer<QString> bad = RowChecks::firstBad(database);
    if (bad.value.isEmpty())
        return bad.problem;
    return {Fault::Damaged, QStringLiteral("%1 of the other store is damaged").arg(bad.value)};
}

bool putOnDisk(const QString &path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isThere = fsync(descriptor) == 0;
    ::close(descriptor);
    return isThere;
}

Problem checkFiles(const StoreFolder &folder)
{
    const QString obstacle = folder.obstacle();
    return obstacle.isEmpty() ? Problem() : Problem{Fault::Unusable, QStringLiteral("%1 is not a file").arg(obstacle)};
}

/// A link would lead what is stored, and what is swept, into a folder that is none of ours.
Problem checkOwnFiles(const StoreFolder &folder)
{
    const Problem problem = checkFiles(folder);
    const QString detour = folder.detour();
    if (!problem.ok() || detour.isEmpty())
        return problem;
    return {Fault::Unusable, QStringLiteral("%1 is a link, or no folder").arg(detour)};
}

/// @param suspicion path of the file that notes damage; empty: nothing is written there
Problem openToRead(const StoreFolder &folder, const QString &suspicion, std::unique_ptr<Database> *database)
{
    Problem problem = checkFiles(folder);
    if (!problem.ok())
        return problem;
    for (const Database::Access access : {Database::Access::ReadOnly, Database::Access::Immutable}) {
        // What is still in the journal would be overlooked; and who keeps it may be about to write.
        if (access == Database::Access::Immutable && folder.hasJournal()) {
            problem.text += QStringLiteral(", and what its journal holds can only be read where there is write access");
            break;
        }
        *database = std::make_unique<Database>(folder.database(), suspicion);
        problem = (*database)->open(access);
        if (problem.ok())
            problem = Schema::check(**database);
        if (problem.ok() || problem.fault == Fault::LaterVersion)
            break;
    }
    return problem;
}

/// What keeps a database from being written, but not from being read.
bool canBeRead(Fault fault)
{
    return fault == Fault::LaterVersion || fault == Fault::DiskFull || fault == Fault::ReadOnly || fault == Fault::Busy;
}

Opened howWithout(Fault fault)
{
    switch (fault) {
    case Fault::Busy:
        return Opened::InUse;
    case Fault::DiskFull:
        return Opened::FullDisk;
    case Fault::LaterVersion:
        return Opened::LaterVersion;
    default:
        return Opened::ReadOnlyFolder;
    }
}
} // namespace

RecordStore::RecordStore()
    : mPictures(QString())
{
}

RecordStore::~RecordStore()
{
    close();
}

void RecordStore::close()
{
    if (mCalls > 0) // somebody was asked whether to go on
        return;
    mDatabase.reset();
    mUse.reset();
    if (mLock)
        StoreLock::release(std::move(mLock));
    mLock.reset();
}

bool RecordStore::isOpen() const
{
    return mDatabase != nullptr;
}

/// In the right thread, with an open store, and whatever happens inside comes out as a value.
template <typename Call>
auto RecordStore::guarded(Call call) const -> decltype(call())
{
    using Result = decltype(call());
    if (!mDatabase)
        return failed<Result>({Fault::NotOpen, QStringLiteral("The store is not open")});
    if (QThread::currentThread() != mThread)
        return failed<Result>({Fault::WrongThread, QStringLiteral("The store was opened in another thread")});
    const Depth depth(&mCalls);
    try {
        return call();
    } catch (const std::exception &exception) {
        return failed<Result>({Fault::OutOfMemory, QString::fromLocal8Bit(exception.what())});
    }
}

Problem RecordStore::whyNotWriting() const
{
    if (!mLock)
        return {Fault::ReadOnly, QStringLiteral("The store is open for reading only")};
    return mDatabase->checkPlace();
}

/// The same within a transaction, and alone among the threads of this process.
template <typename Call>
auto RecordStore::writing(Call call) -> decltype(call())
{
    using Result = decltype(call());
    return guarded([&]() -> Result {
        const Problem obstacle = whyNotWriting();
        if (!obstacle.ok())
            return failed<Result>(obstacle);
        const StoreLock::Turn turn(*mLock);
        if (!turn.problem().ok())
            return failed<Result>(turn.problem());
        Transaction transaction(*mDatabase);
        if (!transaction.problem().ok())
            return failed<Result>(transaction.problem());
        Result result = call();
        if (!problemOf(result).ok())
            return result;
        const Problem problem = transaction.commit();
        return problem.ok() ? result : failed<Result>(problem);
    });
}

// --- Opening ---------------------------------------------------------------------------------------------------------

Opening RecordStore::open(const QString &folder, Mode mode)
{
    if (mCalls > 0)
        return {Opened::No, {Fault::Busy, QStringLiteral("The store is at work")}, {}, 0};
    close();
    if (folder.isEmpty())
        return {Opened::No, noFolder(), {}, 0};
    try {
        return openFolder(StoreFolder(folder), mode);
    } catch (const std::exception &exception) {
        close();
        return {Opened::No, {Fault::OutOfMemory, QString::fromLocal8Bit(exception.what())}, {}, 0};
    }
}

Opening RecordStore::openFolder(const StoreFolder &place, Mode mode)
{
    mThread = QThread::currentThread();
    mPictures = PictureStore(place.pictures());
    mFolder = place.path();
    if (mode == Mode::ReadOnly)
        return openForReading(place, Opened::AsReader, {});

    place.make();
    Problem problem;
    mLock = StoreLock::take(place.path(), &problem);
    if (!mLock)
        return openForReading(place, howWithout(problem.fault), problem);
    const Opening opening = openForWriting(place);
    if (opening.canWrite())
        return opening;
    close();
    if (opening.keptAside.isEmpty() && canBeRead(opening.problem.fault))
        return openForReading(place, howWithout(opening.problem.fault), opening.problem);
    return opening;
}

/// What this sweeps, moves or brings up to date, no other thread may be opening or writing.
Opening RecordStore::openForWriting(const StoreFolder &folder)
{
    const StoreLock::Turn turn(*mLock);
    if (!turn.problem().ok())
        return {Opened::No, turn.problem(), {}, 0};
    const Opening opening = openAlone(folder);
    if (opening.canWrite())
        mUse = mLock->use();
    return opening;
}

Opening RecordStore::openAlone(const StoreFolder &folder)
{
    const Problem detour = checkOwnFiles(folder);
    if (!detour.ok())
        return {Opened::No, detour, {}, 0};
    if (folder.isBeheaded())
        return beginAnew(
            folder, {Fault::Damaged, folder.database() + QStringLiteral(" is missing, what belongs to it is not")});

    bool isNew = false;
    const Problem problem = prepare(folder, &isNew);
    if (problem.ok()) {
        Opening opening;
        opening.how = isNew ? Opened::Begun : Opened::Usable;
        const Answer<int> swept = sweepAfterInterruption();
        if (swept.ok())
            mLock->settle();
        opening.swept = swept.value;
        return opening;
    }
    mDatabase.reset();
    return problem.fault == Fault::Damaged ? beginAnew(folder, problem) : Opening{Opened::No, problem, {}, 0};
}

/// Opens the database and brings it up to date.
Problem RecordStore::prepare(const StoreFolder &folder, bool *isNew)
{
    mDatabase = std::make_unique<Database>(folder.database(), folder.suspicion());
    Problem problem = mDatabase->open(Database::Access::ReadWrite);
    mDatabase->bindTo(folder.lock(), mLock->identity());
    if (problem.ok())
        problem = Schema::prepare(*mDatabase, isNew);
    if (problem.ok())
        problem = mDatabase->run("DELETE FROM job WHERE 0"); // a file that is write-protected shows only now
    if (!problem.ok() || !QFileInfo(folder.suspicion()).isFile())
        return problem;

    // It was seen to be damaged. The check takes its time, so it is for such a case only.
    QStringList faults;
    problem = SearchIndex::mendIfWrong(*mDatabase);
    if (problem.ok())
        problem = checkTables(*mDatabase, &faults);
    if (problem.ok() && !faults.isEmpty())
        problem = {Fault::Damaged, QStringLiteral("%1: %2").arg(folder.database(), faults.first())};
    if (problem.ok())
        QFile::remove(folder.suspicion());
    return problem;
}

Opening RecordStore::beginAnew(const StoreFolder &folder, const Problem &problem)
{
    const QString aside = mLock->isUsed() ? QString() : folder.setAside();
    if (aside.isEmpty())
        return {Opened::No, {problem.fault, problem.text + QStringLiteral(", and it cannot be kept aside")}, {}, 0};
    QFile::remove(folder.suspicion());
    bool isNew = false;
    const Problem second = prepare(folder, &isNew);
    if (second.ok())
        mLock->settle(); // what was left was moved with the rest
    return {second.ok() ? Opened::BegunAnew : Opened::No, second.ok() ? problem : second, aside, 0};
}

/// @param problem why not for writing
Opening RecordStore::openForReading(const StoreFolder &folder, Opened how, const Problem &problem)
{
    const Opening none{Opened::No,
        problem.ok() ? Problem{Fault::NotFound, QStringLiteral("There is no store in %1").arg(folder.path())} : problem,
        {}, 0};
    if (!folder.hasDatabase())
        return none;

    const Problem second = openToRead(folder, folder.suspicion(), &mDatabase);
    if (second.fault == Fault::LaterVersion)
        return {Opened::LaterVersion, second, {}, 0};
    if (second.ok())
        return {how, problem, {}, 0};
    close();
    return {Opened::No, second, {}, 0};
}

// --- Jobs ------------------------------------------------------------------------------------------------------------

Answer<Job> RecordStore::addJob(const Job &job)
{
    const Problem problem = checkJob(job);
    if (!problem.ok())
        return {{}, problem};
    return writing([&]() -> Answer<Job> {
        Job added = job;
        const Problem failure = JobRows::add(*mDatabase, &added);
        return {added, failure};
    });
}

Problem RecordStore::updateJob(const Job &job)
{
    const Problem problem = checkJob(job);
    if (!problem.ok())
        return problem;
    return writing([&]() -> Problem {
        const Answer<Job> present = JobRows::one(*mDatabase, job.id);
        return present.ok() ? JobRows::update(*mDatabase, job) : present.problem;
    });
}

Answer<Job> RecordStore::job(Id id) const
{
    return guarded([&] { return JobRows::one(*mDatabase, id); });
}

Answer<QVector<Job>> RecordStore::jobs(const Page &page) const
{
    return guarded([&] { return JobRows::some(*mDatabase, usable(page)); });
}

Answer<JobProgress> RecordStore::progress(Id job) const
{
    const Answer<QVector<Point>> all = points(job);
    return {JobRows::progressOf(all.value), all.problem};
}

Answer<QVector<Point>> RecordStore::addPoints(Id job, const PointRun &run)
{
    QVector<QString> names;
    Problem problem = namesOf(run, &names);
    if (problem.ok())
        problem = checkTexts({run.from, run.to});
    if (!problem.ok())
        return {{}, problem};
    return writing([&]() -> Answer<QVector<Point>> {
        const Answer<Job> present = JobRows::one(*mDatabase, job);
        if (!present.ok())
            return {{}, present.problem};
        const Problem failure = JobRows::addPoints(*mDatabase, job, names, run);
        if (!failure.ok())
            return {{}, failure};
        const Answer<QVector<Point>> all = JobRows::points(*mDatabase, job);
        return {all.value.mid(all.value.size() - names.size()), all.problem};
    });
}

Answer<QVector<Point>> RecordStore::points(Id job) const
{
    return guarded([&] { return JobRows::points(*mDatabase, job); });
}

// --- Inspections -----------------------------------------------------------------------------------------------------

Answer<Id> RecordStore::addInspection(const Origin &origin, const Inspection &inspection, const QByteArray &picture)
{
    return guarded([&]() -> Answer<Id> {
        const Problem obstacle = whyNotWriting();
        if (!obstacle.ok())
            return {noId, obstacle};
        if (inspection.reason() == Inspection::Reason::NotInspected)
            return {noId, invalid(QStringLiteral("Nothing was inspected"))};
        const Problem problem = checkTexts({origin.software, origin.device.name});
        return problem.ok() ? store(completed(origin), inspection, picture) : Answer<Id>{noId, problem};
    });
}

/// The pictures are on the disk before a row names them.
Answer<Id> RecordStore::store(const Origin &origin, const Inspection &inspection, const QByteArray &picture)
{
    const QByteArray annotated = pngOf(inspection.annotatedImage());
    const StoreLock::Turn turn(*mLock);
    if (!turn.problem().ok())
        return {noId, turn.problem()};
    if (!mLock->note({PictureStore::hashOf(picture), PictureStore::hashOf(annotated)}))
        return {noId, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};
    NewPictures pictures(mPictures);
    const Answer<QByteArray> source = pictures.put(picture);
    const Answer<QByteArray> painted = source.ok() ? pictures.put(annotated) : Answer<QByteArray>();
    for (const Problem &problem : {source.problem, painted.problem}) {
        if (!problem.ok())
            return {noId, problem};
    }

    Transaction transaction(*mDatabase);
    if (!transaction.problem().ok())
        return {noId, transaction.problem()};
    const Problem misplaced = checkPoint(*mDatabase, origin.point, inspection.standardId());
    if (!misplaced.ok())
        return {noId, misplaced};
    const Answer<Id> id = InspectionRows::add(*mDatabase, origin, inspection, {source.value, painted.value});
    if (!id.ok())
        return {noId, id.problem};
    const Problem problem = transaction.commit();
    if (!problem.ok())
        return {noId, problem};
    pictures.keep();
    return id;
}

Problem RecordStore::setDecision(Id inspection, Decision decision, const QString &note)
{
    const Problem problem = checkTexts({note});
    if (!problem.ok())
        return problem;
    return writing([&] { return InspectionRows::decide(*mDatabase, inspection, decision, note); });
}

Answer<QVector<InspectionSummary>> RecordStore::list(const Filter &filter, const Page &page) const
{
    return guarded([&] { return InspectionRows::some(*mDatabase, filter, usable(page)); });
}

Answer<int> RecordStore::count(const Filter &filter) const
{
    return guarded([&] { return InspectionRows::count(*mDatabase, filter); });
}

Answer<StoredInspection> RecordStore::inspection(Id id) const
{
    return guarded([&] {
        Answer<StoredInspection> stored = InspectionRows::one(*mDatabase, id);
        stored.value.isPictureThere = mPictures.contains(stored.value.picture);
        stored.value.isAnnotatedPictureThere = mPictures.contains(stored.value.annotatedPicture);
        return stored;
    });
}

Answer<QByteArray> RecordStore::picture(const QByteArray &hash) const
{
    return guarded([&] { return mPictures.read(hash); });
}

Answer<Inspection> RecordStore::inspectAgain(Id id) const
{
    const Answer<StoredInspection> stored = inspection(id);
    if (!stored.ok())
        return {{}, stored.problem};
    const Answer<QByteArray> bytes = picture(stored.value.picture);
    if (!bytes.ok())
        return {{}, bytes.problem};
    const Origin &origin = stored.value.origin;
    if (!isUsable(origin))
        return {{}, invalid(QStringLiteral("The scale or the field of view of inspection %1 cannot be used").arg(id))};
    FiberInspection::InspectionOptions options = origin.options();
    options.maxImagePixels = qMin(options.maxImagePixels, maxPixelsAgain);
    const FiberInspection::LoadedImage loaded = FiberInspection::decodeImage(bytes.value, options.maxImagePixels);
    if (loaded.reason == Inspection::Reason::ImageTooLarge && origin.maxImagePixels > maxPixelsAgain)
        return {{}, {Fault::TooLarge, QStringLiteral("The picture is too large: %1").arg(loaded.detail)}};
    if (loaded.image.isNull())
        return {{}, {Fault::Invalid, QStringLiteral("The picture cannot be decoded: %1").arg(loaded.detail)}};
    return {FiberInspection::inspect(loaded.image, stored.value.standard, origin.device, options), {}};
}

// --- Upkeep ----------------------------------------------------------------------------------------------------------

Answer<int> RecordStore::sweepNow()
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*mDatabase);
    if (!all.ok())
        return {0, all.problem}; // what is named is not known, so everything may be
    const QSet<QByteArray> names = namesOf(all.value);
    return {mPictures.sweep([&names](const QByteArray &hash) { return names.contains(hash); }), {}};
}

Answer<int> RecordStore::sweepAfterInterruption()
{
    const StoreLock::Interruption &former = mLock->interruption();
    if (!former.hasHappened)
        return {};
    if (!former.isOfThisBoot || former.pictures.contains(StoreLock::anyPicture))
        return sweepNow();
    int swept = 0;
    for (const QByteArray &hash : former.pictures) {
        const Answer<bool> isNamed = InspectionRows::isNamed(*mDatabase, hash);
        if (!isNamed.ok())
            return {swept, isNamed.problem};
        swept += mPictures.sweepOne(hash, isNamed.value);
    }
    return {swept, {}};
}

Answer<int> RecordStore::sweep()
{
    return writing([&] { return sweepNow(); });
}

Answer<Verification> RecordStore::verify(const std::function<bool(int done, int all)> &goesOn) const
{
    return guarded([&]() -> Answer<Verification> {
        Verification found;
        const Problem problem = checkWhole(*mDatabase, &found.databaseFaults);
        if (!problem.ok())
            return {found, problem};
        // A later version may write what is not known here.
        const bool isOurs = Schema::check(*mDatabase).fault != Fault::LaterVersion;
        const Answer<QString> bad = isOurs ? RowChecks::firstBad(*mDatabase) : Answer<QString>();
        if (!bad.ok() && found.databaseFaults.isEmpty())
            return {found, bad.problem};
        if (!bad.value.isEmpty())
            found.databaseFaults << bad.value + QStringLiteral(" has a value that nothing here writes");
        const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*mDatabase);
        for (int i = 0; i < all.value.size(); ++i) {
            if (goesOn && !goesOn(i, all.value.size()))
                return {found, {Fault::Stopped, QStringLiteral("Stopped; not all was looked at")}};
            const InspectionRows::Named &named = all.value[i];
            const Problem unreadable = isOurs ? InspectionRows::one(*mDatabase, named.inspection).problem : Problem();
            if (unreadable.fault == Fault::Damaged && found.databaseFaults.size() < mostFaults)
                found.databaseFaults << unreadable.text;
            else if (!unreadable.ok() && unreadable.fault != Fault::Damaged)
                return {found, unreadable};
            for (const QByteArray &hash : {named.pictures.source, named.pictures.annotated}) {
                if (hash.isEmpty())
                    continue;
                const Fault fault = mPictures.read(hash).problem.fault;
                if (fault != Fault::None)
                    found.pictureFaults.append({named.inspection, hash, fault});
                ++found.pictures;
            }
        }
        return {found, all.problem};
    });
}

Answer<Backup> RecordStore::backup(const QString &folder) const
{
    return guarded([&]() -> Answer<Backup> {
        const Problem obstacle = mDatabase->checkPlace();
        if (!obstacle.ok())
            return {{}, obstacle};
        if (folder.isEmpty())
            return {{}, noFolder()};
        const StoreFolder target(folder);
        if (QFile::exists(target.database()) || target.hasJournal()) // which would become part of the copy
            return {{}, invalid(QStringLiteral("There is a store in %1 already").arg(folder))};
        if (isWithin(folder, StoreFolder(mFolder).pictures())) // a sweep would take its pictures for unwanted ones
            return {{}, invalid(QStringLiteral("%1 lies among the pictures of the store").arg(folder))};
        target.make();
        const FolderLock lock(folder);
        if (lock.isOthers())
            return {{}, {Fault::Busy, QStringLiteral("Another program writes into %1").arg(folder)}};
        const QString copy = target.database() + QStringLiteral(".unfinished");
        QFile::remove(copy);
        Problem problem = mDatabase->run("VACUUM INTO ?", {copy});
        Backup done;
        if (problem.ok())
            problem = copyPictures(PictureStore(target.pictures()), &done);
        const bool isWhole = problem.ok() && putOnDisk(copy) && QFile::rename(copy, target.database());
        WholeFile::syncFolder(folder);
        if (!isWhole)
            QFile::remove(copy);
        if (problem.ok() && !isWhole)
            problem = {Fault::Unusable, QStringLiteral("Cannot write %1").arg(target.database())};
        return {done, problem};
    });
}

/// Those that the copy of the database names are among those that this one names by now.
Problem RecordStore::copyPictures(const PictureStore &target, Backup *done) const
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*mDatabase);
    if (!all.ok())
        return all.problem;
    const QSet<QByteArray> names = namesOf(all.value);
    for (const QByteArray &hash : names) {
        const Answer<QByteArray> bytes = mPictures.read(hash);
        const Problem problem = bytes.ok() ? target.put(bytes.value).problem : Problem();
        if (!problem.ok())
            return problem;
        ++(bytes.ok() ? done->pictures : done->missing);
    }
    return {};
}

Answer<Merge> RecordStore::merge(const QString &folder, const std::function<bool(int done, int all)> &goesOn)
{
    return guarded([&]() -> Answer<Merge> {
        const Problem obstacle = whyNotWriting();
        if (!obstacle.ok())
            return {{}, obstacle};
        if (folder.isEmpty())
            return {{}, noFolder()};
        const StoreFolder place(folder);
        if (!place.hasDatabase())
            return {{}, {Fault::NotFound, QStringLiteral("There is no store in %1").arg(folder)}};
        std::unique_ptr<Database> source;
        Problem problem = openToRead(place, {}, &source);
        if (problem.ok())
            problem = source->run("BEGIN"); // what its owner stores meanwhile is left for the next time
        if (problem.ok())
            problem = checkForeign(*source, *mDatabase, place);
        if (!problem.ok())
            return {{}, problem};
        Answer<Merge> merged = mergeFrom(*source, PictureStore(place.pictures()), goesOn);
        if (merged.problem.fault == Fault::Invalid) { // by a row that our tables refuse; they are not to blame
            QString reason = merged.problem.text;
            reason.remove(StoreFolder(mFolder).database() + QStringLiteral(": "));
            merged.problem = {Fault::Damaged, QStringLiteral("%1: %2").arg(place.database(), reason)};
        }
        return merged;
    });
}

/// The pictures are on the disk before a row names them.
Answer<Merge> RecordStore::mergeFrom(
    const Database &source, const PictureStore &sourcePictures, const std::function<bool(int done, int all)> &goesOn)
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(source);
    if (!all.ok())
        return {{}, all.problem};
    const StoreLock::Turn turn(*mLock);
    if (!turn.problem().ok())
        return {{}, turn.problem()};
    if (!mLock->note({StoreLock::anyPicture}))
        return {{}, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};

    Merge done;
    NewPictures pictures(mPictures);
    const QSet<QByteArray> names = namesOf(all.value);
    int looked = 0;
    for (const QByteArray &hash : names) {
        if (goesOn && !goesOn(looked++, names.size()))
            return {{}, {Fault::Stopped, QStringLiteral("Stopped; nothing was merged")}};
        if (mPictures.read(hash).ok()) // one that is damaged here is mended from there
            continue;
        const Answer<QByteArray> bytes = sourcePictures.read(hash);
        const Problem problem = bytes.ok() ? pictures.put(bytes.value).problem : Problem();
        if (!problem.ok())
            return {{}, problem};
        ++(bytes.ok() ? done.pictures : bytes.problem.fault == Fault::PictureMissing ? done.missing : done.damaged);
    }

    Transaction transaction(*mDatabase);
    Problem problem = transaction.problem();
    if (problem.ok())
        problem = MergeRows::copy(*mDatabase, source, goesOn, &done);
    if (problem.ok())
        problem = transaction.commit();
    if (!problem.ok())
        return {{}, problem};
    pictures.keep();
    mLock->note({});
    return {done, {}};
}

} // namespace Records
