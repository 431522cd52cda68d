// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

/// What one table shows: a call, as a page writes it, for every row and every column.
struct FormattingTable
{
    const char *call; ///< "$r" stands for the row, "$c" for the column
    std::vector<const char *> rows; ///< the first argument, as JavaScript
    std::vector<const char *> columns; ///< what varies besides; empty for a single column
};

struct FormattingSection
{
    const char *title;
    const char *text; ///< below the title; may be empty
    std::vector<FormattingTable> tables;
};

const std::vector<FormattingSection> &formattingSections();
