// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "VantorBaseReports_export.h"

#include <functional>

namespace Reports {

/// What a report says of a point.
enum class ReportState : int {
    Open, ///< not inspected, or to be repeated
    Passed,
    Failed,
    Accepted, ///< by the operator, though it did not pass
    NoVerdict, ///< the inspection could not be made
    Doubtful, ///< its last record cannot be read, or contradicts itself; it counts as not passed
};

/// A point with its last inspection.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const JobReport report = JobReport::gather(store, 1).value;
/// for (const ReportPoint &point : report.points) {
///     const StoredInspection *const last = report.lastOf(point);
///     if (last && point.state == ReportState::Failed)
///         qInfo() << point.point.name << "has failed with" << last->defects.size() << "defects";
/// }
/// @endcode
struct ReportPoint
{
    Records::Point point;
    ReportState state = ReportState::Open;
    int inspection = -1; ///< index in JobReport::inspections of the last one; -1: there is none, or it cannot be read
};

/// How many points there are in each state.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const ReportCounts counts = JobReport::gather(store, 1).value.counts();
/// if (!counts.allPassed())
///     qInfo() << counts.open << "are open," << counts.failed << "have failed," << counts.doubtful << "are in doubt";
/// @endcode
struct ReportCounts
{
    int points = 0;
    int open = 0;
    int passed = 0;
    int failed = 0;
    int accepted = 0;
    int withoutVerdict = 0;
    int doubtful = 0;

    bool allPassed() const { return points > 0 && passed == points; }
};

/// Is told how far the work is, and ends it by answering false, with Fault::Stopped.
using GoesOn = std::function<bool(int done, int all)>;

/// The bytes of a stored picture, or why there are none.
using PictureReader = std::function<Records::Answer<QByteArray>(const QByteArray &hash)>;

/// All that a report says of one job: a value, gathered once, from which documents are written.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const Answer<JobReport> report = JobReport::gather(store, 1);
/// if (!report.ok())
///     qWarning() << report.problem.text;
/// else if (!report.value.isSound())
///     qWarning() << report.value.pictureFaults.size() << "pictures are missing or damaged";
/// const ReportCounts counts = report.value.counts();
/// qInfo() << counts.passed << "of" << counts.points;
/// @endcode
///
/// Pictures are not part of it: they are read from the store when a document is written, so that one must still be open
/// then, in the same thread.
struct VANTORBASEREPORTS_EXPORT JobReport
{
    static constexpr int maxPoints = 2000;
    static constexpr int maxInspections = 20000;
    static constexpr int maxDefects = 1'000'000; ///< of all inspections together
    static constexpr int maxRules = 1'000'000; ///< likewise

    Records::Job job;
    QDateTime made; ///< UTC; when it was gathered
    QVector<ReportPoint> points; ///< in their order

    /// All of the job that can be read, the oldest first; without the outlines of their defects.
    QVector<Records::StoredInspection> inspections;

    QVector<double> sizeEdges; ///< micrometres; of statistics.sizes
    Records::JobStatistics statistics; ///< as the store counts them
    QVector<Records::Id> unreadable; ///< inspections that are damaged
    QVector<Records::Id> contradictions; ///< inspections that doubtOf() doubts, or by another standard than the job
    QVector<Records::PictureFault> pictureFaults; ///< of all inspections
    PictureReader picture; ///< reads from the store

    /// Reads all records of the job, and the sums of all its pictures. While others write, it begins anew, three times
    /// at most; then it is Fault::Busy. A job beyond the limits above is Fault::TooLarge.
    static Records::Answer<JobReport> gather(
        const Records::RecordStore &store, Records::Id job, const GoesOn &goesOn = {});

    ReportCounts counts() const;

    /// Of the points with a verdict that counts, from 0 to 1: an accepted one has failed. None without any.
    std::optional<double> passRate() const;

    /// Whether all records and pictures are there and say what they should.
    bool isSound() const { return unreadable.isEmpty() && contradictions.isEmpty() && pictureFaults.isEmpty(); }

    /// The last inspection of a point; null without one.
    const Records::StoredInspection *lastOf(const ReportPoint &point) const;

    /// The document that docs/records.schema.json describes: the job, its points, and all its inspections.
    /// @param software name and version of the program that writes; empty: those of this library
    QByteArray toJson(const QString &software = {}) const;
};

} // namespace Reports
