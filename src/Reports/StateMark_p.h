// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/Sheet_p.h"

/// A state as it is shown: by word, shape and colour, so that none of them is needed alone.
namespace Reports::StateMark {

QString wordOf(const ReportText &words, ReportState state);
QRgb colorOf(ReportState state);

/// Draws the symbol into a square.
void draw(Sheet *sheet, const QPointF &centre, double size, ReportState state);

/// Draws the symbol and the word. @return the height that it takes
double drawWithWord(Sheet *sheet, double x, double y, double width, ReportState state, double points);

/// Calls with each state and where its column begins: as wide as their words need, over the width of the page.
void inColumns(Sheet *sheet, double points, const std::function<void(ReportState state, double x)> &draw);

constexpr ReportState all[] = {ReportState::Passed, ReportState::Failed, ReportState::Accepted, ReportState::NoVerdict,
    ReportState::Doubtful, ReportState::Open};

int countOf(const ReportCounts &counts, ReportState state);

} // namespace Reports::StateMark
