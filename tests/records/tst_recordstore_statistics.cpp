// SPDX-License-Identifier: Apache-2.0
#include "OwnConnection.h"
#include "Records/Doubt.h"
#include "StoredFaces.h"

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

using namespace FiberInspection;
using namespace Records;

namespace {
const QDateTime &morning()
{
    static const QDateTime time(QDate(2026, 3, 2), QTime(8, 0), Qt::UTC);
    return time;
}

const Face &faceOf(const char *name)
{
    return Face::of(QString::fromLatin1(name));
}

/// How many of them fail for a rule of a zone, as their inspections say.
int failuresOf(const QVector<const Face *> &faces, Zone::Id zone, int position)
{
    int count = 0;
    for (const Face *const face : faces) {
        const TestResult &result = face->inspection.result();
        const ZoneResult &graded = zone == Zone::Core ? result.core() : result.cladding();
        count += graded.rules[position].violated ? 1 : 0;
    }
    return count;
}

/// How many defects, of those that they fail for, are of these sizes.
int defectsOf(const QVector<const Face *> &faces, double from, double to)
{
    int count = 0;
    for (const Face *const face : faces) {
        const QVector<GradedDefect> &all = face->inspection.defects();
        count += static_cast<int>(std::count_if(all.cbegin(), all.cend(), [&](const GradedDefect &defect) {
            return defect.causesFailure && defect.sizeMicrons >= from && defect.sizeMicrons < to;
        }));
    }
    return count;
}
} // namespace

