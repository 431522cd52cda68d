// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "OneProcess.h"
#include "OwnConnection.h"
#include "StoredFaces.h"

#include <QDir>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <ctime>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using namespace FiberInspection;
using namespace Records;

namespace {
constexpr unsigned longestWait = 3000; // microseconds

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Content by path, without what comes and goes with a connection.
QMap<QString, QByteArray> filesIn(const QString &folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        if (!path.endsWith(QLatin1String("-wal")) && !path.endsWith(QLatin1String("-shm")))
            files.insert(QDir(folder).relativeFilePath(path), contentOf(path));
    }
    return files;
}

/// All that is said about the inspections, the same in every store that has them; sorted.
QStringList contentOf(const RecordStore &store)
{
    QStringList content;
    const QVector<InspectionSummary> rows = store.list({}, {0, Page::maxRows}).value;
    for (const InspectionSummary &row : rows) {
        const StoredInspection one = store.inspection(row.id).value;
        const Job job = store.job(row.job).value;
        content << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9")
                       .arg(one.identity.toString(), job.identity.toString(), job.name, row.pointName,
                           QString::number(static_cast<int>(row.decision)), row.note,
                           QString::number(one.made.toMSecsSinceEpoch()), QString::fromLatin1(one.picture),
                           QString::number(one.isPictureThere && one.isAnnotatedPictureThere));
    }
    content.sort();
    return content;
}

const Face &badFace()
{
    return Face::of(QStringLiteral("pitted"));
}
} // namespace

