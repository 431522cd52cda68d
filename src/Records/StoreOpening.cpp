// SPDX-License-Identifier: Apache-2.0
#include "Records/Schema_p.h"
#include "Records/SearchIndex_p.h"
#include "Records/StoreOpening_p.h"
#include "Records/StoreSweep_p.h"
#include "Records/StoreVerification_p.h"

#include <QFile>
#include <QFileInfo>

namespace Records {

namespace {
Problem checkFiles(const StoreFolder &folder)
{
    const QString link = folder.link();
    if (!link.isEmpty())
        return {Fault::Unusable, QStringLiteral("%1 is a link").arg(link)};
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

    const bool wasThere = folder.hasDatabase();
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
    if (problem.fault == Fault::DiskFull && !wasThere)
        folder.removeDatabase(); // without its tables it would look like a store
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
} // namespace

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

Opening openStore(OpenStore *store, RecordStore::Mode mode)
{
    if (mode == RecordStore::Mode::ReadOnly)
        return openForReading(store, Opened::AsReader, {});

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

} // namespace Records
