// SPDX-License-Identifier: Apache-2.0
#include "Records/RecordStore.h"

#include "Helpers/TestNameGenerator.h"
#include "Helpers/WholeFile_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/MergeRows_p.h"
#include "Records/OpenStore_p.h"
#include "Records/RowChecks_p.h"
#include "Records/Schema_p.h"
#include "Records/SearchIndex_p.h"

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

/// A call that is under way keeps what it works on, and is counted.
class UnderWay
{
public:
    explicit UnderWay(std::shared_ptr<OpenStore> store)
        : mStore(std::move(store))
    {
        ++mStore->calls;
    }
    ~UnderWay() { --mStore->calls; }
    UnderWay(const UnderWay &) = delete;
    UnderWay &operator=(const UnderWay &) = delete;

    OpenStore &store() const { return *mStore; }

private:
    const std::shared_ptr<OpenStore> mStore;
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

/// In the right thread, with an open store, and whatever happens inside comes out as a value.
template <typename Call>
auto guarded(const std::shared_ptr<OpenStore> &open, Call call) -> decltype(call(*open))
{
    using Result = decltype(call(*open));
    if (!open)
        return failed<Result>({Fault::NotOpen, QStringLiteral("The store is not open")});
    if (QThread::currentThread() != open->thread)
        return failed<Result>({Fault::WrongThread, QStringLiteral("The store was opened in another thread")});
    const UnderWay underWay(open);
    try {
        return call(underWay.store());
    } catch (const std::exception &exception) {
        return failed<Result>({Fault::OutOfMemory, QString::fromLocal8Bit(exception.what())});
    }
}

/// The same within a transaction, and alone among the threads of this process.
template <typename Call>
auto writing(const std::shared_ptr<OpenStore> &open, Call call) -> decltype(call(*open))
{
    using Result = decltype(call(*open));
    return guarded(open, [&call](OpenStore &store) -> Result {
        const Problem obstacle = store.whyNotWriting();
        if (!obstacle.ok())
            return failed<Result>(obstacle);
        const StoreLock::Turn turn(*store.lock);
        if (!turn.problem().ok())
            return failed<Result>(turn.problem());
        Transaction transaction(*store.database);
        if (!transaction.problem().ok())
            return failed<Result>(transaction.problem());
        Result result = call(store);
        if (!problemOf(result).ok())
            return result;
        const Problem problem = transaction.commit();
        return problem.ok() ? result : failed<Result>(problem);
    });
}

Answer<int> sweepNow(const OpenStore &store)
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*store.database);
    if (!all.ok())
        return {0, all.problem}; // what is named is not known, so everything may be
    const QSet<QByteArray> names = namesOf(all.value);
    return {store.pictures.sweep([&names](const QByteArray &hash) { return names.contains(hash); }), {}};
}

Answer<int> sweepAfterInterruption(const OpenStore &store)
{
    const StoreLock::Interruption &former = store.lock->interruption();
    if (!former.hasHappened)
        return {};
    if (!former.isOfThisBoot || former.pictures.contains(StoreLock::anyPicture))
        return sweepNow(store);
    int swept = 0;
    for (const QByteArray &hash : former.pictures) {
        const Answer<bool> isNamed = InspectionRows::isNamed(*store.database, hash);
        if (!isNamed.ok())
            return {swept, isNamed.problem};
        swept += store.pictures.sweepOne(hash, isNamed.value);
    }
    return {swept, {}};
}

// --- Opening ---------------------------------------------------------------------------------------------------------

