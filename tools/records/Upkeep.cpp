// SPDX-License-Identifier: Apache-2.0
#include "records/Upkeep.h"

#include "common/ExitCode.h"
#include "common/Program.h"
#include "common/ProgressBar.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "records/StoreAccess.h"
#include "records/Words.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unistd.h>

namespace RecordsTool {

using namespace Records;
using Inspection = FiberInspection::Inspection;

namespace {
/// Shows how far long work is, and ends it when a signal comes. Before there is something to show, the database is
/// looked at as a whole, which cannot be asked to end: a signal ends the program then, and nothing was begun.
class Watch
{
public:
    /// For the calls of the store that tell how far they are.
    std::function<bool(int, int)> goesOn()
    {
        return [this](int done, int all) { return show(done, all); };
    }

    bool show(int done, int all)
    {
        if (!mSignals)
            mSignals.emplace();
        if (!mBar || all != mAll) {
            mBar.reset();
            mBar = std::make_unique<Tools::ProgressBar>(Tools::Terminal::isTerminal(STDERR_FILENO) ? all : 0);
            mAll = all;
        }
        mBar->show(done);
        return !isStopped();
    }

    void end() { mBar.reset(); }
    bool isStopped() { return mSignals && mSignals->received() != 0; }
    int exitCode() { return Tools::StoppedBySignal + mSignals->received(); }

private:
    std::optional<Tools::StopSignals> mSignals;
    std::unique_ptr<Tools::ProgressBar> mBar;
    int mAll = 0;
};

QString counted(int count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

QString textOf(const PictureFault &fault, const QString &store)
{
    const QString what = fault.fault == Fault::PictureMissing ? QStringLiteral("is missing")
        : fault.fault == Fault::PictureDamaged                ? QStringLiteral("is damaged")
                                                              : QStringLiteral("cannot be read");
    return QStringLiteral("inspection %1: %2 %3\n")
        .arg(QString::number(fault.inspection), Tools::Terminal::printableName(picturePath(store, fault.hash)), what);
}

QString textOf(const Verification &found, const QString &store)
{
    QString text;
    for (const QString &fault : found.databaseFaults)
        text += QStringLiteral("database: %1\n").arg(Tools::Terminal::printable(fault.simplified()));
    for (const PictureFault &fault : found.pictureFaults)
        text += textOf(fault, store);
    const int faults = found.databaseFaults.size() + found.pictureFaults.size();
    return text
        + QStringLiteral("Checked the database and %1: %2\n")
              .arg(counted(found.pictures, "picture", "pictures"),
                  faults == 0 ? QStringLiteral("all well") : counted(faults, "fault", "faults"));
}

/// How the inspections compare with those that are made of the same pictures now.
struct Comparison
{
    int same = 0;
    int otherwise = 0;
    int ofOtherVersion = 0; ///< which may find something else
    int notRepeatable = 0; ///< without a seed or without the picture
    int withoutBoth = 0; ///< of the latter: without a picture and a verdict, so that there is nothing to compare
    int unreadable = 0; ///< records
    QString text; ///< a line for each that comes out otherwise
};

Problem compare(const RecordStore &store, Id id, Comparison *comparison)
{
    const Answer<StoredInspection> stored = store.inspection(id);
    if (stored.problem.fault == Fault::Damaged) {
        ++comparison->unreadable;
        return {};
    }
    if (!stored.ok())
        return stored.problem;
    if (stored.value.origin.software != Origin::ownSoftware()) {
        ++comparison->ofOtherVersion;
        return {};
    }
    if (stored.value.verdict == Verdict::None && stored.value.picture.isEmpty())
        ++comparison->withoutBoth;
    if (!stored.value.origin.seed || !stored.value.isPictureThere) {
        ++comparison->notRepeatable;
        return {};
    }
    const Answer<Inspection> again = store.inspectAgain(id);
    if (again.problem.fault == Fault::PictureDamaged || again.problem.fault == Fault::TooLarge) {
        ++comparison->notRepeatable;
        return {};
    }
    if (!again.ok() && again.problem.fault != Fault::Invalid)
        return again.problem;
    const Verdict verdict = again.ok() ? verdictOf(again.value) : Verdict::None; // it cannot be decoded
    if (verdict == stored.value.verdict) {
        ++comparison->same;
        return {};
    }
    ++comparison->otherwise;
    comparison->text += QStringLiteral("inspection %1: the verdict was %2, and is %3 now\n")
                            .arg(QString::number(id), Words::of(stored.value.verdict), Words::of(verdict));
    return {};
}

QString textOf(const Comparison &comparison)
{
    return comparison.text
        + QStringLiteral("Inspected %1 again: %2 with the same verdict, %3 with another; not inspected again: %4 of "
                         "another version, %5 without a seed or a whole picture, %6 that cannot be read\n")
              .arg(counted(comparison.same + comparison.otherwise, "picture", "pictures"))
              .arg(comparison.same)
              .arg(comparison.otherwise)
              .arg(comparison.ofOtherVersion)
              .arg(comparison.notRepeatable)
              .arg(comparison.unreadable);
}

/// @param why it was not
void tellLeft(int inspections, const char *why)
{
    if (inspections > 0)
        Tools::Terminal::tell(QStringLiteral("%1 %2 not made again")
                                  .arg(counted(inspections, "inspection", "inspections"),
                                      QString::fromLatin1(why).arg(QLatin1String(inspections == 1 ? "was" : "were"))));
}

int exitCodeOf(const Comparison &comparison)
{
    const int notRepeatable = comparison.notRepeatable - comparison.withoutBoth;
    tellLeft(comparison.ofOtherVersion, "of another version %1");
    tellLeft(notRepeatable, "without a seed or a whole picture %1");
    if (comparison.ofOtherVersion + notRepeatable > 0)
        return Tools::NotAnswered;
    return comparison.otherwise + comparison.unreadable > 0 ? Tools::NotPassed : Tools::Done;
}

int inspectAllAgain(const RecordStore &store, Watch *watch)
{
    const Answer<QVector<Id>> ids = idsOf(store, {});
    if (!ids.ok())
        return tell(ids.problem);
    Comparison comparison;
    for (int i = 0; i < ids.value.size(); ++i) {
        if (!watch->show(i, ids.value.size()))
            return watch->exitCode();
        const Problem problem = compare(store, ids.value[i], &comparison);
        if (!problem.ok())
            return tell(problem);
    }
    watch->end();
    const int printed = Tools::print(textOf(comparison).toUtf8());
    return printed == Tools::Done ? exitCodeOf(comparison) : printed;
}

QString textOf(const Merge &done)
{
    return QStringLiteral("New: %1, %2, %3, %4. %5 known already, %6 taken over.\n")
        .arg(counted(done.jobs, "job", "jobs"), counted(done.points, "point", "points"),
            counted(done.inspections, "inspection", "inspections"), counted(done.pictures, "picture", "pictures"),
            counted(done.known, "inspection", "inspections"), counted(done.decisions.size(), "decision", "decisions"));
}

/// A line for each decision that came from the other store.
QString decisionsText(const Merge &done, const RecordStore &store)
{
    QString text;
    for (const Id id : done.decisions) {
        const StoredInspection now = store.inspection(id).value;
        const QString note = now.note.isEmpty() ? QString() : QStringLiteral(", ") + now.note.simplified();
        text += QStringLiteral("inspection %1: taken over: %2")
                    .arg(QString::number(id), Tools::Terminal::printable(Words::of(now.decision) + note))
            + QLatin1Char('\n');
    }
    return text;
}

/// By its name where an inspection tells it.
QString pointText(Id point, const RecordStore &store)
{
    Filter filter;
    filter.point = point;
    const auto found = store.list(filter, {0, 1});
    if (found.value.isEmpty())
        return QStringLiteral("point %1").arg(point);
    const InspectionSummary &last = found.value.first();
    return QStringLiteral("point %1 of %2")
        .arg(Tools::Terminal::printable(last.pointName), Tools::Terminal::printable(last.jobName));
}

/// A line for each point whose last inspection is another one now.
QString judgedAnewText(const Merge &done, const RecordStore &store)
{
    QString text;
    for (const Id point : done.judgedAnew) {
        Filter filter;
        filter.point = point;
        const auto found = store.list(filter, {0, 1});
        if (!found.ok() || found.value.isEmpty()) {
            text +=
                QStringLiteral("point %1 is judged by an inspection of there: %2\n").arg(point).arg(found.problem.text);
            continue;
        }
        const InspectionSummary &last = found.value.first();
        text += QStringLiteral("point %1 of %2: judged by inspection %3 of there: %4\n")
                    .arg(Tools::Terminal::printable(last.pointName), Tools::Terminal::printable(last.jobName),
                        QString::number(last.id), Words::of(last.verdict));
    }
    return text;
}

/// @param what is wrong with them
void tellLost(int pictures, const char *what)
{
    if (pictures > 0)
        Tools::Terminal::tell(QStringLiteral("%1 %2 in the store that was read")
                                  .arg(counted(pictures, "picture is", "pictures are"), QLatin1String(what)));
}
} // namespace

int verifyStore(const Options &options, const RecordStore &store)
{
    Watch watch;
    const Answer<Verification> found = store.verify(watch.goesOn());
    watch.end();
    if (found.problem.fault == Fault::Stopped)
        return watch.exitCode();
    if (!found.ok())
        return tell(found.problem);
    const int printed = Tools::print(textOf(found.value, options.store).toUtf8());
    if (printed != Tools::Done)
        return printed;
    const int again = options.inspectsAgain ? inspectAllAgain(store, &watch) : Tools::Done;
    return std::max<int>(again, found.value.allWell() ? Tools::Done : Tools::NotPassed);
}

int backUpStore(const Options &options, const RecordStore &store)
{
    const Answer<Backup> done = store.backup(options.operand);
    if (!done.ok()) {
        const bool isOfCopy = done.problem.fault == Fault::Invalid // there is a store already
            || done.problem.fault == Fault::Unusable;
        const int exitCode = tell(done.problem);
        return isOfCopy ? Tools::NotWritten : exitCode;
    }
    tellLost(done.value.missing, "missing or damaged");
    const QString text =
        QStringLiteral("Wrote a copy with %1 into %2\n")
            .arg(counted(done.value.pictures, "picture", "pictures"), Tools::Terminal::printableName(options.operand));
    const int printed = Tools::print(text.toUtf8());
    return printed == Tools::Done && done.value.missing > 0 ? Tools::NotAnswered : printed;
}

int mergeStore(const Options &options, RecordStore *store)
{
    Watch watch;
    const Answer<Merge> done = store->merge(options.operand, watch.goesOn());
    watch.end();
    if (done.problem.fault == Fault::Stopped)
        return watch.exitCode();
    if (!done.ok()) {
        const int exitCode = tell(done.problem);
        return exitCode == Tools::NotPassed ? Tools::Unavailable : exitCode; // there is no such store
    }
    for (const Id id : done.value.disagreements)
        Tools::Terminal::tell(
            QStringLiteral("inspection %1 was decided differently there; what is here stays").arg(id));
    for (const Id id : done.value.contradictions)
        Tools::Terminal::tell(
            QStringLiteral("inspection %1 has another verdict, or says something else, there; what is here stays")
                .arg(id));
    for (const Id point : done.value.otherFibres)
        Tools::Terminal::tell(
            QStringLiteral("%1 is of another kind of fibre there; what is here stays").arg(pointText(point, *store)));
    tellLost(done.value.missing, "missing");
    tellLost(done.value.damaged, "damaged, or cannot be read,");
    const QString text = decisionsText(done.value, *store) + judgedAnewText(done.value, *store) + textOf(done.value);
    const int printed = Tools::print(text.toUtf8());
    if (printed != Tools::Done)
        return printed;
    if (done.value.missing > 0 || done.value.damaged > 0)
        return Tools::NotAnswered;
    const bool isOneMind =
        done.value.disagreements.isEmpty() && done.value.contradictions.isEmpty() && done.value.otherFibres.isEmpty();
    return isOneMind ? Tools::Done : Tools::NotPassed;
}

} // namespace RecordsTool
