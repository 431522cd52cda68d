// SPDX-License-Identifier: Apache-2.0
#include "StoredFaces.h"

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <memory>

using namespace Records;

namespace {
const Face &badFace()
{
    return Face::of(QStringLiteral("pitted"));
}

Job panel()
{
    Job job;
    job.name = QStringLiteral("Panel");
    return job;
}

using GoesOn = std::function<bool(int done, int all)>;
using Call = std::function<Fault(RecordStore &store, const QString &folder)>;
using Work = std::function<Problem(RecordStore &store, const QString &folder, const GoesOn &goesOn)>;

/// An application that goes with all that it has, the function that is asked included.
struct Application
{
    RecordStore store;
    GoesOn goesOn;
};
} // namespace

Q_DECLARE_METATYPE(Call)
Q_DECLARE_METATYPE(Work)

/// What the store is told to do by the function that it asks whether to go on.
class TestRecordStoreReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { badFace(); }

    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mFolder = mDir->filePath(QStringLiteral("there"));
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Begun);
        QCOMPARE(badFace().addTo(store).value, Id(1));
    }

    void aStoreMayBeDestroyedInTheMidstOfItsWork_data()
    {
        QTest::addColumn<Work>("work");
        QTest::addColumn<int>("question"); // in answer to which it is
        QTest::addColumn<bool>("answer");
        const Work merge = [](RecordStore &store, const QString &folder, const GoesOn &goesOn) {
            return store.merge(folder, goesOn).problem;
        };
        const Work verify = [](RecordStore &store, const QString &, const GoesOn &goesOn) {
            return store.verify(goesOn).problem;
        };
        const Work within = [](RecordStore &store, const QString &folder, const GoesOn &goesOn) {
            Fault inner = Fault::None;
            const Problem outer = store
                                      .merge(folder,
                                          [&](int, int) {
                                              inner = store.verify(goesOn).problem.fault;
                                              return true;
                                          })
                                      .problem;
            return inner == Fault::Stopped ? outer : Problem{Fault::None, QStringLiteral("the inner one went on")};
        };
        const auto row = [](const char *name, const Work &work, int question, bool answer) {
            QTest::newRow(name) << work << question << answer;
        };
        row("verify, first inspection", verify, 1, true);
        row("verify, first inspection, stopping", verify, 1, false);
        row("verify, last inspection", verify, 2, true);
        row("merge, first picture", merge, 1, true);
        row("merge, first picture, stopping", merge, 1, false);
        row("merge, last picture", merge, 2, true);
        row("merge, row", merge, 3, true);
        row("merge, row, stopping", merge, 3, false);
        row("verify within merge", within, 1, true);
    }
    void aStoreMayBeDestroyedInTheMidstOfItsWork()
    {
        QFETCH(const Work, work);
        QFETCH(const int, question);
        QFETCH(const bool, answer);
        const QString here = mDir->filePath(QStringLiteral("here"));
        fillHere(here);
        auto application = std::make_unique<Application>();
        QCOMPARE(application->store.open(here).how, Opened::Usable);
        int asked = 0;
        int afterwards = 0;
        application->goesOn = [&, answer](int, int) { // the answer goes with the application
            const bool isThere = application != nullptr;
            ++(isThere ? asked : afterwards);
            if (isThere && asked == question)
                application.reset();
            return application || answer;
        };

        const Problem problem = work(application->store, mFolder, application->goesOn);

        QVERIFY(!application);
        QCOMPARE(problem.fault, Fault::Stopped);
        QVERIFY(!problem.text.isEmpty());
        QCOMPARE(afterwards, 0);
        nothingIsLeftOf(here);
    }

    void whoIsAskedWhetherToGoOnCanWriteNothing_data()
    {
        QTest::addColumn<Call>("call");
        const auto row = [](const char *name, const Call &call) { QTest::newRow(name) << call; };
        row("job", [](RecordStore &store, const QString &) { return store.addJob(panel()).problem.fault; });
        row("inspection", [](RecordStore &store, const QString &) { return badFace().addTo(store).problem.fault; });
        row("decision",
            [](RecordStore &store, const QString &) { return store.setDecision(1, Decision::Accepted, {}).fault; });
        row("sweep", [](RecordStore &store, const QString &) { return store.sweep().problem.fault; });
        row("merge", [](RecordStore &store, const QString &folder) { return store.merge(folder).problem.fault; });
        row("open", [](RecordStore &store, const QString &folder) { return store.open(folder).problem.fault; });
    }
    void whoIsAskedWhetherToGoOnCanWriteNothing()
    {
        QFETCH(const Call, call);
        const QString folder = mDir->filePath(QStringLiteral("here"));
        RecordStore store;
        RecordStore second; // of the same thread
        QCOMPARE(store.open(folder).how, Opened::Begun);
        QCOMPARE(second.open(folder).how, Opened::Usable);
        QVector<Fault> faults;

        const Answer<Merge> merged = store.merge(mFolder, [&](int, int) {
            faults << call(store, folder);
            if (second.canWrite())
                faults << call(second, folder);
            return true;
        });

        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QVERIFY(!faults.isEmpty());
        QCOMPARE(faults, QVector<Fault>(faults.size(), Fault::Busy));
        QCOMPARE(store.count().value, 1);
        QVERIFY(badFace().addTo(store).ok());
        QVERIFY(store.verify().value.allWell());
    }

    void aStoreIsNotClosedUnderItsOwnWork()
    {
        RecordStore store;
        QCOMPARE(store.open(mDir->filePath(QStringLiteral("here"))).how, Opened::Begun);
        const Answer<Merge> merged = store.merge(mFolder, [&store](int, int) {
            store.close();
            return store.count().ok(); // reading is allowed
        });
        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(store.count().value, 1);
        QVERIFY(store.canWrite());
    }

private:
    /// Two inspections of one photograph.
    static void fillHere(const QString &folder)
    {
        RecordStore store;
        QCOMPARE(store.open(folder).how, Opened::Begun);
        const Face &face = badFace();
        for (int i = 0; i < 2; ++i)
            QVERIFY(store.addInspection(face.origin(), face.inspection, face.picture + "here").ok());
    }

    /// Neither records and pictures of the other store, nor a lock.
    static void nothingIsLeftOf(const QString &here)
    {
        QCOMPARE(QFileInfo(here + QStringLiteral("/records.lock")).size(), qint64(0)); // as it is left at the end
        RecordStore store;
        const Opening opening = store.open(here);
        QCOMPARE(opening.how, Opened::Usable);
        QCOMPARE(opening.swept, 0);
        QCOMPARE(store.count().value, 2);
        QVERIFY(store.verify().value.allWell());
        QCOMPARE(sweptBy(&store), 0);
    }

    std::unique_ptr<QTemporaryDir> mDir;
    QString mFolder;
};

QTEST_GUILESS_MAIN(TestRecordStoreReentrancy)
#include "tst_recordstore_reentrancy.moc"
