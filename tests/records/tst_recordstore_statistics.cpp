// SPDX-License-Identifier: Apache-2.0
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
        QCOMPARE(answer.value.passRate(), std::optional<double>(1.0 / 3));
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
        Origin origin;
        origin.point = mPoints[3].id;
        origin.made = morning().addSecs(100);
        QImage blank(200, 200, QImage::Format_Grayscale8);
        blank.fill(Qt::black);
        const Inspection nothing = inspect(blank, Standard::IEC61300_3_35_SM_RL45);
        QVERIFY(!nothing.hasVerdict());
        QVERIFY(mStore->addInspection(origin, nothing, {}).ok());
    }

    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<RecordStore> mStore;
    Id mJob = noId;
    QVector<Point> mPoints;
};

QTEST_GUILESS_MAIN(TestRecordStoreStatistics)
#include "tst_recordstore_statistics.moc"
