// SPDX-License-Identifier: Apache-2.0
#include "Records/AnnotatedPicture_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/RowChecks_p.h"
#include "Records/Schema_p.h"
#include "Records/SearchIndex_p.h"
#include "Records/StoreVerification_p.h"

namespace Records {

namespace {
constexpr int mostFaults = 100; // of a database that are told, which is how many its own check tells

constexpr const char *quickAnswer = "ok"; // of SQLite's own check

/// Whether the database is sound, and whether searching finds what is there. SQLite does not look into an index of
/// words.
Problem checkWhole(Database &database, QStringList *faults)
{
    const Problem planted = Schema::checkNothingComputes(database);
    if (planted.fault == Fault::Unusable) {
        faults->append(planted.text);
        return {};
    }
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

/// What verify() looks at, one inspection after the other.
class Verifying
{
public:
    Verifying(const OpenStore &store, const GoesOn &goesOn)
        : mStore(store)
        , mGoesOn(store.asking(goesOn))
    {
    }

    Answer<Verification> run()
    {
        Problem problem = database();
        if (problem.ok())
            problem = inspections();
        mFound.isComplete = problem.ok();
        return {mFound, problem};
    }

private:
    Problem database();
    Problem inspections();
    Problem record(Id id, InspectionRows::Reader *reader);
    void pictures(const InspectionRows::Named &named);

    const OpenStore &mStore;
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
    if (!mIsOurs)
        return {};
    const Answer<QStringList> ofIds = RowChecks::faultsOfIds(*mStore.database);
    if (!ofIds.ok() && mFound.databaseFaults.isEmpty())
        return ofIds.problem;
    mFound.databaseFaults << ofIds.value;
    const int room = qMax(1, mostFaults - mFound.databaseFaults.size());
    const Answer<QVector<RowChecks::Bad>> bad = RowChecks::allBad(*mStore.database, room, mGoesOn);
    if (bad.problem.fault == Fault::Stopped || (!bad.ok() && mFound.databaseFaults.isEmpty()))
        return bad.problem;
    for (const RowChecks::Bad &one : bad.value)
        mFound.databaseFaults << one.text();
    return {};
}

Problem Verifying::inspections()
{
    const Answer<QVector<InspectionRows::Named>> all = InspectionRows::allPictures(*mStore.database);
    InspectionRows::Reader reader(*mStore.database); // one for all: to prepare its queries takes longer than they do
    for (int i = 0; i < all.value.size(); ++i) {
        if (!mGoesOn(i, all.value.size()))
            return {Fault::Stopped, QStringLiteral("Stopped; not all was looked at")};
        const Problem problem = record(all.value[i].inspection, &reader);
        if (!problem.ok())
            return problem;
        pictures(all.value[i]);
    }
    return all.problem;
}

/// Whether it can be read back. One that is damaged ends nothing.
Problem Verifying::record(Id id, InspectionRows::Reader *reader)
{
    const Problem unreadable = mIsOurs ? reader->read(id).problem : Problem();
    if (unreadable.fault == Fault::Damaged && mFound.databaseFaults.size() < mostFaults)
        mFound.databaseFaults << unreadable.text;
    return unreadable.fault == Fault::Damaged ? Problem() : unreadable;
}

void Verifying::pictures(const InspectionRows::Named &named)
{
    for (const QByteArray &hash : {named.pictures.source, named.pictures.annotated}) {
        if (hash.isEmpty())
            continue;
        const Answer<QByteArray> bytes = mStore.pictures.read(hash);
        const bool isOfNone = bytes.ok() && hash == named.pictures.annotated && !isAnnotatedPicture(bytes.value);
        const Fault fault = isOfNone ? Fault::PictureDamaged : bytes.problem.fault;
        if (fault != Fault::None)
            mFound.pictureFaults.append({named.inspection, hash, fault});
        ++mFound.pictures;
    }
}
} // namespace

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

Answer<Verification> verifyStore(const OpenStore &store, const GoesOn &goesOn)
{
    return Verifying(store, goesOn).run();
}

} // namespace Records