/// Two units, each with a store of its own.
class TestRecordStoreMerge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *const name : {"clean", "pitted", "scratched"})
            Face::of(QString::fromLatin1(name)); // the processes find it done
    }

    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mHere = mDir->filePath(QStringLiteral("here"));
        mThere = mDir->filePath(QStringLiteral("there"));
    }

    void allThatTheOtherUnitHasIsTakenOver()
    {
        const Id original = fill(mThere, "Panel");
        fill(mHere, "Rack");
        RecordStore there;
        QVERIFY(there.open(mThere, RecordStore::Mode::ReadOnly).isOpen());
        RecordStore store;
        QVERIFY(store.open(mHere).canWrite());

        const Answer<Merge> merged = store.merge(mThere);

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.jobs, 1);
        QCOMPARE(merged.value.points, 2);
        QCOMPARE(merged.value.inspections, 3);
        QCOMPARE(merged.value.known, 0);
        QCOMPARE(merged.value.missing, 0);
        const Job job = store.jobs().value.first();
        QCOMPARE(job.name, QStringLiteral("Panel"));
        QCOMPARE(job.identity, there.job(original).value.identity);
        QCOMPARE(job.created, there.job(original).value.created);
        const QVector<Point> points = store.points(job.id).value;
        QCOMPARE(points.size(), 2);
        QCOMPARE(points[0].name, QStringLiteral("A1"));
        QCOMPARE(points[0].side, Side::B);
        QCOMPARE(points[0].fibre, FibreKind::MultiMode);
        QCOMPARE(points[1].state, PointState::Accepted);

        const StoredInspection was = there.inspection(2).value;
        Filter filter;
        filter.text = QStringLiteral("panel scratched"); // by its job and its note
        const Id id = store.list(filter).value.value(0).id;
        const StoredInspection is = store.inspection(id).value;
        QCOMPARE(is.identity, was.identity);
        QCOMPARE(is.made, was.made);
        QCOMPARE(is.verdict, was.verdict);
        QCOMPARE(is.zones, was.zones);
        QCOMPARE(is.defects, was.defects);
        QCOMPARE(is.crop, was.crop);
        QCOMPARE(is.claddingCircle, was.claddingCircle);
        QCOMPARE(is.grayLevels, was.grayLevels);
        QCOMPARE(is.counts, was.counts);
        QCOMPARE(is.micronsPerPixel, was.micronsPerPixel);
        QCOMPARE(is.origin.seed, was.origin.seed);
        QCOMPARE(is.origin.focusValue, was.origin.focusValue);
        QCOMPARE(is.origin.software, was.origin.software);
        QCOMPARE(is.decision, was.decision);
        QCOMPARE(is.note, was.note);
        QVERIFY(is.isPictureThere && is.isAnnotatedPictureThere);
        QVERIFY(store.inspectAgain(id).value == badFace().inspection);
        QVERIFY(store.verify().value.allWell());
        QCOMPARE(sweptBy(&store), 0);
    }

    void twiceIsOnce()
    {
        fill(mThere, "Panel");
        RecordStore store;
        QVERIFY(store.open(mHere).canWrite());
        QVERIFY(store.merge(mThere).ok());
        const QStringList before = contentOf(store);

        const Answer<Merge> again = store.merge(mThere);

        QVERIFY2(again.ok(), qPrintable(again.problem.text));
        QCOMPARE(again.value.jobs + again.value.points + again.value.inspections + again.value.pictures, 0);
        QCOMPARE(again.value.known, 3);
        QCOMPARE(again.value.decisions, QVector<Id>());
        QCOMPARE(again.value.disagreements, QVector<Id>());
        QCOMPARE(contentOf(store), before);
        QCOMPARE(store.merge(mHere).value.known, 3); // itself
    }

    void bothDirectionsEndInTheSame()
    {
        fill(mThere, "Panel");
        RecordStore there;
        QVERIFY(there.open(mThere).canWrite());
        QVERIFY(there.backup(mHere).ok());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        for (RecordStore *const store : {&here, &there}) { // both go on with the job
            const Id job = store->jobs().value.first().id;
            const QString own = store == &here ? QStringLiteral("H1") : QStringLiteral("T1");
            const QVector<Point> added = store->addPoints(job, {own, own, Side::A, FibreKind::Unknown}).value;
            QVERIFY(Face::of(QStringLiteral("clean")).addTo(*store, added.first().id).ok());
            QVERIFY(badFace().addTo(*store, store->points(job).value.first().id).ok());
        }

        const Answer<Merge> one = here.merge(mThere);
        const Answer<Merge> other = there.merge(mHere);

        QVERIFY2(one.ok() && other.ok(), qPrintable(one.problem.text + other.problem.text));
        for (const Merge &merge : {one.value, other.value}) {
            QCOMPARE(merge.jobs, 0);
            QCOMPARE(merge.points, 1);
            QCOMPARE(merge.inspections, 2);
        }
        QCOMPARE(one.value.known, 3);
        QCOMPARE(other.value.known, 5);
        QCOMPARE(contentOf(here), contentOf(there));
        QCOMPARE(contentOf(here).size(), 7);
        QCOMPARE(here.points(1).value.size(), 4);
        QVERIFY(here.verify().value.allWell() && there.verify().value.allWell());
    }

    void whatWasDecidedOnOneSideIsTakenOver()
    {
        fill(mThere, "Panel");
        RecordStore there;
        QVERIFY(there.open(mThere).canWrite());
        QVERIFY(there.backup(mHere).ok());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QVERIFY(there.setDecision(1, Decision::ToRepeat, {}).ok());
        QVERIFY(here.setDecision(3, Decision::Undecided, QStringLiteral("look again")).ok());
        QVERIFY(there.setDecision(2, Decision::ToRepeat, QStringLiteral("no")).ok()); // accepted here

        const Answer<Merge> one = here.merge(mThere);

        QVERIFY2(one.ok(), qPrintable(one.problem.text));
        QCOMPARE(one.value.decisions, QVector<Id>({1}));
        QCOMPARE(one.value.disagreements, QVector<Id>({2}));
        QCOMPARE(here.inspection(1).value.decision, Decision::ToRepeat);
        QCOMPARE(here.inspection(2).value.decision, Decision::Accepted);
        QCOMPARE(here.inspection(3).value.note, QStringLiteral("look again"));
        QCOMPARE(there.merge(mHere).value.decisions, QVector<Id>({3}));
        QCOMPARE(there.inspection(3).value.note, QStringLiteral("look again"));
        Filter filter;
        filter.text = QStringLiteral("look");
        QCOMPARE(there.count(filter).value, 1);
    }

    void anInspectionThatSaysSomethingElseThereIsTold()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QCOMPARE(here.open(mHere).how, Opened::Begun);
        QCOMPARE(here.merge(mThere).value.inspections, 3);
        QCOMPARE(
            OwnConnection(mThere).run(QStringLiteral("UPDATE inspection SET contours = contours + 1, decision = 1, "
                                                     "note = 'x' WHERE id = 1")),
            QStringList());
        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.value.known, 3);
        QCOMPARE(merged.value.contradictions, QVector<Id>({1}));
        QCOMPARE(merged.value.decisions, QVector<Id>()); // of another inspection, for all we know
        QVERIFY(here.inspection(1).value.counts == Face::of(QStringLiteral("scratched")).inspection.counts());
        QCOMPARE(here.inspection(1).value.decision, Decision::Undecided);
    }

    void anInspectionWhosePartsSaySomethingElseThereIsTold_data()
    {
        QTest::addColumn<QString>("otherwise");
        QTest::newRow("point") << QStringLiteral("UPDATE inspection SET point = 2 WHERE id = 1");
        QTest::newRow("no point") << QStringLiteral("UPDATE inspection SET point = NULL WHERE id = 1");
        QTest::newRow("zone") << QStringLiteral("UPDATE zone SET outer_diameter = outer_diameter + 1 "
                                                "WHERE inspection = 1 AND zone = 0");
        QTest::newRow("rule") << QStringLiteral("UPDATE rule SET allowed = allowed + 1000 "
                                                "WHERE inspection = 1 AND violated = 0 AND allowed <> -1");
        QTest::newRow("one rule less") << QStringLiteral("DELETE FROM rule WHERE inspection = 1 AND position = "
                                                         "(SELECT max(position) FROM rule WHERE inspection = 1 "
                                                         "AND zone = 1 AND violated = 0) AND zone = 1");
        QTest::newRow("place of a defect") << QStringLiteral("UPDATE defect SET x = x + 50 WHERE inspection = 1");
        QTest::newRow("outline of a defect")
            << QStringLiteral("UPDATE defect SET shape = x'%1' WHERE inspection = 1 AND position = "
                              "(SELECT max(position) FROM defect WHERE inspection = 1)")
                   .arg(QString::fromLatin1(shapeOf(1, -1).toHex()));
    }
    void anInspectionWhosePartsSaySomethingElseThereIsTold()
    {
        QFETCH(const QString, otherwise);
        fill(mThere, "Panel");
        OwnConnection(mThere).run(QStringLiteral("UPDATE inspection SET software = 'of others, with their rules'"));
        RecordStore here;
        QCOMPARE(here.open(mHere).how, Opened::Begun);
        QCOMPARE(here.merge(mThere).value.inspections, 3);
        const StoredInspection before = here.inspection(1).value;
        QCOMPARE(OwnConnection(mThere).run(otherwise), QStringList());

        const Answer<Merge> merged = here.merge(mThere);

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.known, 3);
        QCOMPARE(merged.value.contradictions, QVector<Id>({1}));
        const StoredInspection after = here.inspection(1).value;
        QCOMPARE(after.point, before.point);
        QCOMPARE(after.zones, before.zones);
        QCOMPARE(after.defects, before.defects);
    }

    void aPointOfAnotherFibreThereIsTold()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QCOMPARE(here.open(mHere).how, Opened::Begun);
        QCOMPARE(here.merge(mThere).value.otherFibres, QVector<Id>());
        QCOMPARE(here.merge(mThere).value.otherFibres, QVector<Id>());
        QCOMPARE(OwnConnection(mThere).run(QStringLiteral("UPDATE point SET fibre = 1 WHERE id = 2")), QStringList());

        QCOMPARE(here.merge(mThere).value.otherFibres, QVector<Id>({2}));
        QCOMPARE(here.points(1).value.value(1).fibre, FibreKind::MultiMode);
    }

    void nothingIsKeptOfAnInspectionThatSaysSomethingElseThere()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QCOMPARE(here.open(mHere).how, Opened::Begun);
        QCOMPARE(here.merge(mThere).value.inspections, 3);
        const QByteArray other = PictureStore(mThere + QStringLiteral("/pictures")).put("other").value.hash;
        QCOMPARE(
            OwnConnection(mThere).run(
                QStringLiteral("UPDATE inspection SET picture = x'%1' WHERE id = 1").arg(QString::fromLatin1(other))),
            QStringList());

        QCOMPARE(here.merge(mThere).value.contradictions, QVector<Id>({1}));
        QCOMPARE(here.picture(other).problem.fault, Fault::PictureMissing);
        QVERIFY(here.verify().value.allWell());
    }

    void aPointThatIsJudgedAnewIsTold()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QCOMPARE(here.open(mHere).how, Opened::Begun);
        const Answer<Merge> first = here.merge(mThere);
        QCOMPARE(first.value.judgedAnew, QVector<Id>()); // it was not judged here before
        const Id point = here.points(here.jobs().value.first().id).value.first().id;
        {
            RecordStore there;
            QVERIFY(there.open(mThere).canWrite());
            const Id pointThere = there.points(there.jobs().value.first().id).value.first().id;
            QVERIFY(Face::of(QStringLiteral("clean")).addTo(there, pointThere).ok());
        }
        QVERIFY(badFace().addTo(here, point).ok()); // later

        QCOMPARE(here.merge(mThere).value.judgedAnew, QVector<Id>({point}));
        QCOMPARE(here.points(here.jobs().value.first().id).value.first().state, PointState::Passed);
        QCOMPARE(here.merge(mThere).value.judgedAnew, QVector<Id>());
    }

    void aPictureThatIsGoneHereComesFromThere()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QVERIFY(here.merge(mThere).ok());
        QVERIFY(PictureStore(mHere + QStringLiteral("/pictures")).remove(here.inspection(1).value.picture));

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.value.pictures, 1);
        QVERIFY(here.verify().value.allWell());
    }

    void anAnnotatedPictureThatIsNoneIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isHere"); // as a photograph of a record
        constexpr quint32 side = 30000; // pixels; 109,445 bytes would be gigabytes
        constexpr quint32 longest = 1 << 20; // pixels that decoders take in a row
        for (const bool isHere : {false, true}) {
            const char *const where = isHere ? "here" : "there";
            QTest::addRow("of gigabytes, %s", where) << pngOf(side, side) << isHere;
            QTest::addRow("of one long row, %s", where) << pngOf(longest + 1, 1) << isHere;
            QTest::addRow("of no pixels, %s", where) << pngOf(0, side) << isHere;
            QTest::addRow("that overflows, %s", where) << pngOf(~0U, ~0U) << isHere;
            QTest::addRow("another format, %s", where) << badFace().picture << isHere;
            QTest::addRow("text, %s", where) << QByteArray("text") << isHere;
        }
    }
    void anAnnotatedPictureThatIsNoneIsRefused()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const bool, isHere);
        fill(mThere, "Panel");
        const QByteArray hash = PictureStore(mThere + QStringLiteral("/pictures")).put(bytes).value.hash;
        QCOMPARE(
            OwnConnection(mThere).run(
                QStringLiteral("UPDATE inspection SET annotated = x'%1' WHERE id = 1").arg(QString::fromLatin1(hash))),
            QStringList());
        RecordStore there;
        QVERIFY(there.open(mThere, RecordStore::Mode::ReadOnly).isOpen());
        QCOMPARE(there.verify().value.pictureFaults.size(), 1);
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        if (isHere)
            QVERIFY(here.addInspection(badFace().origin(), badFace().inspection, bytes).ok());
        const auto files = filesIn(mHere + QStringLiteral("/pictures"));

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::Damaged);
        QVERIFY2(merged.problem.text.contains(QLatin1String("The annotated picture")), qPrintable(merged.problem.text));
        QCOMPARE(here.jobs().value.size(), 0);
        QCOMPARE(filesIn(mHere + QStringLiteral("/pictures")), files);
    }

    void aPictureThatIsGoneThereIsTold()
    {
        fill(mThere, "Panel");
        RecordStore there;
        QVERIFY(there.open(mThere, RecordStore::Mode::ReadOnly).isOpen());
        QVERIFY(PictureStore(mThere + QStringLiteral("/pictures")).remove(there.inspection(1).value.picture));
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());

        const Answer<Merge> merged = here.merge(mThere);

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.missing, 1);
        QCOMPARE(merged.value.inspections, 3);
        QVERIFY(!here.inspection(1).value.isPictureThere);
    }

    void aPictureThatIsDamagedHereComesFromThere()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QVERIFY(here.merge(mThere).ok());
        damage(mHere, here.inspection(1).value.picture);

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.value.pictures, 1);
        QVERIFY(here.verify().value.allWell());
    }

    void aPictureBehindALinkHereComesFromThere()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QVERIFY(here.merge(mThere).ok());
        const PictureStore pictures(mHere + QStringLiteral("/pictures"));
        const QByteArray hash = here.inspection(1).value.picture;
        const QString elsewhere = mDir->filePath(QStringLiteral("elsewhere"));
        QVERIFY(QFile::rename(pictures.path(hash), elsewhere));
        QVERIFY(QFile::link(elsewhere, pictures.path(hash)));

        QCOMPARE(here.merge(mThere).value.pictures, 1);
        QVERIFY(QFile::remove(elsewhere));
        QVERIFY(here.verify().value.allWell());
    }

    void aPictureThatIsDamagedThereIsTold()
    {
        fill(mThere, "Panel");
        RecordStore there;
        QVERIFY(there.open(mThere, RecordStore::Mode::ReadOnly).isOpen());
        damage(mThere, there.inspection(1).value.picture);
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());

        const Answer<Merge> merged = here.merge(mThere);

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.missing, 0);
        QCOMPARE(merged.value.damaged, 1);
        QVERIFY(!here.inspection(1).value.isPictureThere);
    }

    // As SQLite does it when a disk fails in what the receiver reads.
    void nothingIsMergedWhenTheTransactionIsLostInBetween()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        const QStringList connections = QSqlDatabase::connectionNames();
        QCOMPARE(connections.size(), 1);
        bool isLost = false;

        const Answer<Merge> merged = here.merge(mThere, [&](int, int) {
            QSqlQuery query(QSqlDatabase::database(connections.first(), false));
            isLost |= query.exec(QStringLiteral("ROLLBACK")); // there is none while the pictures are copied
            return true;
        });

        QVERIFY(isLost);
        QVERIFY(!merged.ok());
        QCOMPARE(merged.problem.fault, Fault::Unusable);
        QCOMPARE(here.jobs().value.size(), 0);
        QCOMPARE(contentOf(here), QStringList());
        QVERIFY(here.verify().value.allWell());
        QCOMPARE(here.merge(mThere).value.inspections, 3);
    }

    void theOtherStoreIsOnlyRead_data()
    {
        QTest::addColumn<bool>("isReadOnly");
        QTest::newRow("writable") << false;
        QTest::newRow("read-only") << true;
    }
    void theOtherStoreIsOnlyRead()
    {
        QFETCH(const bool, isReadOnly);
        fill(mThere, "Panel");
        const auto before = filesIn(mThere);
        if (isReadOnly)
            QFile::setPermissions(mThere, QFile::ReadOwner | QFile::ExeOwner);

        Answer<Merge> merged;
        Faults::withoutOverride([&] {
            RecordStore here;
            if (here.open(mHere).canWrite())
                merged = here.merge(mThere);
        });
        QFile::setPermissions(mThere, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        QCOMPARE(merged.value.inspections, 3);
        QCOMPARE(filesIn(mThere), before);
    }

    void itsOwnerMayWriteMeanwhile()
    {
        fill(mThere, "Panel");
        RecordStore there;
        QVERIFY(there.open(mThere).canWrite());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());

        const Answer<Merge> merged = here.merge(mThere, [&there](int, int) {
            return badFace().addTo(there).ok(); // more and more
        });

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.inspections, 3); // as it was at the beginning
        QVERIFY(here.verify().value.allWell());
        QVERIFY(here.merge(mThere).value.inspections > 0);
        QCOMPARE(contentOf(here), contentOf(there));
    }

    void whatIsNoGoodStoreIsRefused_data()
    {
        QTest::addColumn<QString>("harm"); // a statement, or what to do with the file
        QTest::addColumn<int>("fault");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *harm, Fault fault, const QByteArray &text) {
            QTest::newRow(name) << QString::fromLatin1(harm) << static_cast<int>(fault) << QString::fromLatin1(text);
        };
        row("missing", "remove", Fault::NotFound, "There is no store in ");
        row("garbage", "garbage", Fault::Damaged, "not a database");
        row("cut", "cut", Fault::Damaged, "records.sqlite: ");
        row("later", "PRAGMA user_version = 99", Fault::LaterVersion, "The store has version 99");
        row("foreign", "PRAGMA application_id = 7", Fault::Foreign, "none of ours");
        row("table gone", "DROP TABLE defect", Fault::Damaged, "missing");
        row("orphan", "UPDATE point SET job = 99", Fault::Damaged, "belongs to nothing");
        row("constraints gone",
            "CREATE TABLE other AS SELECT * FROM defect; DROP TABLE defect; ALTER TABLE other RENAME TO defect; "
            "UPDATE defect SET position = 1",
            Fault::Damaged, "A table of the store is not as it was made");
        row("table of its own", "CREATE TABLE other (a INTEGER CHECK (length(printf('%.*c', a, 'x')) > 0))",
            Fault::Damaged, "A table of the store is not as it was made");
        row("index of its own", "CREATE INDEX other ON job (site)", Fault::Damaged,
            "A table of the store is not as it was made");
        row("index that computes", "CREATE INDEX other ON job (abs(id))", Fault::Unusable, "\"other\" that computes");
        row("against a constraint", "PRAGMA ignore_check_constraints = ON; UPDATE inspection SET reason = 'no fibre'",
            Fault::Damaged, "CHECK constraint failed");
        const auto damaged = [row](const char *name, const char *harm, const char *what = "Inspection 1") {
            row(name, harm, Fault::Damaged, QByteArray(what) + " of the other store is damaged");
        };
        damaged("shape", "UPDATE defect SET shape = x'00'");
        damaged("standard of a job", "UPDATE job SET standard = 99", "Job 1");
        damaged("text of a job", "UPDATE job SET customer = printf('%.*c', 4001, 'x')", "Job 1");
        damaged("text that ends early", "UPDATE job SET site = 'x' || char(0) || printf('%.*c', 20000, 'x')", "Job 1");
        damaged("text that would come back as another one", "UPDATE job SET site = char(65279) || 'x'", "Job 1");
        damaged("text that would come back swapped", "UPDATE inspection SET scope = CAST(x'EFBFBE41' AS TEXT)");
        damaged("time of a job", "UPDATE job SET closed = 9223372036854775807", "Job 1");
        damaged("side", "UPDATE point SET side = 9 WHERE id = 2", "Point 2");
        damaged("fibre", "UPDATE point SET fibre = -1 WHERE id = 2", "Point 2");
        damaged("standard", "UPDATE inspection SET standard = 99");
        damaged("standard of none of its job", "UPDATE inspection SET standard = 3 WHERE id = 2", "Inspection 2");
        damaged("verdict",
            "PRAGMA ignore_check_constraints = ON; UPDATE inspection SET verdict = 7, reason = 'none' WHERE id = 1");
        damaged("verdict against its rules", "UPDATE inspection SET verdict = 1 WHERE id = 1");
        damaged("failed without a reason", "UPDATE inspection SET verdict = 2 WHERE id = 3", "Inspection 3");
        damaged("passed without rules",
            "UPDATE inspection SET verdict = 1 WHERE id = 1; DELETE FROM defect WHERE inspection = 1; "
            "DELETE FROM rule WHERE inspection = 1; DELETE FROM zone WHERE inspection = 1");
        damaged("rule that is not violated by more than it allows", "UPDATE rule SET violated = 0");
        damaged("zone without the violations of its rules",
            "UPDATE inspection SET verdict = 1 WHERE id = 1; UPDATE zone SET violations = 0 WHERE inspection = 1");
        damaged("defect that fails where nothing is violated",
            "UPDATE inspection SET verdict = 1 WHERE id = 1; UPDATE zone SET violations = 0 WHERE inspection = 1; "
            "UPDATE rule SET violated = 0, found = 0 WHERE inspection = 1");
        damaged("rule that found less than there is",
            "UPDATE inspection SET verdict = 1 WHERE id = 1; UPDATE zone SET violations = 0 WHERE inspection = 1; "
            "UPDATE rule SET violated = 0, found = 0 WHERE inspection = 1; UPDATE defect SET fails = 0");
        damaged("decision", "UPDATE inspection SET decision = 77");
        damaged("note", "UPDATE inspection SET note = printf('%.*c', 20000000, 'x')");
        damaged("no year of ours", "UPDATE inspection SET made = 253402300800000");
        damaged("least time", "UPDATE inspection SET made = -9223372036854775807");
        damaged("infinite scale", "UPDATE inspection SET scale = 9e999");
        damaged("infinite focus", "UPDATE inspection SET focus = -9e999");
        damaged("radius", "UPDATE inspection SET cladding_radius = -5");
        damaged("field of view", "UPDATE inspection SET fov_width = 99999999999");
        damaged("grey", "UPDATE inspection SET gray_around_core = 9999");
        damaged("count", "UPDATE inspection SET contours = -5");
        damaged("unknown zone",
            "DELETE FROM rule WHERE inspection = 1 AND zone = 1; DELETE FROM defect WHERE inspection = 1; "
            "UPDATE zone SET zone = 9 WHERE inspection = 1 AND zone = 1");
        damaged("rule", "UPDATE rule SET operator = 9");
        damaged("defect of no zone", "UPDATE defect SET zone = 3");
        damaged("kind of a defect", "UPDATE defect SET kind = 9");
        damaged("size of a defect", "UPDATE defect SET size = 9e999");
        damaged("too many rules",
            "WITH n (i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 1300) "
            "INSERT INTO rule SELECT 1, 0, i, 0, 0, 1, 1, 1, 1, 0 FROM n");
    }
    void whatIsNoGoodStoreIsRefused()
    {
        QFETCH(const QString, harm);
        QFETCH(const int, fault);
        QFETCH(const QString, text);
        fill(mThere, "Panel");
        fill(mHere, "Rack");
        harmStore(harm);
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        const QStringList before = contentOf(here);
        const auto files = filesIn(mHere + QStringLiteral("/pictures"));
        const auto others = filesIn(mThere);

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(static_cast<int>(merged.problem.fault), fault);
        QVERIFY2(merged.problem.text.contains(text), qPrintable(merged.problem.text));
        QVERIFY2(!merged.problem.text.contains(mHere), qPrintable(merged.problem.text)); // which is well
        QCOMPARE(merged.value.inspections, 0);
        QCOMPARE(contentOf(here), before);
        QCOMPARE(here.jobs().value.size(), 1);
        QCOMPARE(filesIn(mHere + QStringLiteral("/pictures")), files);
        QCOMPARE(filesIn(mThere), others); // no note that it is damaged, either
        here.close();
        QCOMPARE(here.open(mHere).how, Opened::Usable);
    }

    void anInspectionOfTooMuchIsNeitherTakenOverNorShown_data()
    {
        QTest::addColumn<int>("defects"); // that are added
        QTest::addColumn<int>("points"); // of the outline of each
        QTest::addColumn<qint64>("told"); // bytes that the shape tells to unpack to; -1: the truth
        QTest::newRow("defects") << RecordStore::maxDefects + 1 << 1 << qint64(-1);
        QTest::newRow("points of all") << 5 << RecordStore::maxOutlinePoints / 4 << qint64(-1);
        QTest::newRow("points of one") << 1 << RecordStore::maxOutlinePoints + 1 << qint64(-1);
        QTest::newRow("more than is told") << 1 << 1000 << qint64(100);
        QTest::newRow("less than is told") << 1 << 1000 << qint64(100000);
    }
    void anInspectionOfTooMuchIsNeitherTakenOverNorShown()
    {
        QFETCH(const int, defects);
        QFETCH(const int, points);
        QFETCH(const qint64, told);
        fill(mThere, "Panel");
        const QByteArray shape = shapeOf(points, told);
        QCOMPARE(OwnConnection(mThere).run(
                     QStringLiteral("WITH n (i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                                    "INSERT INTO defect SELECT 1, i, 0, 0, 1.0, 0.0, 0.0, 0, x'%2' FROM n")
                         .arg(QString::number(1000 + defects - 1), QString::fromLatin1(shape.toHex()))),
            QStringList());
        matchFirstRule(1, defects);
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        RecordStore there;
        QVERIFY(there.open(mThere, RecordStore::Mode::ReadOnly).isOpen());

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::Damaged);
        QCOMPARE(merged.problem.text, QStringLiteral("Inspection 1 of the other store is damaged"));
        QCOMPARE(here.count().value, 0);
        QCOMPARE(there.inspection(1).problem.fault, Fault::Damaged);
        QVERIFY(there.inspection(2).ok());
    }

    void longWorkOnOneInspectionCanBeStopped()
    {
        constexpr int defects = 5000;
        fill(mThere, "Panel");
        OwnConnection(mThere).run(
            QStringLiteral("WITH n (i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                           "INSERT INTO defect SELECT 3, i, 0, 0, 1.0, 0.0, 0.0, 0, x'%2' FROM n")
                .arg(QString::number(1000 + defects - 1), QString::fromLatin1(shapeOf(1, -1).toHex())));
        matchFirstRule(3, defects);
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        int called = 0;
        constexpr int ordinary = 6 + 3; // pictures and inspections

        const Answer<Merge> merged = here.merge(mThere, [&called](int, int) { return ++called <= ordinary; });

        QCOMPARE(merged.problem.fault, Fault::Stopped);
        QCOMPARE(called, ordinary + 1);
        QCOMPARE(here.count().value, 0);
    }

    void aJobThatBothHaveIsOfOneStandard()
    {
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QVERIFY(here.merge(mThere).ok());
        {
            OwnConnection connection(mThere);
            connection.run(QStringLiteral("UPDATE job SET standard = 3"));
            connection.run(QStringLiteral("UPDATE inspection SET standard = 3, identity = randomblob(16), "
                                          "software = 'of others, with their rules'"));
        }

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::Damaged);
        QVERIFY2(merged.problem.text.contains(QLatin1String("Job 1 of the other store has another standard here")),
            qPrintable(merged.problem.text));
        QCOMPARE(here.count().value, 3);
    }

    void aStoreOfManyRowsCanBeStopped_data()
    {
        QTest::addColumn<QString>("rows");
        QTest::newRow("jobs") << manyJobs(3000);
        QTest::newRow("points") << manyPoints(3000);
    }
    void aStoreOfManyRowsCanBeStopped()
    {
        QFETCH(const QString, rows);
        fill(mThere, "Panel");
        QCOMPARE(OwnConnection(mThere).run(rows), QStringList());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        constexpr int pictures = 6;
        constexpr int inspections = 3;
        int called = 0;

        const Answer<Merge> stopped = here.merge(mThere, [&called](int, int) { return ++called <= pictures; });

        QCOMPARE(stopped.problem.fault, Fault::Stopped);
        QCOMPARE(called, pictures + 1);
        QCOMPARE(here.jobs().value.size(), 0);
        called = 0;
        QVERIFY(here.merge(mThere, [&called](int, int) { return ++called > 0; }).ok());
        QVERIFY2(called >= pictures + 3 + inspections, qPrintable(QString::number(called))); // each thousand
    }

    void aStoreOfTooManyRowsIsRefused_data()
    {
        QTest::addColumn<QString>("rows");
        QTest::addColumn<QString>("text");
        QTest::newRow("jobs") << manyJobs(RecordStore::maxMergedJobs) << "The other store has 100001 jobs";
        QTest::newRow("points") << manyPoints(RecordStore::maxMergedPoints) << "The other store has 1000002 points";
        QTest::newRow("points of a job") << manyPoints(RecordStore::maxMergedPointsOfJob)
                                         << "The other store has 10002 points in one job";
    }
    void aStoreOfTooManyRowsIsRefused()
    {
        QFETCH(const QString, rows);
        QFETCH(const QString, text);
        fill(mThere, "Panel");
        QCOMPARE(OwnConnection(mThere).run(rows), QStringList());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::TooLarge);
        QCOMPARE(merged.problem.text, text);
        QCOMPARE(here.jobs().value.size(), 0);
    }

    void aJobDoesNotGetTooManyPointsInTwoMerges()
    {
        constexpr int half = RecordStore::maxMergedPointsOfJob / 2;
        fill(mThere, "Panel");
        QCOMPARE(OwnConnection(mThere).run(manyPoints(half)), QStringList());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        QCOMPARE(here.merge(mThere).problem.fault, Fault::None);
        QCOMPARE(OwnConnection(mThere).run(QStringLiteral("UPDATE point SET name = 'Q' || name WHERE id > 2")),
            QStringList());

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::TooLarge);
        QCOMPARE(merged.problem.text, QStringLiteral("Job 1 would have 10002 points"));
        QCOMPARE(here.points(1).value.size(), 2 + half);
    }

    void whoStopsItHasNothing_data()
    {
        QTest::addColumn<int>("calls");
        QTest::newRow("at the first picture") << 1;
        QTest::newRow("at the last inspection") << 6 + 3;
    }
    void whoStopsItHasNothing()
    {
        QFETCH(const int, calls);
        fill(mThere, "Panel");
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        int called = 0;

        const Answer<Merge> merged = here.merge(mThere, [&](int done, int all) {
            ++called;
            return done < all && called < calls;
        });

        QCOMPARE(called, calls);
        QCOMPARE(merged.problem.fault, Fault::Stopped);
        QCOMPARE(here.count().value, 0);
        QCOMPARE(here.jobs().value.size(), 0);
        QVERIFY(PictureStore(mHere + QStringLiteral("/pictures")).isEmpty());
        QVERIFY(here.merge(mThere).ok());
    }

    void aFullDiskLeavesNothing()
    {
        constexpr int size = 1024; // kibibytes
        constexpr int free = 150; // kibibytes: room for some of the pictures
        fill(mThere, "Panel");
        QVERIFY(QDir().mkpath(mHere));
        Answer<Merge> full;
        Answer<Merge> emptied;
        bool isEmpty = false;
        const bool hasRun = Faults::withSmallDisk(mHere, size, [&] {
            RecordStore here;
            here.open(mHere);
            {
                const DiskFilling filling(mHere, free);
                full = here.merge(mThere);
                isEmpty = here.count().value == 0 && PictureStore(mHere + QStringLiteral("/pictures")).isEmpty();
            }
            emptied = here.merge(mThere);
        });

        QVERIFY(hasRun);
        QCOMPARE(full.problem.fault, Fault::DiskFull);
        QVERIFY(isEmpty);
        QCOMPARE(emptied.value.inspections, 3);
    }

    void picturesThatThereIsNoRoomForAreToldAtOnce()
    {
        constexpr int size = 1024; // kibibytes
        constexpr int free = 150; // kibibytes: room for some of the pictures
        fill(mThere, "Panel");
        QVERIFY(QDir().mkpath(mHere));
        Answer<Merge> full;
        int asked = 0;
        const bool hasRun = Faults::withSmallDisk(mHere, size, [&] {
            RecordStore here;
            here.open(mHere);
            const DiskFilling filling(mHere, free);
            full = here.merge(mThere, [&asked](int, int) { return ++asked > 0; });
        });

        QVERIFY(hasRun);
        QCOMPARE(full.problem.fault, Fault::DiskFull);
        QVERIFY2(full.problem.text.contains(QLatin1String("pictures")), qPrintable(full.problem.text));
        QCOMPARE(asked, 0);
    }

    void aFullDiskIsGivenBack()
    {
        constexpr int size = 8 * 1024; // kibibytes
        fill(mThere, "Panel");
        addInspections(3000, QString(3000, QLatin1Char('n')));
        QVERIFY(QDir().mkpath(mHere));
        Answer<Merge> full;
        qint64 left = -1;
        const bool hasRun = Faults::withSmallDisk(mHere, size, [&] {
            RecordStore here;
            here.open(mHere);
            full = here.merge(mThere);
            left = QFileInfo(mHere + QStringLiteral("/records.sqlite-wal")).size();
        });

        QVERIFY(hasRun);
        QCOMPARE(full.problem.fault, Fault::DiskFull);
        QVERIFY2(left < 100'000, qPrintable(QString::number(left)));
    }

    void aStoreOfTooManyTextsIsRefused()
    {
        fill(mThere, "Panel");
        addInspections(5000, QString());
        QCOMPARE(OwnConnection(mThere).run(QStringLiteral("UPDATE job SET name = printf('%.*c', 4000, 'x'), "
                                                          "customer = name, site = printf('%.*c', 4000, 'y'), "
                                                          "operator = printf('%.*c', 4000, 'z')")),
            QStringList());
        QCOMPARE(OwnConnection(mThere).run(QStringLiteral("UPDATE job SET customer = name")), QStringList());
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());

        const Answer<Merge> merged = here.merge(mThere);

        QCOMPARE(merged.problem.fault, Fault::TooLarge);
        QVERIFY2(merged.problem.text.contains(QLatin1String("texts")), qPrintable(merged.problem.text));
        QCOMPARE(here.jobs().value.size(), 0);
    }

    void aLookAtTheOtherStoreCanBeStopped()
    {
        constexpr int defects = 60000;
        fill(mThere, "Panel");
        addDefects(1, defects);
        matchFirstRule(1, defects);
        OwnConnection(mThere).run(QStringLiteral("UPDATE inspection SET contours = -1 WHERE id = 3"));
        RecordStore here;
        QVERIFY(here.open(mHere).canWrite());
        int asked = 0;

        const Answer<Merge> merged = here.merge(mThere, [&](int done, int all) {
            ++asked;
            return done >= all;
        });

        QCOMPARE(merged.problem.fault, Fault::Stopped);
        QCOMPARE(asked, 1);
        QCOMPARE(here.merge(mThere, [](int, int) { return true; }).problem.text,
            QStringLiteral("Inspection 3 of the other store is damaged"));
    }

    // Each rule by each defect took 26 s.
    void tooManyRulesKeepNobodyBusy_data()
    {
        QTest::addColumn<int>("rules");
        QTest::newRow("as many as are kept") << RecordStore::maxRules;
        QTest::newRow("more") << 5000;
    }
    void tooManyRulesKeepNobodyBusy()
    {
        QFETCH(const int, rules);
        constexpr double mostTimesAsLong = 4; // to read all the defects takes most of the time

        const double one = secondsToRefuse(1);
        const double many = secondsToRefuse(rules);

        QVERIFY(one > 0 && many > 0);
        QVERIFY2(many < mostTimesAsLong * one, qPrintable(QStringLiteral("%1 and %2").arg(one).arg(many)));
    }

    void whoCannotWriteCannotMerge()
    {
        fill(mThere, "Panel");
        fill(mHere, "Rack");
        RecordStore here;
        QCOMPARE(here.merge(mThere).problem.fault, Fault::NotOpen);
        QVERIFY(here.open(mHere, RecordStore::Mode::ReadOnly).isOpen());
        QCOMPARE(here.merge(mThere).problem.fault, Fault::ReadOnly);
    }

    void aKilledMergeLeavesAllOrNothing()
    {
        constexpr int kills = 20;
        constexpr int inspections = 20;
        constexpr int steps = 2 * inspections + 1; // a picture each, one annotated picture of all, and the rows
        fillMany(inspections);
        int whole = 0;
        int none = 0;
        for (int i = 0; i < kills; ++i) {
            const QString folder = QStringLiteral("%1/%2").arg(mDir->path()).arg(i);
            RecordStore().open(folder);
            int status = 0;
            killMerge(folder, 1 + (steps * i) / (kills - 1), &status);

            RecordStore store;
            const Opening opening = store.open(folder);
            QVERIFY2(opening.canWrite() && opening.keptAside.isEmpty(), qPrintable(opening.problem.text));
            const int count = store.count().value;
            QVERIFY2(count == 0 || count == inspections, qPrintable(QString::number(count)));
            QCOMPARE(store.jobs().value.size(), count == 0 ? 0 : 1);
            QVERIFY(store.verify().value.allWell());
            QCOMPARE(sweptBy(&store), 0); // opening has done it
            QCOMPARE(PictureStore(folder + QStringLiteral("/pictures")).isEmpty(), count == 0);
            const Answer<Merge> again = store.merge(mThere);
            QCOMPARE(again.value.inspections + again.value.known, inspections);
            ++(count == 0 ? none : whole);
            store.close();
            QDir(folder).removeRecursively();
        }
        std::printf("%d kills: %d whole, %d without a trace\n", kills, whole, none);
        QVERIFY(none > 0 && whole > 0);
    }

