// SPDX-License-Identifier: Apache-2.0
#include "Goals.h"
#include "Records/RecordStore.h"
#include "simulation/EndfaceScenes.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include <benchmark/benchmark.h>

using namespace Records;

namespace {
constexpr int inspectionCount = 100000;

// What a busy unit gathers in years: panels of 144 ports at many customers, every third inspection with four defects.
constexpr const char *filling[] = {
    "BEGIN",
    "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 700) "
    "INSERT INTO job SELECT i, randomblob(16), 'Panel ' || i, 'M\u00fcller ' || (i % 40), 'Cellar ' || (i % 7), "
    "'Zo\u00eb', 5, 1700000000000 + i, NULL FROM n",
    "WITH RECURSIVE n (i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 143) "
    "INSERT INTO point (job, name, position, side, fibre) "
    "SELECT job.id, 'A' || (n.i + 1), n.i, 0, 0 FROM job CROSS JOIN n",
    "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
    "INSERT INTO inspection SELECT i, randomblob(16), i, 1700000000000 + i * 1000, 5, 1 + (i % 3 = 0), 'none', '', 0, "
    "CASE WHEN i % 5 = 0 THEN 'cleaned twice ' || i ELSE '' END, 'KS20', 860, 640, 1.0, 16777216, i, 0.7, 'Bench', "
    "1.075, 410.5, 290.5, 58.1, 260, 140, 300, 300, 120, 90, 200, 12, 9, 4, randomblob(32), randomblob(32) FROM n",
    "INSERT INTO zone SELECT inspection.id, z.value, 25 * z.value, 25 + 90 * z.value, 8 * (inspection.verdict = 2) "
    "FROM inspection CROSS JOIN json_each('[0,1]') AS z",
    "INSERT INTO rule SELECT zone.inspection, zone.zone, p.value, 0, 4, 2, 3 + p.value, 1, zone.violations / 4, "
    "zone.violations > 0 "
    "FROM zone CROSS JOIN json_each('[0,1,2,3]') AS p",
    "INSERT INTO defect SELECT inspection.id, p.value, p.value / 2, 0, 2.5, 1.5, -3.5, 1, randomblob(300) "
    "FROM inspection CROSS JOIN json_each('[0,1,2,3]') AS p WHERE inspection.verdict = 2",
    "INSERT INTO search (rowid, job, customer, site, operator, point, note) "
    "SELECT inspection.id, job.name, job.customer, job.site, job.operator, point.name, inspection.note "
    "FROM inspection LEFT JOIN point ON point.id = inspection.point LEFT JOIN job ON job.id = point.job",
    "COMMIT",
};

void expect(bool isRight, const char *what)
{
    if (!isRight)
        qFatal("%s", what);
}

QByteArray photographOf(const QString &preset)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    expect(paintEndface(endfacePreset(preset)).save(&buffer, "JPEG", 92), "there is no photograph");
    return bytes;
}

/// A file for each picture that a row names.
void layOutPictures(const QString &folder, QSqlQuery *rows)
{
    const PictureStore pictures(folder + QStringLiteral("/pictures"));
    rows->exec(QStringLiteral("SELECT picture FROM inspection UNION ALL SELECT annotated FROM inspection"));
    while (rows->next()) {
        const QString path = pictures.path(rows->value(0).toByteArray().toHex());
        QDir().mkpath(QFileInfo(path).path());
        QFile(path).open(QIODevice::WriteOnly);
    }
}

void fill(const QString &folder)
{
    RecordStore().open(folder); // makes the tables
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bench"));
        database.setDatabaseName(folder + QStringLiteral("/records.sqlite"));
        database.open();
        QSqlQuery query(database);
        for (const char *const statement : filling) {
            if (!query.exec(QString::fromUtf8(statement)))
                qFatal("%s: %s", statement, qPrintable(query.lastError().text()));
        }
        layOutPictures(folder, &query);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("bench"));
}

