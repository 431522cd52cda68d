// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "Records/Doubt.h"
#include "VantorBaseReports_export.h"

#include <QString>

#include <optional>

/// What the values of a record are called in documents that programs read, and on a command line. A value of a later
/// version is "unknown", and never taken for one that is known. English in every locale.
///
/// @code
/// const auto verdict = Words::verdictOf(QStringLiteral("passed"));
/// if (!verdict)
///     qWarning() << "no verdict is called that";
/// else
///     qInfo() << Words::utcTime(QDateTime::currentDateTimeUtc()) << Words::of(*verdict);
/// @endcode
namespace Reports::Words {

VANTORBASEREPORTS_EXPORT QString of(Records::Verdict verdict); ///< "passed", "failed", or "none"
VANTORBASEREPORTS_EXPORT QString of(Records::Doubt doubt); ///< in one line; empty for none
VANTORBASEREPORTS_EXPORT QString ofPicture(Records::Fault fault); ///< of reading one, in one line; empty for none
VANTORBASEREPORTS_EXPORT QString of(Records::Decision decision); ///< "undecided", "accepted", "repeat"
VANTORBASEREPORTS_EXPORT QString of(Records::Side side); ///< "A" or "B"
VANTORBASEREPORTS_EXPORT QString of(Records::FibreKind fibre); ///< "unknown", "sm", "apc", "mm"

VANTORBASEREPORTS_EXPORT std::optional<Records::Verdict> verdictOf(const QString &word);
VANTORBASEREPORTS_EXPORT std::optional<Records::Side> sideOf(const QString &word);
VANTORBASEREPORTS_EXPORT std::optional<Records::FibreKind> fibreOf(const QString &word);

VANTORBASEREPORTS_EXPORT QString nameOf(FiberInspection::Standard::Id id); ///< for people
VANTORBASEREPORTS_EXPORT QString enumeratorOf(FiberInspection::Standard::Id id);

VANTORBASEREPORTS_EXPORT QString of(FiberInspection::Zone::Id zone); ///< "Core"
VANTORBASEREPORTS_EXPORT QString of(FiberInspection::Defect::Type type); ///< "defect" or "scratch"
VANTORBASEREPORTS_EXPORT QString of(FiberInspection::Rule::Operator ruleOperator); ///< its enumerator

/// Of an inspection without a verdict, in one line; empty with one.
VANTORBASEREPORTS_EXPORT QString reasonOf(const Records::InspectionSummary &inspection);

VANTORBASEREPORTS_EXPORT QString localTime(const QDateTime &utc); ///< for people
VANTORBASEREPORTS_EXPORT QString utcTime(
    const QDateTime &utc); ///< for programs: ISO 8601 with milliseconds; empty for none

} // namespace Reports::Words
