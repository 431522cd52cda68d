// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "VantorBaseRecords_export.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <QVector>

#include <optional>

namespace Records {

/// Of a job, a point or an inspection in one store. They only grow, whatever the clock does: the larger is the later.
using Id = qint64;
constexpr Id noId = 0;

enum class Verdict : int { None = 0, Passed = 1, Failed = 2 };

VANTORBASERECORDS_EXPORT Verdict verdictOf(const FiberInspection::Inspection &inspection);

/// What the operator made of a verdict.
enum class Decision : int {
    Undecided = 0,
    Accepted = 1,
    ToRepeat = 2, ///< clean it, and inspect again
};

enum class Side : int { A = 0, B = 1 };

enum class FibreKind : int { Unknown = 0, SingleMode = 1, SingleModeAngled = 2, MultiMode = 3 };

/// What has become of a point so far, by its last inspection.
enum class PointState : int {
    Open, ///< not inspected, or to be repeated
    Passed,
    Failed,
    Accepted, ///< by the operator, though it did not pass
    NoVerdict, ///< the inspection could not be made
};

/// Work for one customer: points, all of one standard.
///
/// @code
/// Job job;
/// job.name = QStringLiteral("Panel 7");
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"));
/// const Id id = store.addJob(job).value.id;
/// const auto points = store.addPoints(id, {QStringLiteral("A01"), QStringLiteral("A72")});
/// for (const Point &point : points.value)
///     qInfo() << point.position << point.name;
/// @endcode
struct Job
{
    Id id = noId; ///< given by the store, as are the identity and the time of creation
    QUuid identity; ///< the same on every unit that the record is copied to
    QString name; ///< never empty
    QString customer;
    QString site;
    QString operatorName;
    FiberInspection::Standard::Id standard = FiberInspection::Standard::IEC61300_3_35_SM_RL45;
    QDateTime created; ///< UTC
    QDateTime closed; ///< UTC; invalid while the job is open

    bool isOpen() const { return !closed.isValid(); }
};

/// How many points of a job there are, and how far they are.
struct JobProgress
{
    int points = 0;
    int open = 0;
    int passed = 0;
    int failed = 0; ///< and not accepted
    int accepted = 0;
    int withoutVerdict = 0;
};

/// One rule of a zone, and how many points fail by it.
struct RuleFailures
{
    FiberInspection::Zone::Id zone = FiberInspection::Zone::Core;
    FiberInspection::Rule rule;
    int points = 0; ///< that violate it in their last inspection
};

/// What the inspections of a job say together. Of each point its last one counts; one that failed counts as failed
/// also where the operator accepted it.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const auto statistics = store.statistics(1, {2, 5, 10, 25}).value;
/// if (const auto rate = statistics.passRate())
///     qInfo() << 100 * *rate << "% passed;" << statistics.sizes.last() << "defects of 25 um and more";
/// for (const RuleFailures &failures : statistics.failures)
///     qInfo() << Zone::name(failures.zone) << failures.rule.toString() << failures.points;
/// @endcode
struct VANTORBASERECORDS_EXPORT JobStatistics
{
    static constexpr int maxEdges = 1000; ///< of sizes

    int inspections = 0; ///< all of the job
    int passed = 0; ///< points, as are the next two
    int failed = 0;
    int withoutVerdict = 0; ///< inspected, but not graded
    QVector<RuleFailures>
        failures; ///< by zone, and in the order of its rules; those that nothing violates are not there

    /// The defects that points fail for, by size: those below the first edge, from each edge up to the next one, and
    /// from the last one on. Always one more than there are edges.
    QVector<int> sizes;

    /// The median of the time from one inspection to the next, in the order in which they were stored. Where the clock
    /// was set back, there is none; nor for a single inspection.
    std::optional<double> secondsBetween;

    std::optional<double> passRate() const; ///< 0 to 1, of the points with a verdict; none without any
};

/// One connector of a job.
struct Point
{
    Id id = noId;
    Id job = noId;
    QString name;
    int position = 0; ///< in the job, counted from 0
    Side side = Side::A;
    FibreKind fibre = FibreKind::Unknown;
    PointState state = PointState::Open;
    int inspections = 0;
    Id lastInspection = noId;
};

/// Points with all the names from the first to the last one, as TestNameGenerator counts.
struct PointRun
{
    QString from;
    QString to;
    Side side = Side::A;
    FibreKind fibre = FibreKind::Unknown;
};

/// Where an inspection comes from: what it was made with, so that it can be made again.
struct VANTORBASERECORDS_EXPORT Origin
{
    Id point = noId; ///< none: an inspection of no job
    QDateTime made; ///< UTC; the store takes the present time for an invalid one
    FiberInspection::Device device = FiberInspection::Device::ks20();
    float scale = 1;
    qint64 maxImagePixels = FiberInspection::InspectionOptions::defaultMaxImagePixels;
    std::optional<quint64> seed; ///< without it, to inspect the picture again may give another verdict
    std::optional<double> focusValue; ///< of the live picture when the photograph was taken
    QString software; ///< name and version; the store takes its own for an empty one

