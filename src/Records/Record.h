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

/// How many points of a job there are, and how far they are: each counts once.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const JobProgress progress = store.progress(1).value;
/// qInfo() << progress.open << "of" << progress.points << "points are open";
/// @endcode
struct JobProgress
{
    int points = 0;
    int open = 0;
    int passed = 0;
    int failed = 0; ///< and not accepted
    int accepted = 0;
    int withoutVerdict = 0;
    int doubtful = 0; ///< that are not open; RecordStore::doubt() tells why
};

/// One rule of a zone, and how many points fail by it.
/// @see JobStatistics
struct RuleFailures
{
    FiberInspection::Zone::Id zone = FiberInspection::Zone::Core;
    FiberInspection::Rule rule;
    int points = 0; ///< that violate it in their last inspection
};

/// What the inspections of a job say together. Of each point its last one counts; one that failed counts as failed
/// also where the operator accepted it. Open, passed, failed, without verdict and doubtful are all of the points.
/// Failures and sizes are those that the last inspections tell, also the doubtful ones.
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
    static constexpr int longestPause = 30 * 60; ///< seconds from one inspection to the next that may be work

    int inspections = 0; ///< all of the job
    int points = 0; ///< all of the job, as are the next ones
    int open = 0; ///< not inspected, or to be repeated
    int passed = 0;
    int failed = 0;
    int accepted = 0; ///< by the operator, of those that failed
    int withoutVerdict = 0; ///< inspected, but not graded
    int doubtful = 0; ///< that are not open; they count as nothing else. RecordStore::doubt() tells why
    QVector<RuleFailures>
        failures; ///< by zone, and in the order of its rules; those that nothing violates are not there

    /// The defects that points fail for, by size: those below the first edge, from each edge up to the next one, and
    /// from the last one on. Always one more than there are edges.
    QVector<int> sizes;

    /// The median of the time from one inspection to the next, in the order in which they were stored. Where the clock
    /// was set back, there is none; nor for a single inspection.
    std::optional<double> secondsBetween;

    /// How long a point took: from the last inspection of the point before to its own last one, before another one had
    /// its turn; median and the longest. One counts each time that it has its turn, but for the very first, whose
    /// beginning is not known, and but for those in which the clock was set back or more than longestPause passed
    /// between two inspections.
    std::optional<double> secondsOfPoint;
    std::optional<double> longestSecondsOfPoint;

    /// 0 to 1, of the points that passed or failed; none without any. It does not tell how many are open.
    std::optional<double> passRate() const;
};

/// One connector of a job.
/// @see Job
struct Point
{
    Id id = noId;
    Id job = noId;
    QString name;
    int position = 0; ///< in the job, counted from 0
    Side side = Side::A;
    FibreKind fibre = FibreKind::Unknown;
    PointState state = PointState::Open;
    bool isDoubtful = false; ///< it is not open, but what its last inspection says is not to be relied on
    int inspections = 0;
    Id lastInspection = noId;
};

/// Points with all the names from the first to the last one, as TestNameGenerator counts.
///
/// @code
/// PointRun run{QStringLiteral("A01"), QStringLiteral("A72")};
/// run.side = Side::B;
/// run.fibre = FibreKind::MultiMode;
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"));
/// qInfo() << store.addPoints(1, run).value.size(); // 72
/// @endcode
struct PointRun
{
    QString from;
    QString to;
    Side side = Side::A;
    FibreKind fibre = FibreKind::Unknown;
};

/// Where an inspection comes from: what it was made with, so that it can be made again.
///
/// @code
/// InspectionOptions options;
/// options.seed = 7; // to be made again, with the same outcome
/// const QByteArray photograph = QByteArrayLiteral("...");
/// const QImage image = decodeImage(photograph).image;
/// Origin origin = Origin::of(noId, Device::ks20(), options);
/// origin.focusValue = 3.1;
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"));
/// store.addInspection(origin, inspect(image, Standard::IEC61300_3_35_MM, Device::ks20(), options), photograph);
/// @endcode
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

    static QString ownSoftware(); ///< of this version of this library
};

/// One inspection as a list shows it.
/// @see Filter
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
///
/// @code
/// StoredRule rule;
/// rule.rule = Rule{Defect::Type::Defect, Rule::GreaterThan, 25, Rule::unused, 0};
/// rule.found = 2;
/// rule.violated = rule.found > rule.rule.maxAllowedAmount;
/// qInfo() << rule.rule.toString() << rule.found << rule.violated; // "size > 25 [0]" 2 true
/// @endcode
struct VANTORBASERECORDS_EXPORT StoredRule
{
    FiberInspection::Rule rule;
    int found = 0; ///< defects that matched it
    bool violated = false;

    bool operator==(const StoredRule &other) const;
    bool operator!=(const StoredRule &other) const { return !(*this == other); }
};

/// One graded zone with its rules, in their order.
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// const QVector<StoredZone> zones = StoredZone::of(inspection.result());
/// for (const StoredZone &zone : zones)
///     qInfo() << Zone::name(zone.zone) << zone.violations << "violations of" << zone.rules.size() << "rules";
/// @endcode
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
///
/// @code
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_RL45);
/// const QVector<StoredDefect> defects = StoredDefect::of(inspection);
/// for (const StoredDefect &defect : defects)
///     qInfo() << defect.graded.sizeMicrons << "um, with an outline of" << defect.pixels.size() << "points";
/// @endcode
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
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const Answer<StoredInspection> record = store.inspection(1);
/// if (record.ok() && record.value.isPictureThere)
///     qInfo() << record.value.pointName << store.picturePath(record.value.picture).value;
/// @endcode
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
/// const auto secondPage = store.list(filter, Page{50, 50});
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
/// @see Filter
struct Page
{
    static constexpr int maxRows = 1000;

    int offset = 0;
    int rows = 50; ///< at most maxRows
};

} // namespace Records