private:
    /// A job of two points: one inspected, one failed and accepted; and an inspection of no job.
    static Id fill(const QString &folder, const char *name)
    {
        RecordStore store;
        if (!store.open(folder).canWrite())
            return noId;
        Job job;
        job.name = QString::fromLatin1(name);
        job.customer = QStringLiteral("Müller");
        const Id id = store.addJob(job).value.id;
        const PointRun run{QStringLiteral("A1"), QStringLiteral("A2"), Side::B, FibreKind::MultiMode};
        const QVector<Point> points = store.addPoints(id, run).value;
        Face::of(QStringLiteral("scratched")).addTo(store, points[0].id);
        Origin origin = badFace().origin(points[1].id);
        origin.focusValue = 0.5;
        store.addInspection(origin, badFace().inspection, badFace().picture);
        store.setDecision(2, Decision::Accepted, QStringLiteral("Scratched by the clip"));
        Face::of(QStringLiteral("clean")).addTo(store);
        return id;
    }

    /// No two photographs are the same.
    void fillMany(int count) const
    {
        RecordStore store;
        QVERIFY(store.open(mThere).canWrite());
        Job job;
        job.name = QStringLiteral("Panel");
        const Id id = store.addJob(job).value.id;
        for (int i = 0; i < count; ++i) {
            const QString name = QString::number(i);
            const Id point = store.addPoints(id, {name, name, Side::A, FibreKind::Unknown}).value.first().id;
            const QByteArray picture = badFace().picture + QByteArray::number(i);
            QVERIFY(store.addInspection(badFace().origin(point), badFace().inspection, picture).ok());
        }
    }

    /// A statement that adds them.
    static QString manyJobs(int count)
    {
        return QStringLiteral("WITH n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                              "INSERT INTO job (identity, name, customer, site, operator, standard, created) "
                              "SELECT randomblob(16), 'P', '', '', '', 0, 0 FROM n")
            .arg(count);
    }
    static QString manyPoints(int count)
    {
        return QStringLiteral("WITH n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                              "INSERT INTO point (job, name, position, side, fibre) "
                              "SELECT 1, printf('P%07d', i), 1000 + i, 0, 0 FROM n")
            .arg(count);
    }

    /// Inspections without a verdict, like the third one, of the first point.
    void addInspections(int count, const QString &note) const
    {
        OwnConnection own(mThere);
        const QStringList columns = own.run(
            QStringLiteral("SELECT name FROM pragma_table_info('inspection') "
                           "WHERE name NOT IN ('id', 'identity', 'point', 'verdict', 'reason', 'note', 'standard')"));
        QCOMPARE(own.run(QStringLiteral("WITH n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                                        "INSERT INTO inspection (identity, point, verdict, reason, note, standard, %2) "
                                        "SELECT randomblob(16), 1, 0, 'no fibre', '%3', "
                                        "(SELECT standard FROM job WHERE id = 1), %2 FROM n, inspection WHERE id = 3")
                             .arg(QString::number(count), columns.join(QStringLiteral(", ")), note)),
            QStringList());
    }

    /// One zone with rules that find nothing.
    void addParts(Id inspection, int rules) const
    {
        OwnConnection own(mThere);
        const QString id = QString::number(inspection);
        QCOMPARE(own.run(QStringLiteral("INSERT INTO zone VALUES (%1, 0, 0, 25, 0)").arg(id)), QStringList());
        QCOMPARE(own.run(QStringLiteral("WITH n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %2) "
                                        "INSERT INTO rule SELECT %1, 0, i, 0, 2, 2, -1, -1, 0, 0 FROM n")
                             .arg(id, QString::number(rules))),
            QStringList());
    }

    /// Small ones that a rule for large ones does not find.
    /// Of this process, for a store of inspections with so many rules each, which is damaged; less than 0 for no
    /// answer.
    double secondsToRefuse(int rules)
    {
        constexpr int inspections = 3;
        mThere = mDir->filePath(QStringLiteral("there-%1").arg(rules));
        fill(mThere, "Panel");
        addInspections(inspections, QString());
        const QStringList ids = OwnConnection(mThere).run(QStringLiteral("SELECT id FROM inspection ORDER BY id"));
        const QStringList added = ids.mid(ids.size() - inspections);
        for (const QString &id : added) {
            addParts(id.toLongLong(), rules);
            addDefects(id.toLongLong(), RecordStore::maxDefects);
        }
        OwnConnection(mThere).run(QStringLiteral("UPDATE defect SET zone = 1 WHERE inspection = %1").arg(ids.last()));
        RecordStore here;
        const bool isReady = here.open(mHere).canWrite();
        const std::clock_t before = std::clock();
        const bool isRefused = here.merge(mThere).problem.fault == Fault::Damaged;
        const std::clock_t after = std::clock();
        return isReady && isRefused ? static_cast<double>(after - before) / CLOCKS_PER_SEC : -1;
    }

    void addDefects(Id inspection, int count) const
    {
        QCOMPARE(OwnConnection(mThere).run(
                     QStringLiteral("WITH n (i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                                    "INSERT INTO defect SELECT %2, i, 0, 0, 1.0, 0.0, 0.0, 0, x'%3' FROM n")
                         .arg(QString::number(1000 + count - 1), QString::number(inspection),
                             QString::fromLatin1(shapeOf(1, -1).toHex()))),
            QStringList());
    }

    /// The beginning of a PNG that says to be so large.
    static QByteArray pngOf(quint32 width, quint32 height)
    {
        QByteArray bytes("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);
        for (const quint32 side : {width, height}) {
            char number[sizeof(quint32)];
            qToBigEndian(side, number);
            bytes.append(number, sizeof(number));
        }
        return bytes + QByteArray("\1\0\0\0\0", 5);
    }

    /// The packed shape of a defect. @param told the size that stands before it; -1: the true one
    static QByteArray shapeOf(int points, qint64 told)
    {
        constexpr int circle = 3 * sizeof(double);
        constexpr int pointSize = 2 * sizeof(double);
        QByteArray bytes(circle + 2 * int(sizeof(quint32)) + points * pointSize, '\0');
        qToBigEndian<quint32>(static_cast<quint32>(points), bytes.data() + circle + sizeof(quint32));
        QByteArray packed = qCompress(bytes, 9);
        if (told >= 0)
            qToBigEndian<quint32>(static_cast<quint32>(told), packed.data());
        return packed;
    }

    static void damage(const QString &store, const QByteArray &picture)
    {
        QFile file(PictureStore(store + QStringLiteral("/pictures")).path(picture));
        QVERIFY(file.open(QIODevice::Append));
        QCOMPARE(file.write("x"), qint64(1));
    }

    /// The defects that were added there are of a size that it allows.
    void matchFirstRule(Id inspection, int defects) const
    {
        const QString statement =
            QStringLiteral("UPDATE rule SET found = found + %1 WHERE inspection = %2 AND zone = 0 AND position = 0");
        QCOMPARE(OwnConnection(mThere).run(statement.arg(defects).arg(inspection)), QStringList());
        const QString counts =
            QStringLiteral("UPDATE inspection SET contours = contours + %1, raw_defects = raw_defects + %1, "
                           "merged_defects = merged_defects + %1 WHERE id = %2");
        QCOMPARE(OwnConnection(mThere).run(counts.arg(defects).arg(inspection)), QStringList());
    }

    void harmStore(const QString &harm) const
    {
        const QString path = mThere + QStringLiteral("/records.sqlite");
        QFile file(path);
        if (harm == QLatin1String("remove")) {
            QVERIFY(file.remove());
        } else if (harm == QLatin1String("garbage")) {
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.write(QByteArray(100000, 'x')) > 0);
        } else if (harm == QLatin1String("cut")) {
            QVERIFY(file.resize(file.size() / 2));
        } else {
            OwnConnection connection(mThere);
            const QStringList statements = harm.split(QStringLiteral("; "));
            for (const QString &statement : statements)
                QCOMPARE(connection.run(statement), QStringList());
        }
    }

    /// @param step after which it is killed, within some milliseconds; one more than there are: when it is done
    void killMerge(const QString &folder, int step, int *status) const
    {
        int ready[2];
        QVERIFY(pipe(ready) == 0);
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            RecordStore store;
            store.open(folder);
            const char byte = 0;
            int steps = 0;
            const auto tellAt = [&](int, int) { return ++steps != step || ::write(ready[1], &byte, 1) == 1; };
            store.merge(mThere, tellAt);
            tellAt(0, 0);
            for (;;)
                pause();
        }
        close(ready[1]);
        char byte = 0;
        QCOMPARE(read(ready[0], &byte, 1), ssize_t(1));
        usleep(QRandomGenerator::global()->bounded(longestWait));
        QVERIFY(OneProcess::sendSignal(child, SIGKILL));
        waitpid(child, status, 0);
        close(ready[0]);
    }

    std::unique_ptr<QTemporaryDir> mDir;
    QString mHere;
    QString mThere;
};

QTEST_GUILESS_MAIN(TestRecordStoreMerge)
#include "tst_recordstore_merge.moc"
