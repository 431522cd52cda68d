// SPDX-License-Identifier: Apache-2.0
#include "Records/RecordStore.h"

#include "Helpers/TestNameGenerator.h"
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/OpenStore_p.h"
#include "Records/RecordDoubts_p.h"
#include "Records/StatisticsRows_p.h"
#include "Records/StoreBackup_p.h"
#include "Records/StoreInspection_p.h"
#include "Records/StoreMerge_p.h"
#include "Records/StoreOpening_p.h"
#include "Records/StoreSweep_p.h"
#include "Records/StoreVerification_p.h"

#include <QMetaEnum>
#include <QThread>

#include <algorithm>
#include <exception>
#include <functional>
#include <type_traits>

namespace Records {

using FiberInspection::Inspection;

namespace {
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

Problem checkTexts(const QStringList &texts)
{
    for (const QString &text : texts) {
        if (text.size() > RecordStore::maxTextLength)
            return invalid(QStringLiteral("A text of %1 characters is too long").arg(text.size()));
        if (!text.isValidUtf16()) // it would come back as another one
            return invalid(QStringLiteral("A text has bytes that are no characters"));
        if (text.startsWith(QChar(QChar::ByteOrderMark)) || text.startsWith(QChar(QChar::ByteOrderSwapped))) // the same
            return invalid(QStringLiteral("A text begins with a byte order mark"));
    }
    return {};
}

Problem checkJob(const Job &job)
{
    if (job.name.trimmed().isEmpty())
        return invalid(QStringLiteral("A job needs a name"));
    return checkTexts({job.name, job.customer, job.site, job.operatorName});
}

Problem checkEdges(const QVector<double> &edges)
{
    const bool areFinite = std::all_of(edges.cbegin(), edges.cend(), [](double edge) { return qIsFinite(edge); });
    const auto first = std::adjacent_find(edges.cbegin(), edges.cend(), std::greater_equal<>());
    if (areFinite && first == edges.cend() && edges.size() <= JobStatistics::maxEdges)
        return {};
    return invalid(QStringLiteral("The sizes between which defects are counted do not grow, or are too many"));
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
} // namespace

RecordStore::RecordStore() = default;

RecordStore::~RecordStore()
{
    if (mOpen)
        mOpen->isAbandoned = true; // what its calls still need goes with the outermost of them
}

bool RecordStore::isThere(const QString &folder)
{
    try {
        return StoreFolder::checkName(folder).ok() && StoreFolder(folder).hasDatabase();
    } catch (const std::exception &) {
        return false; // nor is there memory to open it
    }
}

Opening RecordStore::open(const QString &folder, Mode mode)
{
    if (mOpen && mOpen->calls > 0)
        return {Opened::No, {Fault::Busy, QStringLiteral("The store is at work")}, {}, 0};
    close();
    Problem obstacle = StoreFolder::checkName(folder);
    if (!obstacle.ok())
        return {Opened::No, obstacle, {}, 0};
    try {
        StoreFolder place(folder);
        obstacle = mode == Mode::ReadOnly ? Problem() : place.make();
        if (!obstacle.ok())
            return {Opened::No, obstacle, {}, 0};
        const auto opened = std::make_shared<OpenStore>(place);
        const Opening opening = openStore(opened.get(), mode);
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

bool RecordStore::isInPlace() const
{
    return guarded(mOpen, [](const OpenStore &store) { return store.database->checkPlace(); }).ok();
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

Answer<Job> RecordStore::jobOf(const QUuid &identity) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::withIdentity(*store.database, identity); });
}

Answer<QVector<Job>> RecordStore::jobs(const Page &page) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::some(*store.database, usable(page)); });
}

Answer<JobProgress> RecordStore::progress(Id job) const
{
    return guarded(mOpen, [&](OpenStore &store) { return JobRows::progress(*store.database, job); });
}

Answer<JobStatistics> RecordStore::statistics(Id job, const QVector<double> &sizeEdges) const
{
    const Problem problem = checkEdges(sizeEdges);
    if (!problem.ok())
        return {{}, problem};
    return guarded(
        mOpen, [&](const OpenStore &store) { return StatisticsRows::ofJob(*store.database, job, sizeEdges); });
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
        return problem.ok() ? storeInspection(store, origin, inspection, picture) : Answer<Id>{noId, problem};
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
    return guarded(mOpen, [id](const OpenStore &store) { return readInspection(store, id); });
}

Answer<Doubt> RecordStore::doubt(Id inspection) const
{
    return guarded(mOpen, [inspection](OpenStore &store) { return RecordDoubts(*store.database).of(inspection); });
}

Answer<QVector<Doubt>> RecordStore::doubts(const QVector<Id> &inspections) const
{
    return guarded(mOpen, [&inspections](OpenStore &store) -> Answer<QVector<Doubt>> {
        RecordDoubts all(*store.database);
        QVector<Doubt> doubts;
        for (const Id id : inspections) {
            const Answer<Doubt> doubt = all.of(id);
            if (!doubt.ok())
                return {{}, doubt.problem};
            doubts.append(doubt.value);
        }
        return {doubts, {}};
    });
}

Answer<QByteArray> RecordStore::picture(const QByteArray &hash) const
{
    return guarded(mOpen, [&hash](const OpenStore &store) { return store.pictures.read(hash); });
}

Answer<QString> RecordStore::picturePath(const QByteArray &hash) const
{
    return guarded(mOpen, [&hash](const OpenStore &store) { return findPicture(store, hash); });
}

Answer<bool> RecordStore::restorePicture(const QByteArray &picture)
{
    return guarded(mOpen, [&picture](const OpenStore &store) -> Answer<bool> {
        const Problem obstacle = store.whyNotWriting();
        return obstacle.ok() ? Records::restorePicture(store, picture) : Answer<bool>{false, obstacle};
    });
}

Answer<Inspection> RecordStore::inspectAgain(Id id) const
{
    return guarded(mOpen, [id](const OpenStore &store) { return inspectPictureOf(store, id); });
}

Answer<int> RecordStore::sweep()
{
    return writing(mOpen, [](OpenStore &store) { return sweepStore(store); });
}

Answer<Verification> RecordStore::verify(const std::function<bool(int done, int all)> &goesOn) const
{
    return guarded(mOpen, [&goesOn](OpenStore &store) { return verifyStore(store, goesOn); });
}

Answer<Backup> RecordStore::backup(const QString &folder) const
{
    return guarded(mOpen, [&folder](OpenStore &store) { return backUpStore(store, folder); });
}

Answer<Merge> RecordStore::merge(const QString &folder, const std::function<bool(int done, int all)> &goesOn)
{
    return guarded(mOpen, [&](OpenStore &store) { return mergeStore(store, folder, goesOn); });
}

} // namespace Records