/// Opens the database and brings it up to date.
Problem prepare(OpenStore *store, bool *isNew)
{
    const StoreFolder &folder = store->folder;
    store->database = std::make_unique<Database>(folder.database(), folder.suspicion());
    Database &database = *store->database;
    Problem problem = database.open(Database::Access::ReadWrite);
    database.bindTo(folder.lock(), store->lock->identity());
    if (problem.ok())
        problem = Schema::prepare(database, isNew);
    if (problem.ok())
        problem = database.run("DELETE FROM job WHERE 0"); // a file that is write-protected shows only now
    if (!problem.ok() || !QFileInfo(folder.suspicion()).isFile())
        return problem;

    // It was seen to be damaged. The check takes its time, so it is for such a case only.
    QStringList faults;
    problem = SearchIndex::mendIfWrong(database);
    if (problem.ok())
        problem = checkTables(database, &faults);
    if (problem.ok() && !faults.isEmpty())
        problem = {Fault::Damaged, QStringLiteral("%1: %2").arg(folder.database(), faults.first())};
    if (problem.ok())
        QFile::remove(folder.suspicion());
    return problem;
}

Opening beginAnew(OpenStore *store, const Problem &problem)
{
    const StoreFolder &folder = store->folder;
    const QString aside = store->lock->isUsed() ? QString() : folder.setAside();
    if (aside.isEmpty())
        return {Opened::No, {problem.fault, problem.text + QStringLiteral(", and it cannot be kept aside")}, {}, 0};
    QFile::remove(folder.suspicion());
    bool isNew = false;
    const Problem second = prepare(store, &isNew);
    if (second.ok())
        store->lock->settle(); // what was left was moved with the rest
    return {second.ok() ? Opened::BegunAnew : Opened::No, second.ok() ? problem : second, aside, 0};
}

Opening openAlone(OpenStore *store)
{
    const StoreFolder &folder = store->folder;
    const Problem detour = checkOwnFiles(folder);
    if (!detour.ok())
        return {Opened::No, detour, {}, 0};
    if (folder.isBeheaded())
        return beginAnew(
            store, {Fault::Damaged, folder.database() + QStringLiteral(" is missing, what belongs to it is not")});

    bool isNew = false;
    const Problem problem = prepare(store, &isNew);
    if (problem.ok()) {
        Opening opening;
        opening.how = isNew ? Opened::Begun : Opened::Usable;
        const Answer<int> swept = sweepAfterInterruption(*store);
        if (swept.ok())
            store->lock->settle();
        opening.swept = swept.value;
        return opening;
    }
    store->database.reset();
    return problem.fault == Fault::Damaged ? beginAnew(store, problem) : Opening{Opened::No, problem, {}, 0};
}

/// What this sweeps, moves or brings up to date, no other thread may be opening or writing.
Opening openForWriting(OpenStore *store)
{
    const StoreLock::Turn turn(*store->lock);
    if (!turn.problem().ok())
        return {Opened::No, turn.problem(), {}, 0};
    const Opening opening = openAlone(store);
    if (opening.canWrite())
        store->use = store->lock->use();
    return opening;
}

/// @param problem why not for writing
Opening openForReading(OpenStore *store, Opened how, const Problem &problem)
{
    const StoreFolder &folder = store->folder;
    const Opening none{Opened::No,
        problem.ok() ? Problem{Fault::NotFound, QStringLiteral("There is no store in %1").arg(folder.path())} : problem,
        {}, 0};
    if (!folder.hasDatabase())
        return none;

    const Problem second = openToRead(folder, folder.suspicion(), &store->database);
    if (second.fault == Fault::LaterVersion)
        return {Opened::LaterVersion, second, {}, 0};
    if (second.ok())
        return {how, problem, {}, 0};
    return {Opened::No, second, {}, 0};
}

Opening openFolder(OpenStore *store, RecordStore::Mode mode)
{
    if (mode == RecordStore::Mode::ReadOnly)
        return openForReading(store, Opened::AsReader, {});

    store->folder.make();
    Problem problem;
    store->lock = StoreLock::take(store->folder.path(), &problem);
    if (!store->lock)
        return openForReading(store, howWithout(problem.fault), problem);
    const Opening opening = openForWriting(store);
    if (opening.canWrite())
        return opening;
    store->close();
    if (opening.keptAside.isEmpty() && canBeRead(opening.problem.fault))
        return openForReading(store, howWithout(opening.problem.fault), opening.problem);
    return opening;
}

