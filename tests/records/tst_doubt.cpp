// SPDX-License-Identifier: Apache-2.0
#include "OwnConnection.h"
#include "Records/Doubt.h"
#include "StoredFaces.h"

#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>

using namespace Records;

namespace {
constexpr char passes[] = "UPDATE inspection SET verdict = 1; UPDATE zone SET violations = 0; ";
constexpr char failsNowhere[] = "UPDATE defect SET fails = 0; ";
} // namespace

/// Records that say with one part what another one denies.
class TestDoubt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mStore = std::make_unique<RecordStore>();
        QCOMPARE(mStore->open(folder()).how, Opened::Begun);
    }

    void cleanup() { mStore.reset(); }

    void whatWasStoredIsBeyondDoubt_data()
    {
        QTest::addColumn<QString>("sample");
        for (const char *const sample : {"clean", "pitted", "scratched", "dirty", "mm"})
            QTest::newRow(sample) << QString::fromLatin1(sample);
    }
    void whatWasStoredIsBeyondDoubt()
    {
        QFETCH(const QString, sample);
        const StoredInspection record = stored(sample);

        QVERIFY(record.verdict != Verdict::None);
        QCOMPARE(doubtOf(record), Doubt::None);
        QVERIFY(mStore->verify().value.allWell());
        QCOMPARE(faultOfMerge(), Fault::None);
    }

    void ofEveryStandardAndScale_data()
    {
        QTest::addColumn<int>("standard");
        QTest::addColumn<float>("scale");
        for (int standard = 0; standard < FiberInspection::Standard::Manual; ++standard) {
            for (const float scale : {1.0F, 2.0F, 0.5F})
                QTest::addRow("%d, %g", standard, static_cast<double>(scale)) << standard << scale;
        }
    }
    void ofEveryStandardAndScale()
    {
        QFETCH(const int, standard);
        QFETCH(const float, scale);
        const QByteArray &picture = Face::of(QStringLiteral("pitted")).picture;
        FiberInspection::InspectionOptions options;
        options.scale = scale;
        options.seed = 7;
        const auto device = FiberInspection::Device::ks20();
        const auto made = FiberInspection::inspect(FiberInspection::decodeImage(picture).image,
            static_cast<FiberInspection::Standard::Id>(standard), device, options);
        QVERIFY2(made.hasVerdict(), qPrintable(made.problem()));

        const auto id = mStore->addInspection(Origin::of(noId, device, options), made, picture);

        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        QCOMPARE(doubtOf(mStore->inspection(id.value).value), Doubt::None);
    }

    void anInspectionWithoutAVerdictIsBeyondDoubt()
    {
        const auto made = FiberInspection::inspectFile(QStringLiteral("/nowhere/face.jpg"), {});
        const auto id = mStore->addInspection({}, made, {});

        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        QCOMPARE(doubtOf(mStore->inspection(id.value).value), Doubt::None);
    }

    void whatContradictsItselfIsDoubtful_data()
    {
        QTest::addColumn<QString>("sample");
        QTest::addColumn<QString>("harm");
        QTest::addColumn<int>("doubt");
        const auto row = [](const char *name, const char *sample, const QByteArray &harm, Doubt doubt) {
            QTest::newRow(name) << QString::fromLatin1(sample) << QString::fromLatin1(harm) << static_cast<int>(doubt);
        };
        const QByteArray passed = passes;
        const QByteArray fails = failsNowhere;
        row("no picture", "clean", "UPDATE inspection SET picture = NULL, annotated = NULL, seed = NULL",
            Doubt::NoPicture);
        row("no picture of a failed one", "pitted", "UPDATE inspection SET picture = NULL", Doubt::NoPicture);
        row("no scale", "clean", "UPDATE inspection SET microns_per_pixel = 0", Doubt::NotMeasured);
        row("no fibre", "clean", "UPDATE inspection SET cladding_radius = 0", Doubt::NotMeasured);
        row("no crop", "clean", "UPDATE inspection SET crop_width = 0", Doubt::NotMeasured);
        row("smaller zones", "clean", "UPDATE zone SET outer_diameter = 1", Doubt::OtherZones);
        row("another hole", "clean", "UPDATE zone SET inner_diameter = 24 WHERE zone = 1", Doubt::OtherZones);
        row("one zone", "clean", "DELETE FROM rule WHERE zone = 1; DELETE FROM zone WHERE zone = 1", Doubt::OtherZones);
        row("another zone", "clean", "INSERT INTO zone SELECT id, 2, 110, 135, 0 FROM inspection", Doubt::OtherZones);
        row("no rules", "clean", "DELETE FROM rule WHERE zone = 0", Doubt::OtherZones);
        row("without the rules that are violated", "scratched", passed + fails + "DELETE FROM rule WHERE violated = 1",
            Doubt::OtherZones);
        row("any number allowed", "scratched",
            passed + fails + "UPDATE rule SET allowed = -1, violated = 0 WHERE violated = 1", Doubt::OtherZones);
        row("more allowed", "scratched", "UPDATE rule SET allowed = 100", Doubt::OtherZones);
        row("larger ones allowed", "scratched", "UPDATE rule SET max_size = max_size + 1", Doubt::OtherZones);
        row("rules of another standard", "clean", "UPDATE inspection SET standard = 0", Doubt::OtherZones);
        row("rules of no standard", "clean",
            "UPDATE inspection SET standard = 5, software = 'ours';"
            "DELETE FROM rule",
            Doubt::OtherVerdict);
        row("fewer counted", "pitted", "UPDATE inspection SET merged_defects = 0", Doubt::OtherCounts);
        row("more merged than there were", "clean", "UPDATE inspection SET merged_defects = raw_defects + 1",
            Doubt::OtherCounts);
        row("more than contours", "clean", "UPDATE inspection SET raw_defects = contours + 1", Doubt::OtherCounts);
        row("found less", "scratched", "UPDATE rule SET found = 0", Doubt::OtherCounts);
        row("defects gone", "scratched", "DELETE FROM defect", Doubt::OtherCounts);
        row("defects shrunk", "pitted", "UPDATE defect SET size = 0.5", Doubt::OtherCounts);
        row("no longer violated", "scratched", "UPDATE rule SET violated = 0", Doubt::OtherViolations);
        row("violations gone", "scratched", "UPDATE zone SET violations = 0", Doubt::OtherViolations);
        row("passed, violations and all", "scratched", passed, Doubt::OtherViolations);
        row("a defect that fails where nothing does", "mm",
            "UPDATE defect SET fails = 1 WHERE zone = 1 AND NOT EXISTS "
            "(SELECT 1 FROM zone WHERE zone = 1 AND violations > 0)",
            Doubt::OtherFailures);
        row("nothing fails", "scratched", fails, Doubt::OtherFailures);
        row("failed turned into passed", "scratched", "UPDATE inspection SET verdict = 1", Doubt::OtherVerdict);
        row("passed turned into failed", "clean", "UPDATE inspection SET verdict = 2", Doubt::OtherVerdict);
    }
    void whatContradictsItselfIsDoubtful()
    {
        QFETCH(const QString, sample);
        QFETCH(const QString, harm);
        QFETCH(const int, doubt);
        const Id id = stored(sample).id;
        run(harm);

        QCOMPARE(static_cast<int>(doubtOf(mStore->inspection(id).value)), doubt);
        QCOMPARE(mStore->verify().value.databaseFaults,
            QStringList(QStringLiteral("Inspection 1 contradicts itself: ") + wordsOf(static_cast<Doubt>(doubt))));
        QCOMPARE(faultOfMerge(), Fault::Damaged);
    }

    void aVerdictWithoutItsPictureIsNotStored()
    {
        const Face &face = Face::of(QStringLiteral("clean"));

        const Answer<Id> id = mStore->addInspection(face.origin(), face.inspection, {});

        QCOMPARE(id.problem.fault, Fault::Invalid);
        QCOMPARE(id.problem.text, QStringLiteral("A verdict without the picture that it rests on is not kept"));
        QCOMPARE(mStore->count().value, 0);
        QCOMPARE(sweptBy(mStore.get()), 0);
    }

    void aDoubtfulOneCanBeMarkedToBeRepeated()
    {
        const Id id = stored(QStringLiteral("clean")).id;
        run(QStringLiteral("UPDATE inspection SET picture = NULL"));

        const Problem problem = mStore->setDecision(id, Decision::ToRepeat, QStringLiteral("again"));

        QVERIFY2(problem.ok(), qPrintable(problem.text));
        QCOMPARE(mStore->inspection(id).value.decision, Decision::ToRepeat);
        QVERIFY(!mStore->setDecision(id, static_cast<Decision>(77), {}).ok());
    }

    void rulesOfOthersAreTheirs_data()
    {
        QTest::addColumn<QString>("software");
        QTest::addColumn<bool>("isKnown");
        QTest::newRow("this version") << QStringLiteral("VantorBase " VANTORBASE_VERSION) << true;
        QTest::newRow("an earlier one") << QStringLiteral("VantorBase 0.0.9") << true;
        QTest::newRow("one with a blank behind it") << QStringLiteral("VantorBase " VANTORBASE_VERSION " ") << false;
        QTest::newRow("a little later") << QStringLiteral("VantorBase 0.1.1") << false;
        QTest::newRow("a later one") << QStringLiteral("VantorBase 99.0.0") << false;
        QTest::newRow("a variant") << QStringLiteral("VantorBase " VANTORBASE_VERSION "-other") << false;
        QTest::newRow("another one") << QStringLiteral("Microscope 1.0.0") << false;
        QTest::newRow("no version") << QStringLiteral("VantorBase ") << false;
    }
    void rulesOfOthersAreTheirs()
    {
        QFETCH(const QString, software);
        QFETCH(const bool, isKnown);
        StoredInspection record = stored(QStringLiteral("clean"));
        record.origin.software = software;
        QCOMPARE(doubtOf(record), Doubt::None);

        record.zones[0].outerDiameter += 1;

        QCOMPARE(doubtOf(record), isKnown ? Doubt::OtherZones : Doubt::RulesOfOthers);
        QCOMPARE(isContradiction(doubtOf(record)), isKnown);
        record.standard = FiberInspection::Standard::Manual; // which has none
        QCOMPARE(doubtOf(record), Doubt::None);
    }

    void rulesOfOthersAreTakenOverButInDoubt()
    {
        Job job;
        job.name = QStringLiteral("P");
        const Id id = mStore->addJob(job).value.id;
        const Id point = mStore->addPoints(id, {QStringLiteral("1"), QStringLiteral("1"), {}, {}}).value[0].id;
        QVERIFY(Face::of(QStringLiteral("scratched")).addTo(*mStore, point).ok());
        run(QLatin1String(passes) + QLatin1String(failsNowhere)
            + QStringLiteral("UPDATE rule SET allowed = -1, violated = 0 WHERE violated = 1; "
                             "UPDATE inspection SET software = 'VantorBase 0.1.1'"));

        QVERIFY(mStore->points(id).value[0].isDoubtful);
        QCOMPARE(mStore->progress(id).value.passed, 0);
        QCOMPARE(mStore->doubt(1).value, Doubt::RulesOfOthers);
        QVERIFY(mStore->verify().value.allWell());
        QCOMPARE(faultOfMerge(), Fault::None);
    }

    void whatIsOfALaterVersionIsNotKnown()
    {
        StoredInspection record = stored(QStringLiteral("clean"));
        record.verdict = static_cast<Verdict>(3);
        QCOMPARE(doubtOf(record), Doubt::UnknownVerdict);

        record.verdict = Verdict::Passed;
        record.standard = static_cast<FiberInspection::Standard::Id>(6);
        QCOMPARE(doubtOf(record), Doubt::UnknownVerdict);
    }

    void aKindThatNoRuleIsAboutPassesNothing()
    {
        StoredInspection record = stored(QStringLiteral("pitted"));
        record.verdict = Verdict::Passed;
        for (StoredDefect &defect : record.defects) {
            defect.graded.kind = static_cast<FiberInspection::Defect::Type>(7);
            defect.graded.causesFailure = false;
        }
        for (StoredZone &zone : record.zones) {
            zone.violations = 0;
            for (StoredRule &stored : zone.rules) {
                stored.found = 0;
                stored.violated = false;
            }
        }

        QCOMPARE(doubtOf(record), Doubt::OtherCounts);
    }

    void anEndlessScaleMeasuresNothing()
    {
        StoredInspection record = stored(QStringLiteral("clean"));
        QCOMPARE(doubtOf(record), Doubt::None);
        record.micronsPerPixel = std::numeric_limits<float>::infinity();

        QCOMPARE(doubtOf(record), Doubt::NotMeasured);
    }

    void aSizeThatIsNoneMatchesNoRule()
    {
        StoredInspection record = stored(QStringLiteral("pitted"));
        QVERIFY(!record.defects.isEmpty());
        record.defects.first().graded.sizeMicrons = std::numeric_limits<double>::quiet_NaN();

        QCOMPARE(doubtOf(record), Doubt::OtherCounts);
    }

private:
    QString folder() const { return mDir->filePath(QStringLiteral("store")); }

    StoredInspection stored(const QString &sample)
    {
        const Answer<Id> id = Face::of(sample).addTo(*mStore);
        return mStore->inspection(id.value).value;
    }

    /// Of the store, taken over by another one.
    Fault faultOfMerge() const
    {
        RecordStore other;
        other.open(mDir->filePath(QStringLiteral("other")));
        return other.merge(folder()).problem.fault;
    }

    void run(const QString &statements) const
    {
        OwnConnection connection(folder());
        const QStringList all = statements.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (const QString &one : all) {
            if (!one.trimmed().isEmpty())
                QCOMPARE(connection.run(one), QStringList());
        }
    }

    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<RecordStore> mStore;
};

QTEST_GUILESS_MAIN(TestDoubt)
#include "tst_doubt.moc"