class TestRecordStoreStatistics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mStore = std::make_unique<RecordStore>();
        QCOMPARE(mStore->open(mDir->path()).how, Opened::Begun);
        Job job;
        job.name = QStringLiteral("Panel");
        mJob = mStore->addJob(job).value.id;
        mPoints = mStore->addPoints(mJob, {QStringLiteral("A1"), QStringLiteral("A6")}).value;
        QCOMPARE(mPoints.size(), 6);
    }

    void ofEachPointTheLastInspectionCounts()
    {
        addPanel();

        const Answer<JobStatistics> answer = mStore->statistics(mJob);

        QVERIFY2(answer.ok(), qPrintable(answer.problem.text));
        QCOMPARE(answer.value.inspections, 6);
        QCOMPARE(answer.value.passed, 1);
        QCOMPARE(answer.value.failed, 2);
        QCOMPARE(answer.value.withoutVerdict, 1);
        QCOMPARE(answer.value.points, 6);
        QCOMPARE(answer.value.open, 2);
        QCOMPARE(answer.value.accepted, 1);
        QCOMPARE(answer.value.doubtful, 0);
        QCOMPARE(answer.value.passRate(), std::optional<double>(1.0 / 3));
    }

    void aPointThatIsToBeRepeatedIsOpen()
    {
        addPanel();
        QVERIFY(mStore->setDecision(4, Decision::ToRepeat, {}).ok());

        const JobStatistics statistics = mStore->statistics(mJob).value;

        QCOMPARE(statistics.open, 3);
        QCOMPARE(statistics.failed, 1);
        QCOMPARE(statistics.passRate(), std::optional<double>(0.5));
    }

    void aPassThatContradictsItselfIsDoubtful_data()
    {
        QTest::addColumn<QString>("sample");
        QTest::addColumn<QStringList>("statements");
        const auto row = [](const char *name, const char *sample, const QStringList &statements) {
            QTest::newRow(name) << QString::fromLatin1(sample) << statements;
        };
        const QString passed = QStringLiteral("UPDATE inspection SET verdict = 1");
        const QString clean = QStringLiteral("UPDATE zone SET violations = 0");
        const QString kept = QStringLiteral("UPDATE rule SET violated = 0");
        row("failed turned into passed", "scratched", {passed});
        row("passed, violations and all", "scratched", {passed, clean});
        row("passed, violations and rules", "scratched", {passed, clean, kept});
        row("passed, all but the defects", "scratched",
            {passed, clean, kept, QStringLiteral("UPDATE rule SET found = 0")});
        row("allowed anew", "pitted",
            {passed, clean, kept, QStringLiteral("UPDATE rule SET allowed = 1000, found = 0")});
        row("without rules of the core", "clean", {QStringLiteral("DELETE FROM rule WHERE zone = 0")});
        row("without rules of the cladding", "clean", {QStringLiteral("DELETE FROM rule WHERE zone = 1")});
        row("more violations", "clean", {QStringLiteral("UPDATE zone SET violations = 1")});
        row("another standard", "clean", {QStringLiteral("UPDATE inspection SET standard = 4")});
    }
    void aPassThatContradictsItselfIsDoubtful()
    {
        QFETCH(const QString, sample);
        QFETCH(const QStringList, statements);
        add(Face::of(sample), 0, 0);
        add(faceOf("clean"), 1, 20);
        QCOMPARE(mStore->statistics(mJob).value.doubtful, 0);

        for (const QString &statement : statements) {
            const QString narrowed = statement
                + (statement.contains(QLatin1String("WHERE")) ? QStringLiteral(" AND ") : QStringLiteral(" WHERE "))
                + (statement.contains(QLatin1String("UPDATE inspection")) ? QStringLiteral("id = 1")
                                                                          : QStringLiteral("inspection = 1"));
            QCOMPARE(OwnConnection(mDir->path()).run(narrowed), QStringList());
        }
        const JobStatistics statistics = mStore->statistics(mJob).value;

        QCOMPARE(statistics.doubtful, 1);
        QCOMPARE(statistics.passed, 1); // the other one
        QCOMPARE(statistics.open, 4);
        QCOMPARE(statistics.passRate(), std::optional<double>(1));
        const QVector<Point> points = mStore->points(mJob).value;
        QVERIFY(points[0].isDoubtful);
        QVERIFY(!points[1].isDoubtful);
        QVERIFY(!points[2].isDoubtful);
        const StoredInspection record = mStore->inspection(1).value;
        QVERIFY(doubtOf(record) != Doubt::None || record.standard != mStore->job(mJob).value.standard);
        QVERIFY(doubtOf(mStore->inspection(2).value) == Doubt::None);
    }

    void whateverIsNotOpenMayBeDoubtful_data()
    {
        QTest::addColumn<QString>("sample"); // empty: none was inspected
        QTest::addColumn<int>("decision");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<bool>("isDoubtful");
        const auto row = [](const char *name, const char *sample, Decision decision, const char *statement,
                             bool isDoubtful) {
            QTest::newRow(name) << QString::fromLatin1(sample) << static_cast<int>(decision)
                                << QString::fromLatin1(statement) << isDoubtful;
        };
        constexpr char failed[] = "UPDATE inspection SET verdict = 2";
        constexpr char lost[] = "UPDATE inspection SET picture = NULL";
        row("passed", "clean", Decision::Undecided, lost, true);
        row("failed", "clean", Decision::Undecided, failed, true);
        row("accepted", "pitted", Decision::Accepted, lost, true);
        row("to be repeated", "pitted", Decision::ToRepeat, lost, false);
        row("not graded", "", Decision::Undecided, "UPDATE zone SET violations = 1", true);
        row("of another standard", "pitted", Decision::Undecided, "UPDATE inspection SET standard = 0", true);
        row("with too many rules", "pitted", Decision::Undecided,
            "WITH RECURSIVE n (i) AS (SELECT 50 UNION ALL SELECT i + 1 FROM n WHERE i < 400) "
            "INSERT INTO rule SELECT 1, 0, i, 0, 0, 0, 0, 0, 0, 0 FROM n",
            true);
    }
    void whateverIsNotOpenMayBeDoubtful()
    {
        QFETCH(const QString, sample);
        QFETCH(const int, decision);
        QFETCH(const QString, statement);
        QFETCH(const bool, isDoubtful);
        if (sample.isEmpty())
            QVERIFY(addNothing(0));
        else
            add(Face::of(sample), 0, 0);
        QVERIFY(mStore->setDecision(1, static_cast<Decision>(decision), {}).ok());
        QVERIFY(!mStore->points(mJob).value[0].isDoubtful);
        QCOMPARE(OwnConnection(mDir->path()).run(statement), QStringList());

        const JobStatistics statistics = mStore->statistics(mJob).value;
        const JobProgress progress = mStore->progress(mJob).value;

        QCOMPARE(mStore->points(mJob).value[0].isDoubtful, isDoubtful);
        QCOMPARE(statistics.doubtful, int(isDoubtful));
        QCOMPARE(statistics.passed + statistics.failed + statistics.accepted + statistics.withoutVerdict, 0);
        QCOMPARE(statistics.open, isDoubtful ? 5 : 6);
        QCOMPARE(statistics.passRate(), std::optional<double>());
        QCOMPARE(progress.doubtful, int(isDoubtful));
        QCOMPARE(progress.passed + progress.failed + progress.accepted + progress.withoutVerdict, 0);
        QCOMPARE(progress.open, statistics.open);
        QCOMPARE(progress.points, 6);
        QCOMPARE(mStore->doubt(1).value != Doubt::None, isDoubtful || decision == static_cast<int>(Decision::ToRepeat));
    }

    void whatIsTooMuchToLookAtIsDoubtful()
    {
        const int number = RecordStore::maxJudgedParts / RecordStore::maxDefects + 2;
        mPoints = mStore->addPoints(mJob, {QStringLiteral("B10"), QStringLiteral("B%1").arg(9 + number)}).value;
        QVector<Id> ids;
        for (int i = 0; i < number; ++i) {
            add(faceOf("clean"), i, i);
            ids.append(i + 1);
        }
        QCOMPARE(mStore->progress(mJob).value.passed, number);
        QCOMPARE(mStore->doubts(ids).value, QVector<Doubt>(number, Doubt::None));
        QCOMPARE(
            OwnConnection(mDir->path())
                .run(QStringLiteral("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                                    "INSERT INTO defect SELECT id, 1000 + i, 1, 0, 1.5, 0, 0, 0, x'' "
                                    "FROM inspection, n WHERE id < %2")
                         .arg(RecordStore::maxDefects + 1)
                         .arg(number)),
            QStringList());

        const JobProgress progress = mStore->progress(mJob).value;
        const QVector<Doubt> doubts = mStore->doubts(ids).value;

        QCOMPARE(progress.doubtful, number);
        QCOMPARE(progress.passed, 0);
        QCOMPARE(mStore->statistics(mJob).value.doubtful, number);
        QVERIFY(mStore->points(mJob).value.last().isDoubtful);
        QCOMPARE(doubts.first(), Doubt::Unreadable);
        QCOMPARE(doubts.last(), Doubt::NotLookedAt);
        QCOMPARE(mStore->doubt(number).value, Doubt::None); // alone
        QCOMPARE(mStore->doubt(number + 1).problem.fault, Fault::NotFound);
    }

    void failuresAreCountedByZoneAndRule()
    {
        addPanel();
        const QVector<const Face *> failed{&faceOf("pitted"), &faceOf("scratched")};
        const Standard standard(Standard::IEC61300_3_35_SM_RL45);

        const QVector<RuleFailures> failures = mStore->statistics(mJob).value.failures;

        int next = 0;
        for (const Zone::Id zone : {Zone::Core, Zone::Cladding}) {
            const QVector<Rule> &rules = zone == Zone::Core ? standard.core().rules : standard.cladding().rules;
            for (int i = 0; i < rules.size(); ++i) {
                const int expected = failuresOf(failed, zone, i);
                if (expected == 0)
                    continue;
                QVERIFY(next < failures.size());
                QCOMPARE(failures[next].zone, zone);
                QCOMPARE(failures[next].rule.toString(), rules[i].toString());
                QCOMPARE(failures[next].rule.defectType, rules[i].defectType);
                QCOMPARE(failures[next].points, expected);
                ++next;
            }
        }
        QCOMPARE(failures.size(), next);
        QVERIFY(next > 1); // or the order was not seen
    }

    void sizesOfFailingDefectsAreCountedBetweenTheEdges()
    {
        addPanel();
        const QVector<const Face *> failed{&faceOf("pitted"), &faceOf("scratched")};
        constexpr double endless = std::numeric_limits<double>::infinity();
        const double all = defectsOf(failed, 0, endless);
        const QVector<GradedDefect> &defects = faceOf("pitted").inspection.defects();
        const auto largest = std::max_element(defects.cbegin(), defects.cend(),
            [](const GradedDefect &a, const GradedDefect &b) { return a.sizeMicrons < b.sizeMicrons; });
        const QVector<double> edges{3, 5, largest->sizeMicrons}; // the last one is met exactly

        const QVector<int> sizes = mStore->statistics(mJob, edges).value.sizes;

        QCOMPARE(sizes.size(), edges.size() + 1);
        QCOMPARE(sizes[0], defectsOf(failed, 0, edges[0]));
        QCOMPARE(sizes[1], defectsOf(failed, edges[0], edges[1]));
        QCOMPARE(sizes[2], defectsOf(failed, edges[1], edges[2]));
        QCOMPARE(sizes[3], defectsOf(failed, edges[2], endless));
        QVERIFY(sizes[3] > 0);
        QVERIFY(sizes[0] + sizes[1] + sizes[2] > 0);
        QCOMPARE(mStore->statistics(mJob).value.sizes, QVector<int>{static_cast<int>(all)});
    }

    void theTimeOfAPointIsAMedian_data()
    {
        QTest::addColumn<QVector<double>>("seconds"); // since the morning
        QTest::addColumn<double>("between"); // negative: nothing
        const auto row = [](const char *name, const QVector<double> &seconds, double between) {
            QTest::newRow(name) << seconds << between;
        };
        row("no inspection", {}, -1);
        row("one", {10}, -1);
        row("two", {10, 32.5}, 22.5);
        row("odd number", {0, 20, 50, 90}, 30);
        row("even number", {0, 20, 50}, 25);
        row("a night between", {0, 20, 40, 60, 50000, 50020}, 20);
        row("clock set back", {0, 20, 50, -7200, -7170}, 30);
        row("only back", {100, 0}, -1);
        row("at once", {7, 7}, 0);
    }
    void theTimeOfAPointIsAMedian()
    {
        QFETCH(const QVector<double>, seconds);
        QFETCH(const double, between);
        for (int i = 0; i < seconds.size(); ++i)
            add(faceOf("clean"), i, seconds[i]);

        const JobStatistics statistics = mStore->statistics(mJob).value;

        QCOMPARE(statistics.inspections, seconds.size());
        QCOMPARE(statistics.secondsBetween, between < 0 ? std::nullopt : std::optional<double>(between));
    }

    void aPointTakesUntilItsLastInspection_data()
    {
        QTest::addColumn<QVector<int>>("points");
        QTest::addColumn<QVector<double>>("seconds"); // since the morning
        QTest::addColumn<double>("median"); // negative: nothing
        QTest::addColumn<double>("longest");
        const auto row = [](const char *name, const QVector<int> &points, const QVector<double> &seconds, double median,
                             double longest) { QTest::newRow(name) << points << seconds << median << longest; };
        constexpr double pause = JobStatistics::longestPause;
        row("no inspection", {}, {}, -1, -1);
        row("one", {0}, {10}, -1, -1);
        row("one, repeated", {0, 0, 0}, {0, 10, 20}, -1, -1); // its beginning is not known
        row("two", {0, 1}, {10, 32.5}, 22.5, 22.5);
        row("repeats are of their point", {0, 1, 1, 1, 2}, {0, 20, 30, 60, 70}, 35, 60);
        row("odd number", {0, 1, 2, 3}, {0, 20, 60, 150}, 40, 90);
        row("another turn", {0, 1, 0}, {0, 20, 70}, 35, 50);
        row("just no pause", {0, 1}, {0, pause}, pause, pause);
        row("a pause before", {0, 1, 2}, {0, pause + 0.001, pause + 20.001}, 20, 20);
        row("a pause within", {0, 1, 1, 2}, {0, 20, pause + 21, pause + 51}, 30, 30);
        row("only a pause", {0, 1}, {0, pause + 1}, -1, -1);
        row("clock set back", {0, 1, 2}, {100, 0, 30}, 30, 30);
        row("clock set back within", {0, 1, 1, 2}, {0, 20, 10, 15}, 5, 5);
        row("at once", {0, 1}, {7, 7}, 0, 0);
    }
    void aPointTakesUntilItsLastInspection()
    {
        QFETCH(const QVector<int>, points);
        QFETCH(const QVector<double>, seconds);
        QFETCH(const double, median);
        QFETCH(const double, longest);
        for (int i = 0; i < seconds.size(); ++i)
            add(faceOf("clean"), points[i], seconds[i]);

        const JobStatistics statistics = mStore->statistics(mJob).value;

        const auto expected = [](double value) { return value < 0 ? std::nullopt : std::optional<double>(value); };
        QCOMPARE(statistics.secondsOfPoint, expected(median));
        QCOMPARE(statistics.longestSecondsOfPoint, expected(longest));
    }

    void otherJobsDoNotCount()
    {
        addPanel();
        QVERIFY(faceOf("pitted").addTo(*mStore).ok()); // of no job
        Job job;
        job.name = QStringLiteral("Rack");
        const Id other = mStore->addJob(job).value.id;
        mPoints = mStore->addPoints(other, {QStringLiteral("A1"), QStringLiteral("A1")}).value;
        add(faceOf("clean"), 0, 30);

        QCOMPARE(mStore->statistics(mJob).value.inspections, 6);
        const JobStatistics statistics = mStore->statistics(other, {5}).value;
        QCOMPARE(statistics.inspections, 1);
        QCOMPARE(statistics.passRate(), std::optional<double>(1));
        QCOMPARE(statistics.failures.size(), 0);
        QCOMPARE(statistics.sizes, QVector<int>({0, 0}));
    }

    void aJobWithoutInspectionsHasNoRate()
    {
        const Answer<JobStatistics> answer = mStore->statistics(mJob, {1, 2});

        QVERIFY(answer.ok());
        QCOMPARE(answer.value.passRate(), std::optional<double>());
        QCOMPARE(answer.value.sizes, QVector<int>({0, 0, 0}));
    }

    void whatCannotBeCountedIsTold()
    {
        QCOMPARE(mStore->statistics(mJob + 1).problem.fault, Fault::NotFound);
        const double endless = std::numeric_limits<double>::infinity();
        const QVector<double> tooMany(JobStatistics::maxEdges + 1);
        for (const QVector<double> &edges : {QVector<double>{2, 2}, QVector<double>{5, 2}, QVector<double>{2, endless},
                 QVector<double>{std::nan("")}, tooMany})
            QCOMPARE(mStore->statistics(mJob, edges).problem.fault, Fault::Invalid);
        mStore->close();
        QCOMPARE(mStore->statistics(mJob).problem.fault, Fault::NotOpen);
    }

    void readersAndWhoIsAskedWithinAMergeMayCount()
    {
        addPanel();
        RecordStore reader;
        QVERIFY(reader.open(mDir->path(), RecordStore::Mode::ReadOnly).isOpen());
        QCOMPARE(reader.statistics(mJob).value.inspections, 6);

        const QTemporaryDir elsewhere;
        RecordStore other;
        QCOMPARE(other.open(elsewhere.path()).how, Opened::Begun);
        int asked = 0;
        int counted = 0;
        const Answer<Merge> merged =
            other.merge(mDir->path(), [&](int, int) { // with pictures, then within a transaction
                ++asked;
                const Fault fault = other.statistics(mJob).problem.fault;
                counted += fault == Fault::NotFound || fault == Fault::None ? 1 : 0;
                return true;
            });
        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QVERIFY(asked > 6);
        QCOMPARE(counted, asked);
        QCOMPARE(other.statistics(mJob).value.passed, 1);
    }

