// SPDX-License-Identifier: Apache-2.0
#include "Records/AnnotatedPicture_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/MergeRows_p.h"
#include "Records/NewPictures_p.h"
#include "Records/RowChecks_p.h"
#include "Records/Schema_p.h"
#include "Records/StoreMerge_p.h"
#include "Records/StoreOpening_p.h"
#include "Records/StoreVerification_p.h"

#include <QFile>
#include <QFileInfo>

#include <sys/statvfs.h>

namespace Records {

namespace {
/// Whether all of a database of another unit may be taken over.
Problem checkForeign(const Database &database, const StoreFolder &place, const GoesOn &goesOn)
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
    const Answer<QStringList> ofIds = RowChecks::faultsOfIds(database);
    if (!ofIds.ok() || !ofIds.value.isEmpty())
        return ofIds.ok() ? Problem{Fault::Damaged, QStringLiteral("%1: %2").arg(place.database(), ofIds.value.first())}
                          : ofIds.problem;
    const Answer<QVector<RowChecks::Bad>> bad = RowChecks::allBad(database, 1, goesOn);
    if (bad.value.isEmpty())
        return bad.problem;
    const RowChecks::Bad &first = bad.value.first();
    const QString why = first.doubt.isEmpty() ? QString() : QStringLiteral(": ") + first.doubt;
    return {Fault::Damaged, QStringLiteral("%1 of the other store is damaged%2").arg(first.row, why)};
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

    Problem run(const QVector<InspectionRows::Named> &all, const GoesOn &goesOn, Merge *done)
    {
        QSet<QByteArray> names;
        for (const InspectionRows::Named &named : all) {
            names << named.pictures.source << named.pictures.annotated;
            mAnnotated << named.pictures.annotated;
        }
        names.remove({});
        const Problem room = checkRoom(names);
        if (!room.ok())
            return room;
        int looked = 0;
        for (const QByteArray &hash : qAsConst(names)) {
            if (!goesOn(looked++, names.size()))
                return {Fault::Stopped, QStringLiteral("Stopped; nothing was merged")};
            const Problem problem =
                mStore.pictures.keeps(hash) ? checkShown(hash, mStore.pictures.read(hash)) : take(hash, done);
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
    /// Files that are full of holes there take all of their size here.
    Problem checkRoom(const QSet<QByteArray> &names) const
    {
        qint64 size = 0;
        for (const QByteArray &hash : names) {
            const qint64 one = mStore.pictures.contains(hash) ? 0 : QFileInfo(mSource.path(hash)).size();
            size += one <= PictureStore::maxPictureSize ? one : 0; // larger ones are not read
        }
        struct statvfs disk = {};
        if (statvfs(QFile::encodeName(mStore.folder.path()).constData(), &disk) != 0
            || static_cast<quint64>(size) <= static_cast<quint64>(disk.f_bavail) * disk.f_frsize)
            return {};
        return {Fault::DiskFull, QStringLiteral("There is no room for pictures of %1 bytes").arg(size)};
    }

    Problem take(const QByteArray &hash, Merge *done)
    {
        const Answer<QByteArray> bytes = mSource.read(hash);
        const Problem unshown = checkShown(hash, bytes);
        if (!unshown.ok())
            return unshown;
        ++(bytes.ok() ? done->pictures : bytes.problem.fault == Fault::PictureMissing ? done->missing : done->damaged);
        return bytes.ok() ? mNew.put(bytes.value).problem : Problem();
    }

    /// What a record calls its annotated picture may be another picture, or none.
    Problem checkShown(const QByteArray &hash, const Answer<QByteArray> &bytes) const
    {
        if (!bytes.ok() || !mAnnotated.contains(hash) || isAnnotatedPicture(bytes.value))
            return {};
        return {Fault::Damaged,
            QStringLiteral("The annotated picture %1 of the other store is none").arg(QString::fromLatin1(hash))};
    }

    const OpenStore &mStore;
    const PictureStore mSource;
    NewPictures mNew;
    QSet<QByteArray> mAnnotated; ///< names
};

/// Who is asked may read the store, and lose the transaction by that.
Problem copyRows(
    const OpenStore &store, const Database &source, Transaction &transaction, const GoesOn &goesOn, Merge *done)
{
    Problem lost;
    const auto ask = [&](int looked, int all) {
        const bool isWanted = goesOn(looked, all);
        lost = transaction.checkStillOpen();
        return isWanted && lost.ok();
    };
    const Problem problem = MergeRows::copy(*store.database, source, ask, done);
    return lost.ok() ? problem : lost;
}

/// The pictures are on the disk before a row names them.
Answer<Merge> mergeFrom(
    const OpenStore &store, const Database &source, const PictureStore &sourcePictures, const GoesOn &goesOn)
{
    const Answer<QVector<InspectionRows::Named>> names = InspectionRows::allPictures(source);
    if (!names.ok())
        return {{}, names.problem};
    if (!store.lock->note({StoreLock::anyPicture}))
        return {{}, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};

    Merge done;
    PictureMerge pictures(store, sourcePictures);
    const Problem stopped = pictures.run(names.value, goesOn, &done);
    if (!stopped.ok())
        return {{}, stopped};
    store.database->emptyJournal(); // or what a full disk leaves of the transaction could not be given back
    Transaction transaction(*store.database);
    Problem problem = transaction.problem();
    if (problem.ok())
        problem = copyRows(store, source, transaction, goesOn, &done);
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
    const StoreLock::Turn turn(*store.lock); // who is asked whether to go on merges nothing meanwhile
    if (!turn.problem().ok())
        return {{}, turn.problem()};
    const GoesOn asking = store.asking(goesOn);
    std::unique_ptr<Database> source;
    problem = openToRead(place, {}, &source);
    if (problem.ok())
        problem = source->run("BEGIN"); // what its owner stores meanwhile is left for the next time
    if (problem.ok())
        problem = checkForeign(*source, place, asking);
    if (!problem.ok())
        return {{}, problem};
    Answer<Merge> merged = mergeFrom(store, *source, PictureStore(place.pictures()), asking);
    if (merged.problem.fault == Fault::Invalid) { // by a row that our tables refuse; they are not to blame
        QString reason = merged.problem.text;
        reason.remove(store.folder.database() + QStringLiteral(": "));
        merged.problem = {Fault::Damaged, QStringLiteral("%1: %2").arg(place.database(), reason)};
    }
    return merged;
}

} // namespace Records
