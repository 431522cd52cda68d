// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/report/Findings.h"

#include <optional>

namespace Study {

/// The text with everything between its markers replaced by what was found:
///
///     <!-- table: NAME -->            a table, on lines of its own
///     <!-- end -->
///     <!-- value: NAME -->12 %<!-- end -->        a figure within a sentence
///
/// Nothing for a marker without an end or with an unknown name; the problem tells which.
std::optional<QString> filledDocument(const QString &text, const Findings &findings, QString *problem);

QString markedTable(const QString &name, const QString &table);
QString markedValue(const QString &name, const QString &value);

} // namespace Study