// --- Inspections -----------------------------------------------------------------------------------------------------

/// The pictures are on the disk before a row names them.
Answer<Id> addPictured(OpenStore &store, const Origin &origin, const Inspection &inspection, const QByteArray &picture)
{
    const QByteArray annotated = pngOf(inspection.annotatedImage());
    const StoreLock::Turn turn(*store.lock);
    if (!turn.problem().ok())
        return {noId, turn.problem()};
    if (!store.lock->note({PictureStore::hashOf(picture), PictureStore::hashOf(annotated)}))
        return {noId, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};
    NewPictures pictures(store.pictures);
    const Answer<QByteArray> source = pictures.put(picture);
    const Answer<QByteArray> painted = source.ok() ? pictures.put(annotated) : Answer<QByteArray>();
    for (const Problem &problem : {source.problem, painted.problem}) {
        if (!problem.ok())
            return {noId, problem};
    }

    Transaction transaction(*store.database);
    if (!transaction.problem().ok())
        return {noId, transaction.problem()};
    const Problem misplaced = checkPoint(*store.database, origin.point, inspection.standardId());
    if (!misplaced.ok())
        return {noId, misplaced};
    const Answer<Id> id = InspectionRows::add(*store.database, origin, inspection, {source.value, painted.value});
    if (!id.ok())
        return {noId, id.problem};
    const Problem problem = transaction.commit();
    if (!problem.ok())
        return {noId, problem};
    pictures.keep();
    return id;
}

Answer<StoredInspection> oneInspection(const OpenStore &store, Id id)
{
    Answer<StoredInspection> stored = InspectionRows::one(*store.database, id);
    stored.value.isPictureThere = store.pictures.contains(stored.value.picture);
    stored.value.isAnnotatedPictureThere = store.pictures.contains(stored.value.annotatedPicture);
    return stored;
}

Answer<Inspection> inspectedAgain(const OpenStore &store, Id id)
{
    const Answer<StoredInspection> stored = oneInspection(store, id);
    if (!stored.ok())
        return {{}, stored.problem};
    const Answer<QByteArray> bytes = store.pictures.read(stored.value.picture);
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

/// What verify() looks at, one inspection after the other.
class Verifying
{
public:
    Verifying(OpenStore &store, const GoesOn &goesOn)
        : mStore(store)
        , mGoesOn(store.asking(goesOn))
    {
    }

    Answer<Verification> run()
    {
        Problem problem = database();
        if (problem.ok())
            problem = inspections();
        return {mFound, problem};
    }

private:
    Problem database();
    Problem inspections();
    Problem record(Id id);
    void pictures(const InspectionRows::Named &named);

    OpenStore &mStore;
    const GoesOn mGoesOn;
    Verification mFound;
    bool mIsOurs = false; ///< a later version may write what is not known here
};

Problem Verifying::database()
{
    const Problem problem = checkWhole(*mStore.database, &mFound.databaseFaults);
    if (!problem.ok())
        return problem;
    mIsOurs = Schema::check(*mStore.database).fault != Fault::LaterVersion;
    const Answer<QString> bad = mIsOurs ? RowChecks::firstBad(*mStore.database) : Answer<QString>();
    if (!bad.ok() && mFound.databaseFaults.isEmpty())
        return bad.problem;
    if (!bad.value.isEmpty())
        mFound.databaseFaults << bad.value + QStringLiteral(" has a value that nothing here writes");
    return {};
}

Problem Verifying::inspections()
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*mStore.database);
    for (int i = 0; i < all.value.size(); ++i) {
        if (!mGoesOn(i, all.value.size()))
            return {Fault::Stopped, QStringLiteral("Stopped; not all was looked at")};
        const Problem problem = record(all.value[i].inspection);
        if (!problem.ok())
            return problem;
        pictures(all.value[i]);
    }
    return all.problem;
}

