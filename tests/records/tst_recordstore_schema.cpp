// SPDX-License-Identifier: Apache-2.0
#include "OwnConnection.h"
#include "Records/InspectionColumns_p.h"
#include "StoredFaces.h"

#include <QDataStream>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using namespace Records;

namespace {
/// As a defect keeps them: a circle, no points of its rectangle, one pixel.
QByteArray shapeOf(double center, double radius, double pixel)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << QPointF(center, center) << radius << QVector<QPointF>() << QVector<QPointF>{QPointF(pixel, pixel)};
    return qCompress(bytes);
}
} // namespace

class TestRecordStoreSchema : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        RecordStore store;
        QCOMPARE(store.open(mDir->path()).how, Opened::Begun);
        Job job;
        job.name = QStringLiteral("Panel");
        job.id = store.addJob(job).value.id;
        const Id point = store.addPoints(job.id, {QStringLiteral("A1"), QStringLiteral("A1")}).value.first().id;
        QVERIFY(Face::of(QStringLiteral("pitted")).addTo(store, point).ok());
    }

    void theColumnsOfAnInspectionAreThoseOfItsTable()
    {
        QStringList names;
        QStringList texts;
        for (const InspectionColumns::Column &column : InspectionColumns::all) {
            names << QString::fromLatin1(column.name);
            if (column.holds == InspectionColumns::Holds::Text)
                texts << names.last();
        }
        OwnConnection own(mDir->path());

        const QString all = QStringLiteral("SELECT name FROM pragma_table_info('inspection')");
        QCOMPARE(own.run(all + QStringLiteral(" ORDER BY cid")), names);
        QCOMPARE(own.run(all + QStringLiteral(" WHERE type = 'TEXT' ORDER BY cid")), texts);
    }

    void theDatabaseIsWhatItSays_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *statement, const char *value) {
            QTest::newRow(statement) << QString::fromLatin1(statement) << QString::fromLatin1(value);
        };
        row("PRAGMA user_version", "2");
        row("PRAGMA application_id", "1447187011");
        row("PRAGMA journal_mode", "wal");
        row("PRAGMA integrity_check", "ok");
        row("SELECT count(*) FROM pragma_table_list WHERE strict AND schema = 'main'", "6");
        row("SELECT count(*) FROM rule", "8");
        row("SELECT sum(found) > 0 FROM rule WHERE violated", "1");
        row("SELECT typeof(size) FROM defect LIMIT 1", "real");
        row("SELECT typeof(picture) FROM inspection", "blob");
        row("SELECT seed FROM inspection", "-81985529216486896"); // 64 bits, signed
    }
    void theDatabaseIsWhatItSays()
    {
        QFETCH(const QString, statement);
        QFETCH(const QString, value);
        OwnConnection own(mDir->path());

        QCOMPARE(own.run(statement), QStringList(value));
    }

    void whatMakesNoSenseIsRefusedByTheTables_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *statement, const char *text) {
            QTest::newRow(statement) << QString::fromLatin1(statement) << QString::fromLatin1(text);
        };
        row("UPDATE inspection SET made = 'today'", "cannot store TEXT");
        row("UPDATE inspection SET verdict = 3", "CHECK");
        row("UPDATE inspection SET verdict = 0", "CHECK"); // there is no reason
        row("UPDATE inspection SET picture = x'00'", "CHECK");
        row("UPDATE job SET name = ''", "CHECK");
        row("UPDATE point SET job = 77", "FOREIGN KEY");
        row("DELETE FROM point", "FOREIGN KEY");
        row("INSERT INTO point (job, name, position, side, fibre) VALUES (1, 'A2', 0, 0, 0)", "UNIQUE");
    }
    void whatMakesNoSenseIsRefusedByTheTables()
    {
        QFETCH(const QString, statement);
        QFETCH(const QString, text);
        OwnConnection own(mDir->path());
        own.run(QStringLiteral("PRAGMA foreign_keys = ON"));

        const QString answer = own.run(statement).value(0);
        QVERIFY2(answer.contains(text), qPrintable(answer));
    }

    void aStoreOfAnEarlierVersionIsBroughtUpToDate()
    {
        {
            OwnConnection own(mDir->path());
            QCOMPARE(own.run(QStringLiteral("DROP TABLE search")), QStringList());
            QCOMPARE(own.run(QStringLiteral("PRAGMA user_version = 1")), QStringList());
        }

        RecordStore store;
        const Opening opening = store.open(mDir->path());
        QVERIFY2(opening.how == Opened::Usable, qPrintable(opening.problem.text));
        Filter filter;
        filter.text = QStringLiteral("panel a1");
        QCOMPARE(store.list(filter).value.size(), 1);
        QCOMPARE(store.inspection(1).value.defects, StoredDefect::of(Face::of(QStringLiteral("pitted")).inspection));
        QVERIFY(store.verify().value.allWell());
    }

    void aStoreOfAnEarlierVersionCanBeReadAsItIs()
    {
        {
            OwnConnection own(mDir->path());
            own.run(QStringLiteral("DROP TABLE search"));
            own.run(QStringLiteral("PRAGMA user_version = 1"));
        }
        RecordStore store;
        QCOMPARE(store.open(mDir->path(), RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QCOMPARE(store.list().value.size(), 1);
        QCOMPARE(store.inspection(1).value.defects, StoredDefect::of(Face::of(QStringLiteral("pitted")).inspection));
    }

    void aStepThatFailsChangesNothing()
    {
        {
            OwnConnection own(mDir->path());
            own.run(QStringLiteral("DROP TABLE search"));
            own.run(QStringLiteral("CREATE INDEX search ON job (id)"));
            own.run(QStringLiteral("PRAGMA user_version = 1"));
        }

        RecordStore store;
        const Opening opening = store.open(mDir->path());
        QCOMPARE(opening.how, Opened::No);
        QVERIFY2(opening.problem.text.contains(QStringLiteral("search")), qPrintable(opening.problem.text));
        store.close();
        OwnConnection own(mDir->path());
        QCOMPARE(own.run(QStringLiteral("PRAGMA user_version")), QStringList(QStringLiteral("1")));
        QCOMPARE(own.run(QStringLiteral("SELECT count(*) FROM inspection")), QStringList(QStringLiteral("1")));
    }

    void anIdIsNeverGivenTwice()
    {
        {
            OwnConnection own(mDir->path());
            own.run(QStringLiteral("DELETE FROM inspection"));
        }
        RecordStore store;
        store.open(mDir->path());
        QCOMPARE(Face::of(QStringLiteral("clean")).addTo(store).value, Id(2));
    }

    void aShapeOfNumbersIsNone()
    {
        OwnConnection(mDir->path())
            .run(QStringLiteral("UPDATE defect SET shape = x'%1'").arg(QString::fromLatin1(shapeOf(1, 2, 3).toHex())));
        RecordStore store;
        store.open(mDir->path());
        const Answer<StoredInspection> stored = store.inspection(1);
        QVERIFY2(stored.ok(), qPrintable(stored.problem.text));
        QCOMPARE(stored.value.defects.first().enclosingCircle.radius, 2.0F);
        QCOMPARE(stored.value.defects.first().pixels, QVector<QPointF>({QPointF(3, 3)}));
    }

    void aJobOfAnyNumberStays()
    {
        {
            OwnConnection own(mDir->path());
            QCOMPARE(own.run(QStringLiteral("INSERT INTO job SELECT -5, randomblob(16), 'odd', '', '', '', standard, "
                                            "created, NULL FROM job")),
                QStringList());
            QCOMPARE(own.run(QStringLiteral("INSERT INTO job SELECT -6, randomblob(16), 'odder', '', '', '', standard, "
                                            "created, NULL FROM job WHERE id > 0")),
                QStringList());
            QCOMPARE(own.run(QStringLiteral("UPDATE point SET job = -6")), QStringList());
        }
        RecordStore store;
        const Opening opening = store.open(mDir->path());
        QVERIFY2(opening.how == Opened::Usable, qPrintable(opening.problem.text));
        QCOMPARE(store.jobs().value.size(), 3);
    }

    void aStoreThatWasAnalysedCanBeMerged()
    {
        QCOMPARE(OwnConnection(mDir->path()).run(QStringLiteral("ANALYZE")), QStringList());
        const QTemporaryDir dir;
        RecordStore store;
        QCOMPARE(store.open(dir.path()).how, Opened::Begun);

        const Answer<Merge> merged = store.merge(mDir->path());
        QVERIFY2(merged.ok(), qPrintable(merged.problem.text));
        QCOMPARE(merged.value.inspections, 1);
        QCOMPARE(OwnConnection(dir.path()).run(QStringLiteral("ANALYZE")), QStringList());
        QVERIFY(store.merge(mDir->path()).ok());
    }

    void aHostileShapeIsToldAsDamage_data()
    {
        QTest::addColumn<QString>("shape");
        QTest::newRow("nothing") << QStringLiteral("x''");
        QTest::newRow("claims four gigabytes") << QStringLiteral("x'ffffffff00'");
        QTest::newRow("claims a megabyte") << QStringLiteral("x'0010000000'");
        QTest::newRow("noise") << QStringLiteral("randomblob(300)");
        // 36 bytes: a circle, then 2^32 - 1 points.
        QByteArray many(24, '\0');
        many.append("\xff\xff\xff\xff", 4);
        QTest::newRow("claims more points than there are")
            << QStringLiteral("x'%1'").arg(QString::fromLatin1(qCompress(many).toHex()));
        const auto row = [](const char *name, const QByteArray &shape) {
            QTest::newRow(name) << QStringLiteral("x'%1'").arg(QString::fromLatin1(shape.toHex()));
        };
        constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
        constexpr double endless = std::numeric_limits<double>::infinity();
        row("circle nowhere", shapeOf(notANumber, 1, 1));
        row("endless circle", shapeOf(1, endless, 1));
        row("circle too large for a single number", shapeOf(1, 1e300, 1));
        row("point nowhere", shapeOf(1, 1, notANumber));
        row("point at the end of all things", shapeOf(1, 1, -endless));
        row("something behind it", shapeOf(1, 1, 1) + QByteArray(1000, 'x'));
    }
    void aHostileShapeIsToldAsDamage()
    {
        QFETCH(const QString, shape);
        {
            OwnConnection own(mDir->path());
            QCOMPARE(own.run(QStringLiteral("UPDATE defect SET shape = %1").arg(shape)), QStringList());
        }
        RecordStore store;
        store.open(mDir->path());

        QCOMPARE(store.inspection(1).problem.fault, Fault::Damaged);
        QCOMPARE(store.list().value.size(), 1);
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
};

QTEST_GUILESS_MAIN(TestRecordStoreSchema)
#include "tst_recordstore_schema.moc"