private:
    void add(const Face &face, int point, double seconds)
    {
        Origin origin = face.origin(mPoints[point].id);
        origin.made = morning().addMSecs(qRound64(1000 * seconds));
        QVERIFY(mStore->addInspection(origin, face.inspection, face.picture).ok());
    }

    /// One that was cleaned twice, two that fail, of which one was accepted, one without a verdict, two that are open.
    void addPanel()
    {
        add(faceOf("scratched"), 0, 0);
        add(faceOf("scratched"), 0, 20);
        add(faceOf("clean"), 0, 40);
        add(faceOf("pitted"), 1, 60);
        add(faceOf("scratched"), 2, 80);
        QVERIFY(mStore->setDecision(5, Decision::Accepted, QStringLiteral("as agreed")).ok());
        QVERIFY(addNothing(3));
    }

    bool addNothing(int point)
    {
        Origin origin;
        origin.point = mPoints[point].id;
        origin.made = morning().addSecs(100);
        QImage blank(200, 200, QImage::Format_Grayscale8);
        blank.fill(Qt::black);
        const Inspection nothing = inspect(blank, Standard::IEC61300_3_35_SM_RL45);
        return !nothing.hasVerdict() && mStore->addInspection(origin, nothing, {}).ok();
    }

    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<RecordStore> mStore;
    Id mJob = noId;
    QVector<Point> mPoints;
};

QTEST_GUILESS_MAIN(TestRecordStoreStatistics)
#include "tst_recordstore_statistics.moc"
