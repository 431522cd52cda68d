// SPDX-License-Identifier: Apache-2.0
#include "Records/Database_p.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <limits>
#include <sys/statvfs.h>
#include <unistd.h>

namespace Records {

namespace {
constexpr int patience = 5000; // milliseconds to wait for another program that writes

constexpr char markOfTransaction[] = "SAVEPOINT whole";

constexpr quint64 indexSize = 32ULL * 1024; // bytes of the smallest index of a journal

// Result codes of SQLite; what is above the lowest byte of one tells more of the same.
constexpr int primaryCode = 0xff;
enum Code : int {
    Busy = 5,
    Locked = 6,
    NoMemory = 7,
    ReadOnly = 8,
    InputOutput = 10,
    Corrupt = 11,
    Full = 13,
    Constraint = 19,
    NotADatabase = 26,
};

QString newConnectionName()
{
    static std::atomic<quint64> count{0};
    return QStringLiteral("VantorBaseRecords-%1").arg(++count);
}

Fault faultOf(int code)
{
    switch (code & primaryCode) {
    case Busy:
    case Locked:
        return Fault::Busy;
    case NoMemory:
        return Fault::OutOfMemory;
    case ReadOnly:
        return Fault::ReadOnly;
    case Corrupt:
    case NotADatabase:
        return Fault::Damaged;
    case Full:
        return Fault::DiskFull;
    case Constraint:
        return Fault::Invalid;
    default:
        return Fault::Unusable;
    }
}

/// The index of the journal tells a full disk as a failure of the disk.
bool isDiskFull(const QString &path)
{
    struct statvfs disk = {};
    return statvfs(QFile::encodeName(QFileInfo(path).path()).constData(), &disk) == 0
        && disk.f_bavail * disk.f_frsize < indexSize;
}

/// Somebody else may have planted something there: no link is followed, no pipe waited for, no file emptied.
void makeEmptyFile(const QString &path)
{
    constexpr mode_t ownerWrites = 0644;
    constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const int descriptor = ::open(QFile::encodeName(path).constData(), flags, ownerWrites);
    if (descriptor >= 0)
        ::close(descriptor);
}

QString optionsFor(Database::Access access)
{
    const QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1;QSQLITE_OPEN_URI").arg(patience);
    return access == Database::Access::ReadWrite ? options : options + QStringLiteral(";QSQLITE_OPEN_READONLY");
}
} // namespace

QString Database::nameOf(const QString &path)
{
    return QStringLiteral("file:") + QString::fromLatin1(QFile::encodeName(path).toPercentEncoding("/"));
}

Database::Database(const QString &path, const QString &suspicion)
    : mPath(path)
    , mSuspicion(suspicion)
    , mConnection(newConnectionName())
{
}

Database::~Database()
{
    mDatabase = {};
    QSqlDatabase::removeDatabase(mConnection);
}

Problem Database::open(Access access)
{
    if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE")))
        return {Fault::NoDriver, QStringLiteral("Qt's driver for SQLite is not installed")};
    mAccess = access;
    mDatabase = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), mConnection);
    mDatabase.setConnectOptions(optionsFor(access));
    const QString immutable = access == Access::Immutable ? QStringLiteral("?immutable=1") : QString();
    mDatabase.setDatabaseName(nameOf(mPath) + immutable);
    if (!mDatabase.open())
        return problemOf(mDatabase.lastError());
    if (mPath != QLatin1String(inMemory))
        bindTo(mPath, FileIdentity::of(mPath));
    for (const char *const setting : {
             "PRAGMA trusted_schema = OFF", // a file from elsewhere runs no code of its own
             "PRAGMA cell_size_check = ON", // damage is told, not followed
             "PRAGMA foreign_keys = ON",
             "PRAGMA synchronous = FULL", // what was told to be stored outlives a power failure
         }) {
        const Problem problem = run(setting);
        if (!problem.ok())
            return problem;
    }
    return {};
}

/// SQLite goes on writing into a file that has lost its name, and the pictures go by names.
Problem Database::checkPlace() const
{
    const bool isInPlace = std::all_of(mBound.cbegin(), mBound.cend(),
        [](const auto &bound) { return bound.second.isSomething() && FileIdentity::of(bound.first) == bound.second; });
    return isInPlace
        ? Problem()
        : Problem{Fault::Gone,
            QStringLiteral("The store in %1 was moved or removed while it was open").arg(QFileInfo(mPath).path())};
}

