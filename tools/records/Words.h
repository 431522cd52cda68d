// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Record.h"

#include <QStringList>

#include <optional>

/// What the values of a record are called on the command line and in its output. A value of a later version is
/// "unknown", and never taken for one that is known.
namespace RecordsTool::Words {

QString of(Records::Verdict verdict); ///< "passed", "failed", or "none"
QString of(Records::Decision decision); ///< "undecided", "accepted", "repeat"
QString of(Records::Side side); ///< "A" or "B"
QString of(Records::FibreKind fibre); ///< "unknown", "sm", "apc", "mm"

std::optional<Records::Verdict> verdictOf(const QString &word);
std::optional<Records::Side> sideOf(const QString &word);
std::optional<Records::FibreKind> fibreOf(const QString &word);

/// As on the command line; a name for people where it has none there.
QString ofStandard(FiberInspection::Standard::Id id);
QString nameOf(FiberInspection::Standard::Id id); ///< for people
QString enumeratorOf(FiberInspection::Standard::Id id);

QString of(FiberInspection::Zone::Id zone); ///< "Core"
QString of(FiberInspection::Defect::Type type); ///< "defect" or "scratch"
QString of(FiberInspection::Rule::Operator ruleOperator); ///< its enumerator

/// Of an inspection without a verdict, in one line; empty with one.
QString reasonOf(const Records::InspectionSummary &inspection);

QString localTime(const QDateTime &utc); ///< for people
QString utcTime(const QDateTime &utc); ///< for programs: ISO 8601 with milliseconds; empty for none

} // namespace RecordsTool::Words
