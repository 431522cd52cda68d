// SPDX-License-Identifier: Apache-2.0
#include "Records/Schema_p.h"
#include "Records/SearchIndex_p.h"

#include <QSet>

#include <array>

namespace Records::Schema {

namespace {
constexpr int ownMark = 1447187011; // tells our database from others: "VBRC"

// Times are milliseconds since 1970, UTC; sizes are micrometres unless they count pixels. A row never takes the id of
// another one, not even of one that was deleted.
constexpr const char *tables[] = {
    "PRAGMA application_id = 1447187011", // the mark
    R"(CREATE TABLE job (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        identity BLOB NOT NULL UNIQUE CHECK (length(identity) = 16),
        name TEXT NOT NULL CHECK (name <> ''),
        customer TEXT NOT NULL,
        site TEXT NOT NULL,
        operator TEXT NOT NULL,
        standard INTEGER NOT NULL,
        created INTEGER NOT NULL,
        closed INTEGER) STRICT)",
    R"(CREATE TABLE point (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        job INTEGER NOT NULL REFERENCES job,
        name TEXT NOT NULL CHECK (name <> ''),
        position INTEGER NOT NULL,
        side INTEGER NOT NULL,
        fibre INTEGER NOT NULL,
        UNIQUE (job, position),
        UNIQUE (job, name, side)) STRICT)",
    R"(CREATE TABLE inspection (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        identity BLOB NOT NULL UNIQUE CHECK (length(identity) = 16),
        point INTEGER REFERENCES point,
        made INTEGER NOT NULL,
        standard INTEGER NOT NULL,
        verdict INTEGER NOT NULL CHECK (verdict IN (0, 1, 2)),
        reason TEXT NOT NULL CHECK ((reason = 'none') = (verdict <> 0)),
        detail TEXT NOT NULL,
        decision INTEGER NOT NULL,
        note TEXT NOT NULL,
        scope TEXT NOT NULL,
        fov_width INTEGER NOT NULL,
        fov_height INTEGER NOT NULL,
        scale REAL NOT NULL,
        max_pixels INTEGER NOT NULL,
        seed INTEGER,
        focus REAL,
        software TEXT NOT NULL,
        microns_per_pixel REAL NOT NULL,
        cladding_x REAL NOT NULL,
        cladding_y REAL NOT NULL,
        cladding_radius REAL NOT NULL,
        crop_x INTEGER NOT NULL,
        crop_y INTEGER NOT NULL,
        crop_width INTEGER NOT NULL,
        crop_height INTEGER NOT NULL,
        gray_cladding INTEGER NOT NULL,
        gray_around_core INTEGER NOT NULL,
        gray_around_cladding INTEGER NOT NULL,
        contours INTEGER NOT NULL,
        raw_defects INTEGER NOT NULL,
        merged_defects INTEGER NOT NULL,
        picture BLOB CHECK (length(picture) = 32),
        annotated BLOB CHECK (length(annotated) = 32)) STRICT)",
    // What lists are chosen by: narrow, so that the last page of a long list is not far away.
    "CREATE INDEX inspection_facts ON inspection (id, verdict, standard, made, point)",
    "CREATE INDEX inspection_point ON inspection (point, id, verdict, decision)",
    R"(CREATE TABLE zone (
        inspection INTEGER NOT NULL REFERENCES inspection ON DELETE CASCADE,
        zone INTEGER NOT NULL,
        inner_diameter INTEGER NOT NULL,
        outer_diameter INTEGER NOT NULL,
        violations INTEGER NOT NULL,
        PRIMARY KEY (inspection, zone)) STRICT, WITHOUT ROWID)",
    R"(CREATE TABLE rule (
        inspection INTEGER NOT NULL,
        zone INTEGER NOT NULL,
        position INTEGER NOT NULL,
        kind INTEGER NOT NULL,
        operator INTEGER NOT NULL,
        min_size INTEGER NOT NULL,
        max_size INTEGER NOT NULL,
        allowed INTEGER NOT NULL,
        found INTEGER NOT NULL,
        violated INTEGER NOT NULL,
        PRIMARY KEY (inspection, zone, position),
        FOREIGN KEY (inspection, zone) REFERENCES zone ON DELETE CASCADE) STRICT, WITHOUT ROWID)",
    R"(CREATE TABLE defect (
        inspection INTEGER NOT NULL REFERENCES inspection ON DELETE CASCADE,
        position INTEGER NOT NULL,
        zone INTEGER NOT NULL,
        kind INTEGER NOT NULL,
        size REAL NOT NULL,
        x REAL NOT NULL,
        y REAL NOT NULL,
        fails INTEGER NOT NULL,
        shape BLOB NOT NULL,
        PRIMARY KEY (inspection, position)) STRICT)",
};

// What SQLite itself adds where somebody has run ANALYZE.
constexpr const char *statistics[] = {
    "CREATE TABLE sqlite_stat1(tbl,idx,stat)",
    "CREATE TABLE sqlite_stat4(tbl,idx,neq,nlt,ndlt,sample)",
};

