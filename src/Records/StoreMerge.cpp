// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionRows_p.h"
#include "Records/MergeRows_p.h"
#include "Records/NewPictures_p.h"
#include "Records/RowChecks_p.h"
#include "Records/Schema_p.h"
#include "Records/StoreMerge_p.h"
#include "Records/StoreOpening_p.h"
#include "Records/StoreVerification_p.h"

namespace Records {

namespace {
/// Whether all of a database of another unit may be taken over.
Problem checkForeign(const Database &database, const StoreFolder &place)
{
    Problem problem = Schema::checkSame(database);
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

    void keepNamed(const Database &database)
    {
        mNew.keepIf([&database](const QByteArray &hash) {
            const Answer<bool> isNamed = InspectionRows::isNamed(database, hash);
            return isNamed.value || !isNamed.ok();
        });
    }

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
    const OpenStore &store, const Database &source, const PictureStore &sourcePictures, const GoesOn &goesOn)
{
    const Answer<QSet<QByteArray>> names = InspectionRows::pictureNames(source);
    if (!names.ok())
        return {{}, names.problem};
    const StoreLock::Turn turn(*store.lock);
    if (!turn.problem().ok())
        return {{}, turn.problem()};
    if (!store.lock->note({StoreLock::anyPicture}))
        return {{}, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};

    Merge done;
    PictureMerge pictures(store, sourcePictures);
    const Problem stopped = pictures.run(names.value, goesOn, &done);
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
    if (!done.contradictions.isEmpty()) // whose pictures nothing here names
        pictures.keepNamed(*store.database);
    else
        pictures.keep();
    store.lock->note({});
    return {done, {}};
}
} // namespace

Answer<Merge> mergeStore(const OpenStore &store, const QString &folder, const GoesOn &goesOn)
{
    Problem problem = store.whyNotWriting();
    if (problem.ok())
        problem = StoreFolder::checkName(folder);
    if (!problem.ok())
        return {{}, problem};
    const StoreFolder place(folder);
    if (!place.hasDatabase())
        return {{}, {Fault::NotFound, QStringLiteral("There is no store in %1").arg(folder)}};
    std::unique_ptr<Database> source;
    problem = openToRead(place, {}, &source);
    if (problem.ok())
        problem = source->run("BEGIN"); // what its owner stores meanwhile is left for the next time
    if (problem.ok())
        problem = checkForeign(*source, place);
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

} // namespace Records