/// As a program leaves it that was killed while it stored.
void interrupt(const QString &folder)
{
    QFile boot(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    QFile lock(folder + QStringLiteral("/records.lock"));
    expect(boot.open(QIODevice::ReadOnly) && lock.open(QIODevice::WriteOnly), "the store cannot be interrupted");
    lock.write("In use\n" + boot.readAll() + PictureStore::hashOf("one") + '\n' + PictureStore::hashOf("two"));
}

template <typename Call>
void bench(const char *name, Call call)
{
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            for (auto _ : state)
                call();
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void benchList(const char *name, const RecordStore &store, const Filter &filter, int offset, int rows)
{
    bench(name, [&store, filter, offset, rows] {
        const auto answer = store.list(filter, {offset, 50});
        expect(answer.ok() && answer.value.size() == rows, "the list is not as long as it should be");
    });
}

Filter searchFor(const char *text)
{
    Filter filter;
    filter.text = QString::fromUtf8(text);
    return filter;
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir dir;
    const QString folder = dir.path();
    fill(folder);
    RecordStore store;
    expect(store.open(folder, RecordStore::Mode::ReadOnly).isOpen() && store.count().value == inspectionCount,
        "the store is not filled");

    bench("open", [&folder] {
        RecordStore another;
        expect(another.open(folder).canWrite(), "the store does not open");
    });
    bench("open_after_a_kill", [&folder] {
        interrupt(folder);
        RecordStore another;
        expect(another.open(folder).swept == 0, "there was nothing to sweep");
    });
    const QByteArray photograph = photographOf(QStringLiteral("scratched"));
    const auto inspection = FiberInspection::inspect(
        FiberInspection::decodeImage(photograph).image, FiberInspection::Standard::IEC61300_3_35_SM_RL45);
    const QTemporaryDir otherDir;
    RecordStore other;
    other.open(otherDir.path());
    int photographs = 0;
    bench("add_inspection", [&other, &inspection, &photograph, &photographs] {
        const QByteArray picture = photograph + QByteArray::number(++photographs);
        expect(other.addInspection({}, inspection, picture).ok(), "the inspection is not stored");
    });
    benchList("list_first_page", store, {}, 0, 50);
    benchList("list_last_page", store, {}, inspectionCount - 50, 50);
    Filter failed;
    failed.verdict = Verdict::Failed;
    benchList("list_last_page_of_failed", store, failed, inspectionCount / 3 - 50, 50);
    Filter job;
    job.job = 350;
    benchList("list_last_page_of_job", store, job, 94, 50);

    benchList("search_m", store, searchFor("m"), 0, 50);
    benchList("search_mul_7", store, searchFor("mul 7"), 0, 50);
    benchList("search_last_page_of_m", store, searchFor("m"), inspectionCount - 50, 50);
    benchList("search_c_p_a_1_z", store, searchFor("c p a 1 z"), 0, 50);
    benchList("search_one", store, searchFor("twice 77775"), 0, 1);
    benchList("search_nothing", store, searchFor("m a1 nothing"), 0, 0);
    Filter none = searchFor("m");
    none.verdict = Verdict::None;
    benchList("search_m_without_verdict", store, none, 0, 0);
    bench("count_m", [&store] { benchmark::DoNotOptimize(store.count(searchFor("m")).value); });
    bench("count_failed", [&store, failed] { benchmark::DoNotOptimize(store.count(failed).value); });
    bench("inspection", [&store] { expect(store.inspection(66666).value.defects.isEmpty(), "made of noise"); });
    bench("points_of_job", [&store] { expect(store.points(350).value.size() == 144, "no panel"); });

    bench("progress_of_job", [&store] { expect(store.progress(350).value.failed == 48, "the job is not counted"); });
    bench("statistics_of_job", [&store] {
        const auto answer = store.statistics(350, {1, 2, 3, 4, 5, 10, 25, 50, 100});
        expect(answer.value.failed == 48 && answer.value.failures.size() == 8, "the job is not counted");
    });

    std::vector<Goal> goals;
    for (const char *const name :
        {"list_first_page", "list_last_page", "list_last_page_of_failed", "list_last_page_of_job"})
        goals.push_back({name, name, {}, 50});
    for (const char *const name : {"search_m", "search_mul_7", "search_last_page_of_m", "search_c_p_a_1_z",
             "search_one", "search_nothing", "search_m_without_verdict"})
        goals.push_back({name, name, {}, 100});
    for (const char *const name :
        {"open", "open_after_a_kill", "points_of_job", "progress_of_job", "statistics_of_job"})
        goals.push_back({name, name, {}, 200});
    return runBenchmarks(argc, argv, goals);
}