template <std::size_t count>
Problem runAll(Database &database, const char *const (&statements)[count])
{
    for (const char *const statement : statements) {
        const Problem problem = database.run(statement);
        if (!problem.ok())
            return problem;
    }
    return {};
}

struct Step
{
    Problem (*run)(Database &database);
    const char *note; ///< that it was taken
};

// The version of a database is the number of steps that it has taken. What was released is never changed here.
constexpr std::array<Step, 2> steps = {{
    {[](Database &database) { return runAll(database, tables); }, "PRAGMA user_version = 1"},
    {[](Database &database) { return SearchIndex::create(database); }, "PRAGMA user_version = 2"},
}};

struct State
{
    int mark = 0;
    int version = 0;
    int tables = 0;

    bool isEmpty() const { return mark == 0 && version == 0 && tables == 0; }
};

Answer<State> stateOf(const Database &database)
{
    const Answer<QVariant> mark = database.value("PRAGMA application_id");
    const Answer<QVariant> version = database.value("PRAGMA user_version");
    const Answer<QVariant> count = database.value("SELECT count(*) FROM sqlite_schema");
    for (const Answer<QVariant> *const answer : {&mark, &version, &count}) {
        if (!answer->ok())
            return {{}, answer->problem};
    }
    return {{mark.value.toInt(), version.value.toInt(), count.value.toInt()}, {}};
}

/// @param before number of steps that have to be taken already
Problem take(Database &database, const Step &step, std::size_t before)
{
    Transaction transaction(database);
    if (!transaction.problem().ok())
        return transaction.problem();
    const Answer<QVariant> version = database.value("PRAGMA user_version");
    if (!version.ok() || version.value.toULongLong() > before) // somebody else has taken it while we waited
        return version.problem;
    Problem problem = step.run(database);
    if (problem.ok())
        problem = database.run(step.note);
    return problem.ok() ? transaction.commit() : problem;
}

/// Reads from each table: what is grossly damaged shows at once.
Problem touch(const Database &database)
{
    constexpr int tableCount = 6;
    const Answer<QVariant> found = database.value("SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name IN "
                                                  "('job', 'point', 'inspection', 'zone', 'rule', 'defect')");
    if (!found.ok() || found.value.toInt() != tableCount)
        return found.ok() ? Problem{Fault::Damaged, QStringLiteral("A table of the store is missing")} : found.problem;
    for (const char *const statement : {"SELECT max(id) FROM job", "SELECT max(id) FROM point",
             "SELECT max(id) FROM inspection", "SELECT inspection FROM zone LIMIT 1",
             "SELECT inspection FROM rule LIMIT 1", "SELECT inspection FROM defect LIMIT 1"}) {
        const Problem problem = database.value(statement).problem;
        if (!problem.ok())
            return problem;
    }
    return {};
}