Problem Database::run(const char *statement, const QVariantList &values)
{
    Query query(*this, statement);
    query.run(values);
    return query.problem();
}

Problem Database::runAtOnce(const char *statement)
{
    run("PRAGMA busy_timeout = 0");
    const Problem problem = run(statement);
    run(("PRAGMA busy_timeout = " + QByteArray::number(patience)).constData());
    return problem;
}

void Database::emptyJournal()
{
    runAtOnce("PRAGMA wal_checkpoint(TRUNCATE)");
}

Answer<QVariant> Database::value(const char *statement, const QVariantList &values) const
{
    QSqlQuery query = this->query();
    query.prepare(QString::fromLatin1(statement));
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!query.exec())
        return {{}, problemOf(query)};
    const QVariant first = query.next() ? query.value(0) : QVariant();
    return {first, problemOf(query)};
}

void Database::noteDamage() const
{
    if (!mSuspicion.isEmpty())
        makeEmptyFile(mSuspicion);
}

QSqlQuery Database::query() const
{
    QSqlQuery query(mDatabase);
    query.setForwardOnly(true); // or Qt would keep all rows
    return query;
}

Problem Database::problemOf(const QSqlQuery &query) const
{
    return problemOf(query.lastError());
}

Problem Database::problemOf(const QSqlError &error) const
{
    if (!error.isValid())
        return {};
    const int code = error.nativeErrorCode().toInt();
    const bool isFull = (code & primaryCode) == InputOutput && isDiskFull(mPath);
    const Fault fault = isFull ? Fault::DiskFull : faultOf(code);
    if (fault == Fault::Damaged)
        noteDamage();
    return {fault, QStringLiteral("%1: %2").arg(mPath, error.databaseText().simplified())};
}

Query::Query(const Database &database, const char *statement)
    : Query(database, QString::fromLatin1(statement))
{
}

Query::Query(const Database &database, const QString &statement)
    : mDatabase(database)
    , mQuery(database.query())
{
    if (!mQuery.prepare(statement))
        mProblem = mDatabase.problemOf(mQuery);
}

bool Query::run(const QVariantList &values)
{
    if (!mProblem.ok())
        return false;
    for (int i = 0; i < values.size(); ++i)
        mQuery.bindValue(i, values[i]);
    if (!mQuery.exec())
        mProblem = mDatabase.problemOf(mQuery);
    return mProblem.ok();
}

bool Query::next()
{
    if (!mProblem.ok())
        return false;
    const bool isThere = mQuery.next();
    if (!isThere)
        mProblem = mDatabase.problemOf(mQuery);
    return isThere;
}

/// A number beyond those that we write stays beyond them.
int Query::number(int column) const
{
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(qBound<qint64>(Limits::min(), longNumber(column), Limits::max()));
}

QDateTime Query::time(int column) const
{
    return isNull(column) ? QDateTime() : QDateTime::fromMSecsSinceEpoch(longNumber(column), Qt::UTC);
}

Transaction::Transaction(Database &database)
    : mDatabase(database)
    , mProblem(database.run("BEGIN IMMEDIATE"))
    , mIsOpen(mProblem.ok())
{
    if (mIsOpen)
        mProblem = mDatabase.run(markOfTransaction);
}

Transaction::~Transaction()
{
    if (!mIsOpen)
        return;
    mDatabase.run("ROLLBACK");
    mDatabase.emptyJournal(); // what was too much for the disk would stay there
}

Problem Transaction::commit()
{
    const Problem place = mDatabase.checkPlace();
    if (!place.ok())
        return place;
    const Problem problem = mDatabase.run("COMMIT");
    mIsOpen = !problem.ok();
    return problem;
}

Problem Transaction::checkStillOpen()
{
    const Problem problem = mDatabase.run("RELEASE whole"); // which is gone if it was rolled back
    mIsOpen = problem.ok();
    return mIsOpen ? mDatabase.run(markOfTransaction) : problem;
}

Snapshot::Snapshot(Database &database)
    : mDatabase(database)
    , mProblem(database.run("SAVEPOINT snapshot"))
{
}

Snapshot::~Snapshot()
{
    if (mProblem.ok())
        mDatabase.run("RELEASE snapshot");
}

QVariant toValue(const QDateTime &time)
{
    return time.isValid() ? QVariant(time.toMSecsSinceEpoch()) : QVariant(QVariant::LongLong);
}

QVariant toValue(const QString &text)
{
    return text.isNull() ? QVariant(QString(QLatin1String(""))) : QVariant(text);
}

} // namespace Records
