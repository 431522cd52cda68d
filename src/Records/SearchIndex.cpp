// SPDX-License-Identifier: Apache-2.0
#include "Records/SearchIndex_p.h"

namespace Records::SearchIndex {

namespace {
// The words of each inspection, under its id.
constexpr char makeTable[] = R"(CREATE VIRTUAL TABLE search USING fts5 (
        job, customer, site, operator, point, note,
        tokenize = 'unicode61 remove_diacritics 2', prefix = '1 2 3'))";
constexpr char fillTable[] = R"(INSERT INTO search (rowid, job, customer, site, operator, point, note)
        SELECT inspection.id, job.name, job.customer, job.site, job.operator, point.name, inspection.note
        FROM inspection LEFT JOIN point ON point.id = inspection.point LEFT JOIN job ON job.id = point.job)";

/// Dropping a virtual table whose parts are damaged fails, because it is opened for that.
constexpr const char *forgetTable[] = {
    "PRAGMA writable_schema = ON",
    "DELETE FROM sqlite_schema WHERE name = 'search' AND sql LIKE 'CREATE VIRTUAL TABLE %'",
    "PRAGMA writable_schema = RESET",
    "DROP TABLE IF EXISTS search_data",
    "DROP TABLE IF EXISTS search_idx",
    "DROP TABLE IF EXISTS search_content",
    "DROP TABLE IF EXISTS search_docsize",
    "DROP TABLE IF EXISTS search_config",
};

constexpr char anyRow[] = "SELECT rowid FROM search LIMIT 1";

constexpr char wrongTexts[] = R"(
    WITH told AS (SELECT rowid, job, customer, site, operator, point, note FROM search),
    known AS (SELECT inspection.id, job.name, job.customer, job.site, job.operator, point.name, inspection.note
        FROM inspection LEFT JOIN point ON point.id = inspection.point LEFT JOIN job ON job.id = point.job)
    SELECT count(*) FROM (SELECT * FROM (SELECT * FROM told EXCEPT SELECT * FROM known)
        UNION ALL SELECT * FROM (SELECT * FROM known EXCEPT SELECT * FROM told)))";
constexpr char wrongWords[] = R"(
    SELECT count(*) FROM (SELECT * FROM (SELECT * FROM temp.told EXCEPT SELECT * FROM temp.known)
        UNION ALL SELECT * FROM (SELECT * FROM temp.known EXCEPT SELECT * FROM temp.told)))";

/// Whether the index is at fault, and not the disk, the memory or another program.
bool isOwnFault(const Problem &problem)
{
    return problem.fault == Fault::Damaged || problem.fault == Fault::Unusable || problem.fault == Fault::Invalid;
}

Problem runAll(Database &database, const QStringList &statements)
{
    for (const QString &statement : statements) {
        const Problem problem = database.run(statement.toLatin1().constData());
        if (!problem.ok())
            return problem;
    }
    return {};
}

/// Compares its words with those of one that was made just now, for who may not write, or not at this moment.
Problem compareWords(Database &database)
{
    const auto ofFresh = [](const char *statement) {
        return QString::fromLatin1(statement).replace(QStringLiteral(" search "), QStringLiteral(" temp.fresh "));
    };
    Problem problem = database.run("SAVEPOINT words"); // or somebody else might store between two of the statements
    if (problem.ok())
        problem = runAll(database,
            {ofFresh(makeTable), ofFresh(fillTable),
                QStringLiteral("CREATE VIRTUAL TABLE temp.told USING fts5vocab (main, search, row)"),
                QStringLiteral("CREATE VIRTUAL TABLE temp.known USING fts5vocab (temp, fresh, row)")});
    if (problem.ok()) {
        const Answer<QVariant> wrong = database.value(wrongWords);
        problem = wrong.ok() && wrong.value.toInt() > 0
            ? Problem{Fault::Damaged, QStringLiteral("other words are found than there are")}
            : wrong.problem;
    }
    for (const char *const end : {"ROLLBACK TO words", "RELEASE words"})
        database.run(end);
    return problem;
}

Problem compareAll(Database &database)
{
    const Answer<QVariant> wrong = database.value(wrongTexts);
    if (!wrong.ok())
        return wrong.problem;
    if (wrong.value.toInt() > 0)
        return {Fault::Damaged, QStringLiteral("%1 texts are not those of the records").arg(wrong.value.toInt())};
    if (database.access() == Database::Access::ReadWrite) {
        const Problem problem = database.runAtOnce("INSERT INTO search (search) VALUES ('integrity-check')");
        if (problem.ok() || isOwnFault(problem))
            return problem;
    }
    return compareWords(database);
}

/// What cannot be opened is the index, or a temporary file that the comparison needs.
Problem check(Database &database)
{
    const Problem problem = compareAll(database);
    if (problem.fault == Fault::Unusable && database.value(anyRow).ok())
        return {Fault::DiskFull, QStringLiteral("There is no place for temporary files: ") + problem.text};
    return problem;
}

Problem makeAnew(Database &database)
{
    Problem problem;
    {
        Transaction transaction(database);
        problem = transaction.problem();
        for (const char *const statement : forgetTable) {
            if (problem.ok())
                problem = database.run(statement);
        }
        if (problem.ok())
            problem = create(database);
        if (problem.ok())
            problem = transaction.commit();
    }
    if (!problem.ok())
        database.run("PRAGMA writable_schema = RESET");
    return problem;
}
} // namespace

Problem create(Database &database)
{
    const Problem problem = database.run(makeTable);
    return problem.ok() ? database.run(fillTable) : problem;
}

Answer<QString> fault(Database &database)
{
    const Problem problem = check(database);
    if (!isOwnFault(problem))
        return {{}, problem};
    database.noteDamage();
    return {QStringLiteral("The index for searching: %1").arg(problem.text), {}};
}

Problem mendIfUnusable(Database &database)
{
    const Problem problem = database.value(anyRow).problem;
    return isOwnFault(problem) ? makeAnew(database) : problem;
}

Problem mendIfWrong(Database &database)
{
    const Problem problem = check(database);
    return isOwnFault(problem) ? makeAnew(database) : problem;
}

} // namespace Records::SearchIndex