/// How the tables are made that have taken so many steps.
Answer<QSet<QString>> tablesOf(int version)
{
    Database fresh(QLatin1String(Database::inMemory), {});
    Problem problem = fresh.open(Database::Access::ReadWrite);
    for (int i = 0; i < version && problem.ok(); ++i)
        problem = steps[static_cast<std::size_t>(i)].run(fresh);
    if (!problem.ok())
        return {{}, problem};
    QSet<QString> all;
    for (const char *const statement : statistics)
        all.insert(QString::fromLatin1(statement));
    Query query(fresh, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
    query.run({});
    while (query.next())
        all.insert(query.text(0));
    return {all, query.problem()};
}

/// Whether those rows of the schema that are chosen are ours. Without the index of words all the rest is well.
Problem checkMadeAs(const Database &database, int version, const char *which)
{
    const Answer<QSet<QString>> known = tablesOf(version);
    if (!known.ok())
        return known.problem;
    Query query(database,
        QStringLiteral("SELECT sql, lower(name) = 'search' FROM sqlite_schema WHERE sql IS NOT NULL AND %1")
            .arg(QLatin1String(which)));
    query.run({});
    while (query.next()) {
        if (!known.value.contains(query.text(0)))
            return {query.number(1) == 1 ? Fault::Unusable : Fault::Damaged,
                QStringLiteral("A table of the store is not as it was made")};
    }
    return query.problem();
}

/// Whether there is such a row. SQLite takes the kind and the name of what it finds in the schema for the same in any
/// case, so what is compared with a text may look otherwise.
Problem refuse(const Database &database, const char *row, const char *what)
{
    const Answer<QVariant> name = database.value(row);
    if (!name.ok() || !name.value.isValid())
        return name.problem;
    return {Fault::Unusable, QString::fromLatin1(what).arg(name.value.toString())};
}

/// No column may be computed: a few bytes would be gigabytes.
Problem checkColumns(const Database &database)
{
    return refuse(database,
        "SELECT known.name FROM sqlite_schema AS known, pragma_table_xinfo(known.name) AS has "
        "WHERE known.sql NOT LIKE 'CREATE VIRTUAL%' AND has.hidden > 1 LIMIT 1",
        "The table \"%1\" makes up what it holds");
}

/// An index may compute what it holds whenever a row is written, or looked at as a whole: a few bytes would be
/// gigabytes. What SQLite has made of the schema counts, not what the schema says of itself.
Problem checkIndexes(const Database &database)
{
    return refuse(database,
        "WITH known (name) AS (SELECT name FROM sqlite_schema UNION VALUES ('job'), ('point'), ('inspection'), "
        "('zone'), "
        "('rule'), ('defect'), ('search_data'), ('search_idx'), ('search_content'), ('search_docsize'), "
        "('search_config')) SELECT has.name FROM known, pragma_index_list(known.name) AS has WHERE has.partial <> 0 OR "
        "EXISTS (SELECT 1 FROM pragma_index_xinfo(has.name) AS part WHERE part.cid = -2) LIMIT 1",
        "The store has an index \"%1\" that computes what it holds");
}

/// A table that somebody else has made may drop what is stored. Tables that are not asked for are the business of who
/// made them.
Problem checkTables(const Database &database, const State &state)
{
    Problem problem = checkColumns(database);
    if (problem.ok())
        problem = checkMadeAs(database, state.version,
            "type <> 'index' AND lower(name) IN ('job', 'point', 'inspection', 'zone', 'rule', 'defect', 'search')");
    return problem.ok() ? checkIndexes(database) : problem;
}

/// The same of one that a later version has made, whose tables are not known here.
Problem checkUnknownTables(const Database &database)
{
    Problem made = checkColumns(database);
    if (made.ok())
        made = checkIndexes(database);
    if (!made.ok())
        return made;
    return refuse(database,
        "SELECT name FROM sqlite_schema WHERE type NOT IN ('table', 'index') OR (sql LIKE 'CREATE VIRTUAL%' "
        "AND (lower(name) <> 'search' OR sql NOT LIKE 'CREATE VIRTUAL TABLE search USING fts5%' OR sql LIKE "
        "'%content%')) "
        "LIMIT 1",
        "The store has a table of its own, \"%1\", that may make up what it holds");
}

Problem judge(const State &state)
{
    const int known = static_cast<int>(steps.size());
    if (state.mark != ownMark || state.version < 0)
        return {Fault::Foreign, QStringLiteral("The database is none of ours")};
    if (state.version > known)
        return {Fault::LaterVersion,
            QStringLiteral("The store has version %1, this program knows up to %2").arg(state.version).arg(known)};
    return {};
}
} // namespace

Problem prepare(Database &database, bool *isNew)
{
    const Answer<State> state = stateOf(database);
    if (!state.ok())
        return state.problem;
    *isNew = state.value.isEmpty();
    const Problem verdict = *isNew ? Problem() : judge(state.value);
    if (!verdict.ok())
        return verdict;
    Problem planted = checkNothingActs(database);
    if (planted.ok() && !*isNew)
        planted = checkTables(database, state.value);
    if (!planted.ok())
        return planted;
    // Readers need not wait then. A copy comes without it; while somebody reads that, it stays as it is.
    const Problem journal = database.value("PRAGMA journal_mode = WAL").problem;
    if (!journal.ok() && journal.fault != Fault::Busy)
        return journal;
    for (std::size_t i = static_cast<std::size_t>(state.value.version); i < steps.size(); ++i) {
        const Problem problem = take(database, steps[i], i);
        if (!problem.ok())
            return problem;
    }
    if (*isNew)
        database.emptyJournal();
    const Problem problem = touch(database);
    return problem.ok() ? SearchIndex::mendIfUnusable(database) : problem;
}

Problem check(Database &database)
{
    const Snapshot snapshot(database); // somebody may be taking a step
    if (!snapshot.problem().ok())
        return snapshot.problem();
    const Answer<State> state = stateOf(database);
    if (!state.ok())
        return state.problem;
    if (state.value.isEmpty())
        return {Fault::NotFound, QStringLiteral("The database has no tables yet")};
    const Problem verdict = judge(state.value);
    if (!verdict.ok() && verdict.fault != Fault::LaterVersion)
        return verdict;
    Problem problem = verdict.ok() ? checkTables(database, state.value) : checkUnknownTables(database);
    if (problem.ok() && verdict.ok())
        problem = touch(database);
    return problem.ok() ? verdict : problem;
}

Answer<bool> isOfThisVersion(const Database &database)
{
    const Answer<State> state = stateOf(database);
    return {state.value.version == static_cast<int>(steps.size()), state.problem};
}

Problem checkNothingActs(const Database &database)
{
    return refuse(database, "SELECT name FROM sqlite_schema WHERE type NOT IN ('table', 'index') LIMIT 1",
        "The store has a rule of its own, \"%1\", that may alter what is stored");
}

Problem checkNothingComputes(const Database &database)
{
    return checkIndexes(database);
}

Problem checkSame(const Database &other)
{
    const Answer<State> state = stateOf(other);
    return state.ok() ? checkMadeAs(other, state.value.version, "1") : state.problem;
}

} // namespace Records::Schema