/// Whether it can be read back. One that is damaged ends nothing.
Problem Verifying::record(Id id)
{
    const Problem unreadable = mIsOurs ? InspectionRows::one(*mStore.database, id).problem : Problem();
    if (unreadable.fault == Fault::Damaged && mFound.databaseFaults.size() < mostFaults)
        mFound.databaseFaults << unreadable.text;
    return unreadable.fault == Fault::Damaged ? Problem() : unreadable;
}

void Verifying::pictures(const InspectionRows::Named &named)
{
    for (const QByteArray &hash : {named.pictures.source, named.pictures.annotated}) {
        if (hash.isEmpty())
            continue;
        const Fault fault = mStore.pictures.read(hash).problem.fault;
        if (fault != Fault::None)
            mFound.pictureFaults.append({named.inspection, hash, fault});
        ++mFound.pictures;
    }
}

/// Those that the copy of the database names are among those that this one names by now.
Problem copyPictures(const OpenStore &store, const PictureStore &target, Backup *done)
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*store.database);
    if (!all.ok())
        return all.problem;
    const QSet<QByteArray> names = namesOf(all.value);
    for (const QByteArray &hash : names) {
        const Answer<QByteArray> bytes = store.pictures.read(hash);
        const Problem problem = bytes.ok() ? target.put(bytes.value).problem : Problem();
        if (!problem.ok())
            return problem;
        ++(bytes.ok() ? done->pictures : done->missing);
    }
    return {};
}

/// Whether a copy may be written there.
Problem checkTarget(const OpenStore &store, const QString &folder)
{
    const Problem obstacle = store.database->checkPlace();
    if (!obstacle.ok())
        return obstacle;
    if (folder.isEmpty())
        return noFolder();
    const StoreFolder target(folder);
    if (QFile::exists(target.database()) || target.hasJournal()) // which would become part of the copy
        return invalid(QStringLiteral("There is a store in %1 already").arg(folder));
    if (isWithin(folder, store.folder.pictures())) // a sweep would take its pictures for unwanted ones
        return invalid(QStringLiteral("%1 lies among the pictures of the store").arg(folder));
    return {};
}

Answer<Backup> backUp(OpenStore &store, const QString &folder)
{
    const Problem obstacle = checkTarget(store, folder);
    if (!obstacle.ok())
        return {{}, obstacle};
    const StoreFolder target(folder);
    target.make();
    const FolderLock lock(folder);
    if (lock.isOthers())
        return {{}, {Fault::Busy, QStringLiteral("Another program writes into %1").arg(folder)}};
    const QString copy = target.database() + QStringLiteral(".unfinished");
    QFile::remove(copy);
    Problem problem = store.database->run("VACUUM INTO ?", {copy});
    Backup done;
    if (problem.ok())
        problem = copyPictures(store, PictureStore(target.pictures()), &done);
    const bool isWhole = problem.ok() && putOnDisk(copy) && QFile::rename(copy, target.database());
    WholeFile::syncFolder(folder);
    if (!isWhole)
        QFile::remove(copy);
    if (problem.ok() && !isWhole)
        problem = {Fault::Unusable, QStringLiteral("Cannot write %1").arg(target.database())};
    return {done, problem};
}

/// The pictures of another store that are not here, or are damaged here.
class PictureMerge
{
public:
    PictureMerge(const OpenStore &store, const PictureStore &source)
        : mStore(store)
        , mSource(source)
        , mNew(store.pictures)
    {
    }

    Problem run(const QSet<QByteArray> &names, const GoesOn &goesOn, Merge *done)
    {
        int looked = 0;
        for (const QByteArray &hash : names) {
            if (!goesOn(looked++, names.size()))
                return {Fault::Stopped, QStringLiteral("Stopped; nothing was merged")};
            const Problem problem = mStore.pictures.read(hash).ok() ? Problem() : take(hash, done);
            if (!problem.ok())
                return problem;
        }
        return {};
    }

