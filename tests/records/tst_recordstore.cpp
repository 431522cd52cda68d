// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "OwnConnection.h"
#include "StoredFaces.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

using namespace FiberInspection;
using namespace Records;

namespace {
Job panelJob()
{
    Job job;
    job.name = QStringLiteral("Panel 7");
    job.customer = QStringLiteral("Müller & Söhne");
    job.site = QStringLiteral("Cellar");
    job.operatorName = QStringLiteral("Zoë");
    job.standard = Standard::IEC61300_3_35_SM_RL45;
    return job;
}

PointRun run(const char *from, const char *to, Side side = Side::A)
{
    return {QString::fromLatin1(from), QString::fromLatin1(to), side, FibreKind::SingleModeAngled};
}

QVector<Id> idsOf(const Answer<QVector<InspectionSummary>> &rows)
{
    QVector<Id> ids;
    for (const InspectionSummary &row : rows.value)
        ids << row.id;
    return ids;
}

Filter textFilter(const char *text)
{
    Filter filter;
    filter.text = QString::fromUtf8(text);
    return filter;
}

/// A face without a fibre.
Inspection emptyFace()
{
    QImage image(800, 600, QImage::Format_RGB32);
    image.fill(Qt::lightGray);
    return inspect(image, Standard::IEC61300_3_35_SM_RL45);
}
} // namespace

class TestRecordStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mStore = std::make_unique<RecordStore>();
        const Opening opening = mStore->open(mDir->path());
        QVERIFY2(opening.how == Opened::Begun, qPrintable(opening.problem.text));
    }

    void anInspectionComesBackAsItWasMade_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *const name : {"clean", "dirty", "margin", "mm", "pitted", "scratched"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void anInspectionComesBackAsItWasMade()
    {
        QFETCH(const QString, name);
        const Face &face = Face::of(name);
        Origin origin = face.origin();
        origin.made = QDateTime(QDate(2026, 2, 28), QTime(23, 59, 59, 123), Qt::UTC);
        origin.focusValue = 0.1;
        origin.software = QStringLiteral("Tester 7");

        const Answer<Id> id = mStore->addInspection(origin, face.inspection, face.picture);
        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        reopen();
        const Answer<StoredInspection> answer = mStore->inspection(id.value);

        QVERIFY2(answer.ok(), qPrintable(answer.problem.text));
        const StoredInspection &stored = answer.value;
        const Inspection &made = face.inspection;
        QCOMPARE(stored.id, id.value);
        QCOMPARE(stored.made, origin.made);
        QCOMPARE(stored.made.timeSpec(), Qt::UTC);
        QCOMPARE(stored.origin.focusValue, origin.focusValue);
        QCOMPARE(stored.origin.software, origin.software);
        QCOMPARE(stored.origin.seed, origin.seed);
        QCOMPARE(stored.origin.scale, origin.scale);
        QCOMPARE(stored.origin.maxImagePixels, origin.maxImagePixels);
        QCOMPARE(stored.origin.device.name, origin.device.name);
        QCOMPARE(stored.origin.device.fov, origin.device.fov);
        QCOMPARE(stored.standard, made.standardId());
        QCOMPARE(stored.verdict, made.passed() ? Verdict::Passed : Verdict::Failed);
        QCOMPARE(stored.reason, Inspection::Reason::None);
        QCOMPARE(stored.detail, made.detail());
        QCOMPARE(stored.decision, Decision::Undecided);
        QCOMPARE(stored.note, QString());
        QVERIFY(!stored.identity.isNull());
        QCOMPARE(stored.micronsPerPixel, made.micronsPerPixel());
        QCOMPARE(stored.claddingCircle, made.claddingCircle());
        QCOMPARE(stored.crop, made.crop());
        QCOMPARE(stored.grayLevels, made.grayLevels());
        QCOMPARE(stored.counts, made.counts());
        QCOMPARE(stored.zones, StoredZone::of(made.result()));
        QCOMPARE(stored.defects, StoredDefect::of(made));
        QVERIFY(stored.isPictureThere && stored.isAnnotatedPictureThere);
        QCOMPARE(mStore->picture(stored.picture).value, face.picture);
        const QImage annotated = QImage::fromData(mStore->picture(stored.annotatedPicture).value, "PNG");
        QCOMPARE(annotated.convertToFormat(QImage::Format_RGB32),
            made.annotatedImage().convertToFormat(QImage::Format_RGB32));
    }

    void theSamplesHaveSomethingToStore()
    {
        int defects = 0;
        int violated = 0;
        for (const char *const name : {"dirty", "pitted", "scratched"}) {
            defects += Face::of(QString::fromLatin1(name)).inspection.defects().size();
            const Inspection &inspection = Face::of(QString::fromLatin1(name)).inspection;
            violated += inspection.result().core().violations + inspection.result().cladding().violations;
        }
        QVERIFY(defects > 3);
        QVERIFY(violated > 0);
        QVERIFY(Face::of(QStringLiteral("clean")).inspection.passed());
    }

    void aStoredPictureInspectedAgainGivesTheSame_data() { anInspectionComesBackAsItWasMade_data(); }
    void aStoredPictureInspectedAgainGivesTheSame()
    {
        QFETCH(const QString, name);
        const Face &face = Face::of(name);
        const Answer<Id> id = face.addTo(*mStore);

        const Answer<Inspection> again = mStore->inspectAgain(id.value);

        QVERIFY2(again.ok(), qPrintable(again.problem.text));
        QVERIFY(again.value == face.inspection);
    }

    void aScaledInspectionIsMadeAgainAtItsScale()
    {
        const QByteArray picture = Face::of(QStringLiteral("pitted")).picture;
        InspectionOptions options;
        options.seed = 7;
        options.scale = 1.25F;
        const Inspection made =
            inspect(decodeImage(picture).image, Standard::IEC61300_3_35_SM_RL45, Device::ks20(), options);

        const auto id = mStore->addInspection(Origin::of(noId, Device::ks20(), options), made, picture);

        QVERIFY(mStore->inspectAgain(id.value).value == made);
    }

    void anInspectionWithoutAVerdictIsStoredAsSuch()
    {
        const Inspection none = emptyFace();
        QCOMPARE(none.reason(), Inspection::Reason::NoFibre);

        const Answer<Id> id = mStore->addInspection({}, none, Face::of(QStringLiteral("clean")).picture);
        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        const StoredInspection stored = mStore->inspection(id.value).value;

        QCOMPARE(stored.verdict, Verdict::None);
        QCOMPARE(stored.reason, Inspection::Reason::NoFibre);
        QVERIFY(stored.isPictureThere);
        QVERIFY(stored.annotatedPicture.isEmpty());
        QVERIFY(!stored.isAnnotatedPictureThere);
        QCOMPARE(stored.crop, none.crop());
        QCOMPARE(stored.zones, StoredZone::of(none.result()));
    }

    void anInspectionAtAnImpossibleScaleIsStored_data()
    {
        QTest::addColumn<float>("scale");
        QTest::newRow("no number") << std::numeric_limits<float>::quiet_NaN();
        QTest::newRow("endless") << std::numeric_limits<float>::infinity();
        QTest::newRow("huge") << 1e30F;
        QTest::newRow("negative") << -1.0F;
    }
    void anInspectionAtAnImpossibleScaleIsStored()
    {
        QFETCH(const float, scale);
        const Face &face = Face::of(QStringLiteral("clean"));
        InspectionOptions options;
        options.scale = scale;
        const Inspection none =
            inspect(face.inspection.image(), Standard::IEC61300_3_35_SM_RL45, Device::ks20(), options);
        QCOMPARE(none.reason(), Inspection::Reason::UnusableScale);

        const auto id = mStore->addInspection(Origin::of(noId, Device::ks20(), options), none, face.picture);

        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        const StoredInspection stored = mStore->inspection(id.value).value;
        QCOMPARE(stored.reason, Inspection::Reason::UnusableScale);
        QVERIFY(!(stored.origin.scale > 0)); // as unusable as it was
        QVERIFY(mStore->verify().value.allWell());
    }

    void anInspectionByAnotherStandardThanItsJobIsRefused()
    {
        Job job = panelJob();
        job.standard = Standard::IEC61300_3_35_MM;
        const Id point = mStore->addPoints(mStore->addJob(job).value.id, run("1", "1")).value.first().id;

        const Problem problem = Face::of(QStringLiteral("clean")).addTo(*mStore, point).problem;
        QCOMPARE(problem.fault, Fault::Invalid);
        QVERIFY2(problem.text.contains(QStringLiteral("standard")), qPrintable(problem.text));
        QCOMPARE(mStore->count().value, 0);
        QVERIFY(pictures().isEmpty());
        QVERIFY(Face::of(QStringLiteral("mm")).addTo(*mStore, point).ok());
    }

    void anInspectionOfNoPictureIsStored()
    {
        const Inspection missing = inspectFile(QStringLiteral("/nowhere/face.jpg"), Standard::Manual);
        QCOMPARE(missing.reason(), Inspection::Reason::FileMissing);

        const Answer<Id> id = mStore->addInspection({}, missing, {});
        const StoredInspection stored = mStore->inspection(id.value).value;

        QCOMPARE(stored.reason, Inspection::Reason::FileMissing);
        QCOMPARE(stored.picture, QByteArray());
        QVERIFY(!stored.isPictureThere);
        QCOMPARE(mStore->inspectAgain(id.value).problem.fault, Fault::PictureMissing);
    }

    void whatWasNeverInspectedIsRefused()
    {
        QCOMPARE(mStore->addInspection({}, Inspection(), "abc").problem.fault, Fault::Invalid);
        QCOMPARE(mStore->count().value, 0);
    }

    void aJobComesBackAsItWasAdded()
    {
        Job made = panelJob();
        made.standard = Standard::IEC61300_3_35_SM_APC;
        const Answer<Job> added = mStore->addJob(made);
        QVERIFY2(added.ok(), qPrintable(added.problem.text));
        reopen();

        const Job job = mStore->job(added.value.id).value;
        QCOMPARE(job.name, panelJob().name);
        QCOMPARE(job.customer, panelJob().customer);
        QCOMPARE(job.site, panelJob().site);
        QCOMPARE(job.operatorName, panelJob().operatorName);
        QCOMPARE(job.standard, made.standard);
        QCOMPARE(job.identity, added.value.identity);
        QVERIFY(!job.identity.isNull());
        QCOMPARE(job.created, added.value.created);
        QVERIFY(qAbs(job.created.secsTo(QDateTime::currentDateTimeUtc())) < 60);
        QVERIFY(job.isOpen());
        QCOMPARE(mStore->jobOf(job.identity).value.id, job.id);
        QCOMPARE(mStore->jobOf(QUuid::createUuid()).problem.fault, Fault::NotFound);
    }

    void aJobCanBeRenamedAndClosed()
    {
        Job job = mStore->addJob(panelJob()).value;
        job.name = QStringLiteral("Panel 8");
        job.closed = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);

        QVERIFY(mStore->updateJob(job).ok());

        QCOMPARE(mStore->job(job.id).value.name, QStringLiteral("Panel 8"));
        QCOMPARE(mStore->job(job.id).value.closed, job.closed);
        job.id += 1;
        QCOMPARE(mStore->updateJob(job).fault, Fault::NotFound);
    }

    void jobsAreListedTheLatestFirst()
    {
        QVector<Id> ids;
        for (int i = 0; i < 5; ++i)
            ids.prepend(mStore->addJob(panelJob()).value.id);

        const QVector<Job> page = mStore->jobs({1, 2}).value;

        QCOMPARE(page.size(), 2);
        QCOMPARE(page[0].id, ids[1]);
        QCOMPARE(page[1].id, ids[2]);
        QCOMPARE(mStore->jobs().value.size(), 5);
    }

    void whatIsNoJobIsRefused()
    {
        Job job = panelJob();
        job.name = QStringLiteral(" ");
        QCOMPARE(mStore->addJob(job).problem.fault, Fault::Invalid);
        job.name = QString(RecordStore::maxTextLength + 1, QLatin1Char('x'));
        QCOMPARE(mStore->addJob(job).problem.fault, Fault::Invalid);
        job.name = QStringLiteral("a") + QChar(0xd800); // bytes that are no characters, as the command line brings them
        QCOMPARE(mStore->addJob(job).problem.fault, Fault::Invalid);
        for (const QChar mark :
            {QChar(QChar::ByteOrderMark), QChar(QChar::ByteOrderSwapped)}) { // SQLite would take it for one
            job.name = mark + QStringLiteral("Panel");
            const Problem problem = mStore->addJob(job).problem;
            QCOMPARE(problem.fault, Fault::Invalid);
            QVERIFY2(problem.text.contains(QLatin1String("byte order mark")), qPrintable(problem.text));
        }
        job = panelJob();
        job.standard = static_cast<Standard::Id>(99);
        QCOMPARE(mStore->addJob(job).problem.fault, Fault::Invalid);
        QCOMPARE(mStore->job(1).problem.fault, Fault::NotFound);
        job = mStore->addJob(panelJob()).value;
        job.closed = QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC);
        QCOMPARE(mStore->updateJob(job).fault, Fault::Invalid);
        QVERIFY(mStore->job(job.id).value.isOpen());
        const PointRun odd{QStringLiteral("1"), QStringLiteral("2"), static_cast<Side>(9), FibreKind::Unknown};
        QCOMPARE(mStore->addPoints(job.id, odd).problem.fault, Fault::Invalid);
        QCOMPARE(mStore->points(job.id).value.size(), 0);
    }

    void whatNoOtherStoreWouldTakeIsNotKept()
    {
        const Face &face = Face::of(QStringLiteral("pitted"));
        Origin scale = face.origin();
        scale.scale = std::numeric_limits<float>::infinity();
        Origin focus = face.origin();
        focus.focusValue = -std::numeric_limits<double>::infinity();
        Origin made = face.origin();
        made.made = QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC);
        for (const Origin &origin : {scale, focus, made})
            QCOMPARE(mStore->addInspection(origin, face.inspection, face.picture).problem.fault, Fault::Invalid);
        QCOMPARE(mStore->count().value, 0);
        QVERIFY(PictureStore(mDir->filePath(QStringLiteral("pictures"))).isEmpty());

        const Id id = face.addTo(*mStore).value;
        QCOMPARE(mStore->setDecision(id, static_cast<Decision>(77), {}).fault, Fault::Invalid);
        QCOMPARE(mStore->setDecision(id, Decision::Accepted, QChar(0xd800)).fault, Fault::Invalid);
        QCOMPARE(mStore->inspection(id).value.decision, Decision::Undecided);
    }

    void aRecordDoesNotTellHowLargeAPictureIsDecodedAgain()
    {
        QImage large(5000, 4000, QImage::Format_Grayscale8); // 20 megapixels
        large.fill(Qt::black);
        QByteArray picture;
        QBuffer buffer(&picture);
        QVERIFY(buffer.open(QIODevice::WriteOnly) && large.save(&buffer, "PNG"));
        const Face &face = Face::of(QStringLiteral("clean"));
        Origin origin = face.origin();
        origin.maxImagePixels = std::numeric_limits<qint64>::max();
        const Id id = mStore->addInspection(origin, face.inspection, picture).value;

        QCOMPARE(mStore->inspectAgain(id).problem.fault, Fault::TooLarge);
    }

    void whatCannotBeUsedIsNotInspectedAgain_data()
    {
        QTest::addColumn<QString>("values");
        for (const char *const values :
            {"scale = 0", "scale = -1", "scale = 1e-9", "fov_width = 0", "fov_height = -1", "fov_width = 2147483647"})
            QTest::newRow(values) << QString::fromLatin1(values);
    }
    void whatCannotBeUsedIsNotInspectedAgain()
    {
        QFETCH(const QString, values);
        const Id id = Face::of(QStringLiteral("clean")).addTo(*mStore).value;
        OwnConnection(mDir->path()).run(QStringLiteral("UPDATE inspection SET ") + values);

        const Answer<Inspection> again = mStore->inspectAgain(id);

        QCOMPARE(again.problem.fault, Fault::Invalid);
        QVERIFY2(again.problem.text.contains(QLatin1String("cannot be used")), qPrintable(again.problem.text));
    }

    void pointsHaveTheNamesOfTheRun()
    {
        const Id job = mStore->addJob(panelJob()).value.id;

        const auto first = mStore->addPoints(job, run("A1", "B2"));
        const auto second = mStore->addPoints(job, run("A1", "A2", Side::B));

        QVERIFY2(first.ok() && second.ok(), qPrintable(first.problem.text + second.problem.text));
        QCOMPARE(first.value.size(), 4);
        QCOMPARE(second.value.size(), 2);
        const QVector<Point> all = mStore->points(job).value;
        QStringList names;
        for (const Point &point : all) {
            QCOMPARE(point.position, names.size());
            QCOMPARE(point.job, job);
            QCOMPARE(point.fibre, FibreKind::SingleModeAngled);
            QCOMPARE(point.state, PointState::Open);
            names << point.name;
        }
        QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral("A1 A2 B1 B2 A1 A2"));
        QCOMPARE(all[3].side, Side::A);
        QCOMPARE(all[4].side, Side::B);
    }

    void aRunThatCannotBeAddsNoPoint_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *from, const char *to, const char *text) {
            QTest::newRow(text) << QString::fromLatin1(from) << QString::fromLatin1(to) << QString::fromLatin1(text);
        };
        row("A9", "B1", "ToLessThanFrom at column 2");
        row("A1", "A100", "FromToLengthMismatch");
        row("A000", "B999", "ExceedsMax");
        row("", "", "EmptyFromAndToStrings");
        row("A3", "A7", "UNIQUE"); // A5 is there
    }
    void aRunThatCannotBeAddsNoPoint()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const QString, text);
        const Id job = mStore->addJob(panelJob()).value.id;
        QVERIFY(mStore->addPoints(job, run("A5", "A5")).ok());

        const auto answer = mStore->addPoints(job, {from, to, Side::A, FibreKind::Unknown});

        QCOMPARE(answer.problem.fault, Fault::Invalid);
        QVERIFY2(answer.problem.text.contains(text), qPrintable(answer.problem.text));
        QCOMPARE(mStore->points(job).value.size(), 1);
    }

    void pointsOfNoJobAreRefused()
    {
        QCOMPARE(mStore->addPoints(7, run("A1", "A2")).problem.fault, Fault::NotFound);
        QCOMPARE(Face::of(QStringLiteral("clean")).addTo(*mStore, 7).problem.fault, Fault::NotFound);
    }

    void thePanelShowsWhatHasBecomeOfEachPoint()
    {
        const Id job = mStore->addJob(panelJob()).value.id;
        const QVector<Point> points = mStore->addPoints(job, run("1", "6")).value;
        const Face &good = Face::of(QStringLiteral("clean"));
        const Face &bad = Face::of(QStringLiteral("pitted"));
        bad.addTo(*mStore, points[0].id);
        good.addTo(*mStore, points[0].id); // cleaned
        bad.addTo(*mStore, points[1].id);
        mStore->setDecision(bad.addTo(*mStore, points[2].id).value, Decision::Accepted, QStringLiteral("old"));
        mStore->setDecision(bad.addTo(*mStore, points[3].id).value, Decision::ToRepeat, {});
        mStore->addInspection(Origin::of(points[4].id), emptyFace(), {});

        const QVector<Point> now = mStore->points(job).value;
        QCOMPARE(now[0].state, PointState::Passed);
        QCOMPARE(now[0].inspections, 2);
        QCOMPARE(now[0].lastInspection, Id(2));
        QCOMPARE(now[1].state, PointState::Failed);
        QCOMPARE(now[2].state, PointState::Accepted);
        QCOMPARE(now[3].state, PointState::Open);
        QCOMPARE(now[4].state, PointState::NoVerdict);
        QCOMPARE(now[5].state, PointState::Open);
        const JobProgress progress = mStore->progress(job).value;
        QCOMPARE(progress.points, 6);
        QCOMPARE(progress.open, 2);
        QCOMPARE(progress.passed, 1);
        QCOMPARE(progress.failed, 1);
        QCOMPARE(progress.accepted, 1);
        QCOMPARE(progress.withoutVerdict, 1);
    }

    void aTextThatIsTooLongIsNotReadAsAWhole()
    {
        Job job;
        job.name = QStringLiteral("P");
        const Id id = mStore->addJob(job).value.id;
        const Id point = mStore->addPoints(id, {QStringLiteral("1"), QStringLiteral("1"), {}, {}}).value[0].id;
        QVERIFY(Face::of(QStringLiteral("clean")).addTo(*mStore, point).ok());
        QVERIFY(mStore->setDecision(1, Decision::Undecided, QString(RecordStore::maxTextLength, QChar(0xe4))).ok());
        QVERIFY(mStore->inspection(1).ok());
        const QString text = QStringLiteral("printf('%1', 5000000, 'x')").arg(QStringLiteral("%.*c"));
        OwnConnection connection(mDir->path());
        for (const char *const statement : {"UPDATE inspection SET note = %1, software = %1",
                 "UPDATE point SET name = %1", "UPDATE job SET name = %1, customer = %1"})
            QCOMPARE(connection.run(QString::fromLatin1(statement).arg(text)), QStringList());

        const InspectionSummary row = mStore->list().value.value(0);

        const int most = RecordStore::maxTextLength + 1;
        QVERIFY(!row.note.isEmpty() && row.note.size() <= most);
        QVERIFY(row.pointName.size() <= most && row.jobName.size() <= most);
        QVERIFY(mStore->job(id).value.customer.size() <= most);
        QVERIFY(mStore->jobs().value[0].name.size() <= most);
        QVERIFY(mStore->points(id).value[0].name.size() <= most);
        QVERIFY(mStore->points(id).value[0].isDoubtful);
        QCOMPARE(mStore->inspection(1).problem.fault, Fault::Damaged);
        QCOMPARE(mStore->inspection(1).problem.text, QStringLiteral("Inspection 1: a text is too long"));
        QVERIFY(!mStore->verify().value.allWell());
    }

    void whatFailsTakesNoId()
    {
        const QTemporaryDir elsewhere;
        RecordStore other;
        QVERIFY(other.open(elsewhere.path()).canWrite());
        Job named;
        named.name = QStringLiteral("There");
        const Id there = other.addJob(named).value.id;
        const PointRun run{QStringLiteral("A1"), QStringLiteral("A2"), {}, {}};
        const Id point = other.addPoints(there, run).value[0].id;
        QVERIFY(Face::of(QStringLiteral("clean")).addTo(other, point).ok());
        QVERIFY(Face::of(QStringLiteral("pitted")).addTo(other, point).ok());

        int asked = 0;
        QCOMPARE(
            mStore->merge(elsewhere.path(), [&asked](int, int) { return ++asked < 1000; }).problem.fault, Fault::None);
        const int all = asked;
        QVERIFY(all > 4);
        QVERIFY(!mStore->addPoints(1, run).ok()); // they are there
        QVERIFY(!mStore->setDecision(1, static_cast<Decision>(77), {}).ok());
        RecordStore third;
        const QTemporaryDir own;
        QVERIFY(third.open(own.path()).canWrite());
        for (int most = 1; most <= all; ++most) {
            asked = 0;
            QCOMPARE(
                third.merge(elsewhere.path(), [&](int, int) { return ++asked < most; }).problem.fault, Fault::Stopped);
        }
        QVERIFY(third.merge(elsewhere.path()).ok());

        for (RecordStore *const store : {mStore.get(), &third}) {
            QVERIFY(store->verify().value.allWell());
            QCOMPARE(store->list().value.value(0).id, Id(2));
        }
    }

    void aDecisionAndItsNoteStay()
    {
        const Id id = Face::of(QStringLiteral("pitted")).addTo(*mStore).value;

        QVERIFY(mStore->setDecision(id, Decision::Accepted, QStringLiteral("only for \"now\"\n'quoted'")).ok());
        reopen();

        const StoredInspection stored = mStore->inspection(id).value;
        QCOMPARE(stored.decision, Decision::Accepted);
        QCOMPARE(stored.note, QStringLiteral("only for \"now\"\n'quoted'"));
        QCOMPARE(stored.verdict, Verdict::Failed); // as it was made
        QCOMPARE(mStore->setDecision(id + 1, Decision::Accepted, {}).fault, Fault::NotFound);
        const QString tooLong(RecordStore::maxTextLength + 1, QLatin1Char('x'));
        QCOMPARE(mStore->setDecision(id, Decision::Accepted, tooLong).fault, Fault::Invalid);
    }

    void listsAreInTheOrderOfStoringWhateverTheClockSays()
    {
        QVector<Id> expected;
        for (const int year : {2026, 1970, 2040, 2001}) { // the clock was set back, and forth
            Origin origin;
            origin.made = QDateTime(QDate(year, 6, 1), QTime(0, 0), Qt::UTC);
            expected.prepend(mStore->addInspection(origin, emptyFace(), {}).value);
        }

        QCOMPARE(idsOf(mStore->list()), expected);
        QCOMPARE(idsOf(mStore->list({}, {1, 2})), expected.mid(1, 2));
        QCOMPARE(idsOf(mStore->list({}, {4, 2})), QVector<Id>());
        QCOMPARE(idsOf(mStore->list({}, {-1, -1})), QVector<Id>());
        QVERIFY(std::is_sorted(expected.crbegin(), expected.crend()));
    }

    void aListIsChosenByWhatItsRowsAre()
    {
        const Id job = mStore->addJob(panelJob()).value.id;
        const QVector<Point> points = mStore->addPoints(job, run("1", "2")).value;
        const Id good = Face::of(QStringLiteral("clean")).addTo(*mStore, points[0].id).value;
        const Id bad = Face::of(QStringLiteral("pitted")).addTo(*mStore, points[1].id).value;
        const Id multimode = Face::of(QStringLiteral("mm")).addTo(*mStore).value;
        Origin old;
        old.made = QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
        const Id none = mStore->addInspection(old, emptyFace(), {}).value;
        QVERIFY(good < bad && bad < multimode && multimode < none);

        const auto idsBy = [this](const std::function<void(Filter &)> &set) {
            Filter filter;
            set(filter);
            const QVector<Id> ids = idsOf(mStore->list(filter));
            return mStore->count(filter).value == ids.size() ? ids : QVector<Id>{-1};
        };
        QCOMPARE(idsBy([&](Filter &f) { f.job = job; }), QVector<Id>({bad, good}));
        QCOMPARE(idsBy([&](Filter &f) { f.point = points[0].id; }), QVector<Id>({good}));
        QCOMPARE(idsBy([](Filter &f) { f.verdict = Verdict::None; }), QVector<Id>({none}));
        QCOMPARE(idsBy([](Filter &f) { f.standard = Standard::IEC61300_3_35_MM; }), QVector<Id>({multimode}));
        const QByteArray goodPicture = PictureStore::hashOf(Face::of(QStringLiteral("clean")).picture);
        QCOMPARE(idsBy([&](Filter &f) { f.picture = goodPicture; }), QVector<Id>({good}));
        QCOMPARE(idsBy([](Filter &f) { f.picture = "no name"; }), QVector<Id>());
        QCOMPARE(idsBy([&](Filter &f) { f.until = old.made; }), QVector<Id>({none}));
        QCOMPARE(idsBy([&](Filter &f) { f.from = old.made.addMSecs(1); }), QVector<Id>({multimode, bad, good}));
        QCOMPARE(idsBy([&](Filter &f) {
            f.job = job;
            f.verdict = Verdict::Failed;
            f.text = QStringLiteral("panel");
        }),
            QVector<Id>({bad}));
        QCOMPARE(idsBy([](Filter &) {}).size(), 4);
        const InspectionSummary row = mStore->list(textFilter("panel")).value.last();
        QCOMPARE(row.jobName, QStringLiteral("Panel 7"));
        QCOMPARE(row.pointName, QStringLiteral("1"));
        QCOMPARE(row.verdict, Verdict::Passed);
    }

    void searchFindsBeginningsOfWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isFound");
        const auto row = [](const char *text, bool isFound) {
            QTest::newRow(text) << QString::fromUtf8(text) << isFound;
        };
        row("P", true);
        row("panel", true);
        row("PANEL 7", true);
        row("anel", false);
        row("mül", true);
        row("mul", true); // whoever has no umlauts on the keyboard
        row("zoe cellar", true);
        row("cellar zoe attic", false);
        row("A12", true);
        row("A13", false);
        row("scratched", true); // the note
        row("  ", true);
        row("&", false); // is in no word
        row("???", false);
        row("\"", false);
        row("& panel", true);
        row("\" OR \"x", false);
        row("panel\"", true);
        row("NEAR(", false);
        row("note:", false);
        row("-panel", true);
        row("pan*", true);
        row("'; DROP TABLE job; --", false);
    }
    void searchFindsBeginningsOfWords()
    {
        QFETCH(const QString, text);
        QFETCH(const bool, isFound);
        const Id job = mStore->addJob(panelJob()).value.id;
        const Id point = mStore->addPoints(job, run("A12", "A12")).value.first().id;
        const Id id = mStore->addInspection(Origin::of(point), emptyFace(), {}).value;
        QVERIFY(mStore->setDecision(id, Decision::Accepted, QStringLiteral("Scratched by the clip")).ok());

        Filter filter;
        filter.text = text;
        const auto rows = mStore->list(filter);

        QVERIFY2(rows.ok(), qPrintable(rows.problem.text));
        QCOMPARE(idsOf(rows), isFound ? QVector<Id>({id}) : QVector<Id>());
        QCOMPARE(mStore->count(filter).value, isFound ? 1 : 0);
    }

    void aRenamedJobIsFoundByItsNewName()
    {
        Job job = mStore->addJob(panelJob()).value;
        const Id point = mStore->addPoints(job.id, run("A1", "A1")).value.first().id;
        const Id id = mStore->addInspection(Origin::of(point), emptyFace(), {}).value;
        job.name = QStringLiteral("Rack");
        QVERIFY(mStore->updateJob(job).ok());

        QCOMPARE(idsOf(mStore->list(textFilter("rack"))), QVector<Id>({id}));
        QCOMPARE(idsOf(mStore->list(textFilter("panel"))), QVector<Id>());
    }

    void endlessTextIsSearchedFor()
    {
        mStore->addInspection({}, emptyFace(), {});

        QVERIFY(mStore->list(textFilter(QByteArray("word ").repeated(100000).constData())).ok());
        QVERIFY(mStore->list(textFilter(QByteArray(1000000, 'x').constData())).ok());
        Filter odd;
        odd.text = QStringLiteral("a") + QChar(QChar::Null) + QChar(0xd800) + QStringLiteral("b");
        QVERIFY2(mStore->list(odd).ok(), qPrintable(mStore->list(odd).problem.text));
    }

    void aPictureCanBeShownFromItsFile()
    {
        const Face &face = Face::of(QStringLiteral("pitted"));
        const StoredInspection stored = mStore->inspection(face.addTo(*mStore).value).value;

        for (const QByteArray &hash : {stored.picture, stored.annotatedPicture}) {
            const Answer<QString> path = mStore->picturePath(hash);
            QVERIFY2(path.ok(), qPrintable(path.problem.text));
            QVERIFY(QDir::isAbsolutePath(path.value));
            QFile file(path.value);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(PictureStore::hashOf(file.readAll()), hash);
        }
    }

    void aPictureWithoutAFileHasNoPath()
    {
        const Face &face = Face::of(QStringLiteral("pitted"));
        const StoredInspection stored = mStore->inspection(face.addTo(*mStore).value).value;
        const QString path = mStore->picturePath(stored.picture).value;
        QVERIFY(QFile::remove(path));

        const QByteArray other = PictureStore::hashOf("of no picture");
        for (const QByteArray &hash : {stored.picture, other, QByteArray(), QByteArray("../records.sqlite")}) {
            const Answer<QString> answer = mStore->picturePath(hash);
            QCOMPARE(answer.problem.fault, Fault::PictureMissing);
            QCOMPARE(answer.value, QString());
        }
        QVERIFY(QDir().mkdir(path));
        QCOMPARE(mStore->picturePath(stored.picture).problem.fault, Fault::PictureMissing);
        mStore->close();
        QCOMPARE(mStore->picturePath(stored.annotatedPicture).problem.fault, Fault::NotOpen);
    }

    void aPictureThatIsGoneIsToldAndItsRowStays()
    {
        const Id id = Face::of(QStringLiteral("clean")).addTo(*mStore).value;
        const StoredInspection before = mStore->inspection(id).value;
        QVERIFY(pictures().remove(before.picture));

        const StoredInspection now = mStore->inspection(id).value;
        QVERIFY(!now.isPictureThere);
        QVERIFY(now.isAnnotatedPictureThere);
        QCOMPARE(now.zones, before.zones);
        QCOMPARE(mStore->picture(now.picture).problem.fault, Fault::PictureMissing);
        const Verification found = mStore->verify().value;
        QVERIFY(!found.allWell());
        QCOMPARE(found.pictureFaults.size(), 1);
        QCOMPARE(found.pictureFaults.first().inspection, id);
        QCOMPARE(found.pictureFaults.first().fault, Fault::PictureMissing);
    }

    void verifyFindsADamagedPicture()
    {
        const Id id = Face::of(QStringLiteral("clean")).addTo(*mStore).value;
        QVERIFY(mStore->verify().value.allWell());
        QCOMPARE(mStore->verify().value.pictures, 2);
        const QByteArray hash = mStore->inspection(id).value.picture;
        QFile file(pictures().path(hash));
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.seek(file.size() / 2);
        file.write("x");
        file.close();

        const Verification found = mStore->verify().value;
        QCOMPARE(found.pictureFaults.size(), 1);
        QCOMPARE(found.pictureFaults.first().hash, hash);
        QCOMPARE(found.pictureFaults.first().fault, Fault::PictureDamaged);
    }

    void verifyEndsWhenItIsTold()
    {
        for (int i = 0; i < 3; ++i)
            Face::of(QStringLiteral("clean")).addTo(*mStore);

        const Answer<Verification> stopped = mStore->verify([](int done, int) { return done < 1; });

        QCOMPARE(stopped.problem.fault, Fault::Stopped); // nothing is known to be well
        QCOMPARE(stopped.value.pictures, 2);
        QVERIFY(mStore->verify([](int done, int all) { return done < all; }).ok());
    }

    void anInspectionIsOfTheStandardOfItsJob()
    {
        const Id job = mStore->addJob(panelJob()).value.id;
        const Id point = mStore->addPoints(job, {QStringLiteral("1"), QStringLiteral("1"), {}, {}}).value[0].id;
        const Face &other = Face::of(QStringLiteral("mm"));
        QVERIFY(mStore->job(job).value.standard != other.inspection.standardId());

        QCOMPARE(other.addTo(*mStore, point).problem.fault, Fault::Invalid);

        QCOMPARE(mStore->count().value, 0);
        QVERIFY(pictures().isEmpty());
        QVERIFY(other.addTo(*mStore).ok()); // of no job
        QVERIFY(Face::of(QStringLiteral("clean")).addTo(*mStore, point).ok());
        QVERIFY(mStore->verify().value.allWell());
    }

    void verifyFindsWhatCannotBeReadBack_data()
    {
        QTest::addColumn<QStringList>("harm");
        QTest::addColumn<QString>("fault");
        QTest::newRow("shape") << QStringList{QStringLiteral(
            "INSERT INTO defect VALUES (2, 1000, 0, 0, 1, 0, 0, 0, x'00')")}
                               << QStringLiteral("Inspection 2: the shape of a defect is damaged");
        QTest::newRow("verdict against its rules")
            << QStringList{QStringLiteral("UPDATE inspection SET verdict = 3 - verdict WHERE id = 2")}
            << QStringLiteral("Inspection 2 contradicts itself: the verdict is not that of its rules");
        QTest::newRow("verdict") << QStringList{QStringLiteral("PRAGMA ignore_check_constraints = ON"),
            QStringLiteral("UPDATE inspection SET verdict = 7 WHERE id = 2")}
                                 << QStringLiteral("Inspection 2 has a value that nothing here writes");
    }
    void verifyFindsWhatCannotBeReadBack()
    {
        QFETCH(const QStringList, harm);
        QFETCH(const QString, fault);
        for (int i = 0; i < 3; ++i)
            Face::of(QStringLiteral("clean")).addTo(*mStore);
        QVERIFY(mStore->verify().value.allWell());
        {
            OwnConnection connection(mDir->path());
            for (const QString &statement : harm)
                QCOMPARE(connection.run(statement), QStringList());
        }
        QCOMPARE(mStore->open(mDir->path()).how, Opened::Usable);

        const Answer<Verification> found = mStore->verify();

        QVERIFY2(found.ok(), qPrintable(found.problem.text));
        QVERIFY(!found.value.databaseFaults.isEmpty());
        QCOMPARE(found.value.databaseFaults.last(), fault); // SQLite may have told the same before
        QCOMPARE(found.value.pictures, 6); // all the same
    }

    void whatALaterVersionWroteIsNoFault()
    {
        Face::of(QStringLiteral("clean")).addTo(*mStore);
        mStore->close();
        {
            OwnConnection connection(mDir->path());
            connection.run(QStringLiteral("UPDATE inspection SET standard = 99, decision = 99"));
            connection.run(QStringLiteral("UPDATE defect SET shape = x'00'"));
            connection.run(QStringLiteral("PRAGMA user_version = 99"));
        }
        QCOMPARE(mStore->open(mDir->path()).how, Opened::LaterVersion);

        const Answer<Verification> found = mStore->verify();

        QVERIFY2(found.value.allWell(), qPrintable(found.value.databaseFaults.join(QLatin1Char('\n'))));
        QCOMPARE(found.value.pictures, 2);
    }

    void sweepTakesOnlyWhatNoInspectionNames()
    {
        const Id id = Face::of(QStringLiteral("clean")).addTo(*mStore).value;
        const QByteArray orphan = pictures().put("nobody's").value.hash;

        QCOMPARE(sweptBy(mStore.get()), 1);

        QVERIFY(!pictures().contains(orphan));
        QVERIFY(mStore->inspection(id).value.isPictureThere);
        QVERIFY(mStore->inspection(id).value.isAnnotatedPictureThere);
    }

    void twoInspectionsOfOnePictureShareIt()
    {
        const Face &face = Face::of(QStringLiteral("clean"));
        const Id first = face.addTo(*mStore).value;
        const Id second = face.addTo(*mStore).value;

        QCOMPARE(mStore->inspection(first).value.picture, mStore->inspection(second).value.picture);
        QVERIFY(mStore->inspection(first).value.identity != mStore->inspection(second).value.identity);
        QCOMPARE(face.addTo(*mStore, 99).problem.fault, Fault::NotFound); // what fails takes no picture of others away
        QVERIFY(mStore->inspection(first).value.isPictureThere);
    }

    void aBackupCopiesNothingBehindALink()
    {
        QVERIFY(Face::of(QStringLiteral("pitted")).addTo(*mStore).ok());
        const QString folder = mDir->filePath(QStringLiteral("copy"));
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(QFile::link(mDir->filePath(QStringLiteral("pictures")), folder + QStringLiteral("/pictures")));

        QCOMPARE(mStore->backup(folder).problem.fault, Fault::Unusable);
        QVERIFY(!QFile::exists(folder + QStringLiteral("/records.sqlite")));
    }

    void aBackupThatFailsLeavesNoPicture()
    {
        constexpr int inspections = 10; // so that hardly ever the first picture is the one that fails
        const Face &face = Face::of(QStringLiteral("pitted"));
        for (int i = 0; i < inspections; ++i)
            QVERIFY(mStore->addInspection(face.origin(), face.inspection, face.picture + QByteArray::number(i)).ok());
        const PictureStore pictures(mDir->filePath(QStringLiteral("copy/pictures")));
        const QByteArray former = mStore->inspection(1).value.picture;
        QVERIFY(QDir().mkpath(mDir->filePath(QStringLiteral("copy"))));
        QVERIFY(pictures.put(mStore->picture(former).value).ok());
        QFile inTheWay(QFileInfo(pictures.path(mStore->inspection(1).value.annotatedPicture)).path());
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));

        QVERIFY(!mStore->backup(mDir->filePath(QStringLiteral("copy"))).ok());

        QVERIFY(pictures.remove(former)); // which was there before
        QVERIFY(pictures.isEmpty());
    }

    void aBackupIsAStoreOfItsOwn()
    {
        const Face &face = Face::of(QStringLiteral("pitted"));
        const Id id = face.addTo(*mStore).value;
        const QString folder = mDir->filePath(QStringLiteral("a 'copy' of 100%"));

        const Answer<Backup> backup = mStore->backup(folder);
        QVERIFY2(backup.ok(), qPrintable(backup.problem.text));
        QCOMPARE(backup.value.pictures, 2);
        QCOMPARE(backup.value.missing, 0);
        face.addTo(*mStore); // is not in it

        RecordStore copy;
        QCOMPARE(copy.open(folder).how, Opened::Usable);
        QCOMPARE(copy.count().value, 1);
        QCOMPARE(copy.inspection(id).value.defects, StoredDefect::of(face.inspection));
        QVERIFY(copy.verify().value.allWell());
        QCOMPARE(OwnConnection(folder).run(QStringLiteral("PRAGMA journal_mode")), QStringList(QStringLiteral("wal")));
        QCOMPARE(mStore->backup(folder).problem.fault, Fault::Invalid);
    }

    void twoCopiesAtOnceDoNotMix()
    {
        const QString folder = mDir->filePath(QStringLiteral("copy"));
        QVERIFY(QDir().mkpath(folder));
        const int other = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QCOMPARE(flock(other, LOCK_EX), 0);

        QCOMPARE(mStore->backup(folder).problem.fault, Fault::Busy);
        close(other);
        QVERIFY(mStore->backup(folder).ok());
    }

    void otherThreadsHaveObjectsOfTheirOwn()
    {
        constexpr int each = 5;
        const Face &face = Face::of(QStringLiteral("clean"));
        Fault fault = Fault::None;
        int stored = 0;
        std::thread thread([&] {
            fault = mStore->addInspection({}, face.inspection, face.picture).problem.fault;
            RecordStore own;
            if (!own.open(mDir->path()).canWrite())
                return;
            for (int i = 0; i < each; ++i)
                stored += face.addTo(own).ok() ? 1 : 0;
        });
        int storedHere = 0;
        for (int i = 0; i < each; ++i)
            storedHere += face.addTo(*mStore).ok() ? 1 : 0;
        thread.join();

        QCOMPARE(fault, Fault::WrongThread);
        QCOMPARE(stored, each);
        QCOMPARE(storedHere, each);
        QCOMPARE(mStore->count().value, 2 * each);
        QVERIFY(mStore->verify().value.allWell());
    }

    void aStoreThatIsNotOpenSaysSo()
    {
        mStore->close();
        QVERIFY(!mStore->isOpen() && !mStore->canWrite());
        QCOMPARE(mStore->list().problem.fault, Fault::NotOpen);
        QCOMPARE(mStore->addJob(panelJob()).problem.fault, Fault::NotOpen);
        QCOMPARE(Face::of(QStringLiteral("clean")).addTo(*mStore).problem.fault, Fault::NotOpen);
        QCOMPARE(RecordStore().open(QStringLiteral("/proc/nowhere")).how, Opened::No);
        QCOMPARE(RecordStore().open(mDir->filePath(QStringLiteral("none")), RecordStore::Mode::ReadOnly).problem.fault,
            Fault::NotFound);
    }

    void nothingIsSaidInTheLog()
    {
        const LogCapture log;
        Face::of(QStringLiteral("clean")).addTo(*mStore);
        mStore->list(textFilter("x"));
        mStore->inspection(77);
        reopen();
        mStore->close();
        QCOMPARE(log.asText(), QStringList());
    }

private:
    void reopen()
    {
        mStore->close();
        const Opening opening = mStore->open(mDir->path());
        QVERIFY2(opening.how == Opened::Usable, qPrintable(opening.problem.text));
    }

    PictureStore pictures() const { return PictureStore(mDir->filePath(QStringLiteral("pictures"))); }

    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<RecordStore> mStore;
};

QTEST_GUILESS_MAIN(TestRecordStore)
#include "tst_recordstore.moc"