    /// With the device and the options that the inspection was made with.
    static Origin of(Id point, const FiberInspection::Device &device = FiberInspection::Device::ks20(),
        const FiberInspection::InspectionOptions &options = {});

    FiberInspection::InspectionOptions options() const; ///< without a function for the steps
};

/// One inspection as a list shows it.
struct InspectionSummary
{
    Id id = noId;
    Id point = noId;
    QString pointName;
    Side side = Side::A;
    Id job = noId;
    QString jobName;
    QDateTime made; ///< UTC, by the clock of the unit; it is the id that tells the order
    FiberInspection::Standard::Id standard = FiberInspection::Standard::Manual;
    Verdict verdict = Verdict::None;
    FiberInspection::Inspection::Reason reason = FiberInspection::Inspection::Reason::NotInspected;
    QString detail; ///< of the reason
    Decision decision = Decision::Undecided;
    QString note; ///< of the operator
};

/// One rule as it was applied.
struct VANTORBASERECORDS_EXPORT StoredRule
{
    FiberInspection::Rule rule;
    int found = 0; ///< defects that matched it
    bool violated = false;

    bool operator==(const StoredRule &other) const;
    bool operator!=(const StoredRule &other) const { return !(*this == other); }
};

/// One graded zone with its rules, in their order.
struct VANTORBASERECORDS_EXPORT StoredZone
{
    FiberInspection::Zone::Id zone = FiberInspection::Zone::Core;
    int innerDiameter = 0; ///< micrometres
    int outerDiameter = 0; ///< micrometres
    int violations = 0; ///< all matches of the violated rules
    QVector<StoredRule> rules;

    /// Core and cladding of an inspection.
    static QVector<StoredZone> of(const FiberInspection::TestResult &result);

    bool operator==(const StoredZone &other) const;
    bool operator!=(const StoredZone &other) const { return !(*this == other); }
};

/// One defect with its shape. The latter counts in pixels of the crop, x to the right and y down.
struct VANTORBASERECORDS_EXPORT StoredDefect
{
    FiberInspection::GradedDefect graded;
    FiberInspection::Circle enclosingCircle;
    QVector<QPointF> boundingRectPoints;
    QVector<QPointF> pixels; ///< of the contour

    /// All of an inspection, in the order of Inspection::defects().
    static QVector<StoredDefect> of(const FiberInspection::Inspection &inspection);

    bool operator==(const StoredDefect &other) const;
    bool operator!=(const StoredDefect &other) const { return !(*this == other); }
};

/// All that is known of one inspection. No picture is analysed to get it.
struct StoredInspection : InspectionSummary
{
    QUuid identity; ///< the same on every unit that the record is copied to
    Origin origin;
    float micronsPerPixel = 0;
    FiberInspection::Circle claddingCircle; ///< pixels of the image
    QRect crop; ///< pixels of the image
    FiberInspection::GrayLevels grayLevels;
    FiberInspection::DefectCounts counts;
    QVector<StoredZone> zones; ///< core, cladding
    QVector<StoredDefect> defects;

    QByteArray picture; ///< its SHA-256 in hexadecimal digits; empty when there was none
    QByteArray annotatedPicture;
    bool isPictureThere = false;
    bool isAnnotatedPictureThere = false;
};

/// What a list is to show. What is not set does not count.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// Filter filter;
/// filter.text = QStringLiteral("mul 12");
/// filter.verdict = Verdict::Failed;
/// const auto secondPage = store.list(filter, {50, 50});
/// for (const InspectionSummary &row : secondPage.value)
///     qInfo() << row.made << row.jobName << row.pointName << row.note;
/// @endcode
struct Filter
{
    static constexpr int maxWords = 16; ///< of the text; more are not looked at

    /// Beginnings of words of the job, customer, site, operator, point and note, in any order and without regard to
    /// case and accents: "mul 12" finds point 12 of the Müller job. Signs do not count; alone, they find nothing.
    QString text;
    std::optional<Id> job;
    std::optional<Id> point;
    std::optional<Verdict> verdict;
    std::optional<FiberInspection::Standard::Id> standard;
    QByteArray picture; ///< the SHA-256 of what was inspected, in hexadecimal digits
    QDateTime from; ///< and later
    QDateTime until; ///< and earlier
};

/// Which rows of a list, the latest first.
struct Page
{
    static constexpr int maxRows = 1000;

    int offset = 0;
    int rows = 50; ///< at most maxRows
};

} // namespace Records