    void keep() { mNew.keep(); }

private:
    Problem take(const QByteArray &hash, Merge *done)
    {
        const Answer<QByteArray> bytes = mSource.read(hash);
        ++(bytes.ok() ? done->pictures : bytes.problem.fault == Fault::PictureMissing ? done->missing : done->damaged);
        return bytes.ok() ? mNew.put(bytes.value).problem : Problem();
    }

    const OpenStore &mStore;
    const PictureStore mSource;
    NewPictures mNew;
};

/// The pictures are on the disk before a row names them.
Answer<Merge> mergeFrom(
    OpenStore &store, const Database &source, const PictureStore &sourcePictures, const GoesOn &goesOn)
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(source);
    if (!all.ok())
        return {{}, all.problem};
    const StoreLock::Turn turn(*store.lock);
    if (!turn.problem().ok())
        return {{}, turn.problem()};
    if (!store.lock->note({StoreLock::anyPicture}))
        return {{}, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};

    Merge done;
    PictureMerge pictures(store, sourcePictures);
    const Problem stopped = pictures.run(namesOf(all.value), goesOn, &done);
    if (!stopped.ok())
        return {{}, stopped};
    Transaction transaction(*store.database);
    Problem problem = transaction.problem();
    if (problem.ok())
        problem = MergeRows::copy(*store.database, source, goesOn, &done);
    if (problem.ok())
        problem = transaction.commit();
    if (!problem.ok())
        return {{}, problem};
    pictures.keep();
    store.lock->note({});
    return {done, {}};
}

Answer<Merge> mergeFolder(OpenStore &store, const QString &folder, const GoesOn &goesOn)
{
    const Problem obstacle = store.whyNotWriting();
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
        problem = checkForeign(*source, *store.database, place);
    if (!problem.ok())
        return {{}, problem};
    Answer<Merge> merged = mergeFrom(store, *source, PictureStore(place.pictures()), store.asking(goesOn));
    if (merged.problem.fault == Fault::Invalid) { // by a row that our tables refuse; they are not to blame
        QString reason = merged.problem.text;
        reason.remove(store.folder.database() + QStringLiteral(": "));
        merged.problem = {Fault::Damaged, QStringLiteral("%1: %2").arg(place.database(), reason)};
    }
    return merged;
}
} // namespace

RecordStore::RecordStore() = default;

RecordStore::~RecordStore()
{
    if (mOpen)
        mOpen->isAbandoned = true; // what its calls still need goes with the outermost of them
}

Opening RecordStore::open(const QString &folder, Mode mode)
{
    if (mOpen && mOpen->calls > 0)
        return {Opened::No, {Fault::Busy, QStringLiteral("The store is at work")}, {}, 0};
    close();
    if (folder.isEmpty())
        return {Opened::No, noFolder(), {}, 0};
    try {
        const auto opened = std::make_shared<OpenStore>(StoreFolder(folder));
        const Opening opening = openFolder(opened.get(), mode);
        if (opening.isOpen())
            mOpen = opened;
        return opening;
    } catch (const std::exception &exception) {
        return {Opened::No, {Fault::OutOfMemory, QString::fromLocal8Bit(exception.what())}, {}, 0};
    }
}

void RecordStore::close()
{
    if (mOpen && mOpen->calls == 0) // otherwise somebody was asked whether to go on
        mOpen.reset();
}

bool RecordStore::isOpen() const
{
    return mOpen != nullptr;
}

bool RecordStore::canWrite() const
{
    return mOpen && mOpen->lock;
}

// --- Jobs ------------------------------------------------------------------------------------------------------------

Answer<Job> RecordStore::addJob(const Job &job)
{
    const Problem problem = checkJob(job);
    if (!problem.ok())
        return {{}, problem};
    return writing(mOpen, [&](OpenStore &store) -> Answer<Job> {
        Job added = job;
        const Problem failure = JobRows::add(*store.database, &added);
        return {added, failure};
    });
}

Problem RecordStore::updateJob(const Job &job)
{
    const Problem problem = checkJob(job);
    if (!problem.ok())
        return problem;
    return writing(mOpen, [&](OpenStore &store) -> Problem {
        const Answer<Job> present = JobRows::one(*store.database, job.id);
        return present.ok() ? JobRows::update(*store.database, job) : present.problem;
    });
}

Answer<Job> RecordStore::job(Id id) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::one(*store.database, id); });
}

Answer<QVector<Job>> RecordStore::jobs(const Page &page) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::some(*store.database, usable(page)); });
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
    return writing(mOpen, [&](OpenStore &store) -> Answer<QVector<Point>> {
        const Answer<Job> present = JobRows::one(*store.database, job);
        if (!present.ok())
            return {{}, present.problem};
        const Problem failure = JobRows::addPoints(*store.database, job, names, run);
        if (!failure.ok())
            return {{}, failure};
        const Answer<QVector<Point>> all = JobRows::points(*store.database, job);
        return {all.value.mid(all.value.size() - names.size()), all.problem};
    });
}

Answer<QVector<Point>> RecordStore::points(Id job) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::points(*store.database, job); });
}

// --- Inspections -----------------------------------------------------------------------------------------------------

Answer<Id> RecordStore::addInspection(const Origin &origin, const Inspection &inspection, const QByteArray &picture)
{
    return guarded(mOpen, [&](OpenStore &store) -> Answer<Id> {
        const Problem obstacle = store.whyNotWriting();
        if (!obstacle.ok())
            return {noId, obstacle};
        if (inspection.reason() == Inspection::Reason::NotInspected)
            return {noId, invalid(QStringLiteral("Nothing was inspected"))};
        const Problem problem = checkTexts({origin.software, origin.device.name});
        return problem.ok() ? addPictured(store, completed(origin), inspection, picture) : Answer<Id>{noId, problem};
    });
}

Problem RecordStore::setDecision(Id inspection, Decision decision, const QString &note)
{
    const Problem problem = checkTexts({note});
    if (!problem.ok())
        return problem;
    return writing(
        mOpen, [&](OpenStore &store) { return InspectionRows::decide(*store.database, inspection, decision, note); });
}

Answer<QVector<InspectionSummary>> RecordStore::list(const Filter &filter, const Page &page) const
{
    return guarded(
        mOpen, [&](OpenStore &store) { return InspectionRows::some(*store.database, filter, usable(page)); });
}

Answer<int> RecordStore::count(const Filter &filter) const
{
    return guarded(mOpen, [&](OpenStore &store) { return InspectionRows::count(*store.database, filter); });
}

Answer<StoredInspection> RecordStore::inspection(Id id) const
{
    return guarded(mOpen, [id](const OpenStore &store) { return oneInspection(store, id); });
}

Answer<QByteArray> RecordStore::picture(const QByteArray &hash) const
{
    return guarded(mOpen, [&hash](const OpenStore &store) { return store.pictures.read(hash); });
}

Answer<Inspection> RecordStore::inspectAgain(Id id) const
{
    return guarded(mOpen, [id](const OpenStore &store) { return inspectedAgain(store, id); });
}

Answer<int> RecordStore::sweep()
{
    return writing(mOpen, [](OpenStore &store) { return sweepNow(store); });
}

Answer<Verification> RecordStore::verify(const std::function<bool(int done, int all)> &goesOn) const
{
    return guarded(mOpen, [&goesOn](OpenStore &store) { return Verifying(store, goesOn).run(); });
}

Answer<Backup> RecordStore::backup(const QString &folder) const
{
    return guarded(mOpen, [&folder](OpenStore &store) { return backUp(store, folder); });
}

Answer<Merge> RecordStore::merge(const QString &folder, const std::function<bool(int done, int all)> &goesOn)
{
    return guarded(mOpen, [&](OpenStore &store) { return mergeFolder(store, folder, goesOn); });
}

} // namespace Records
