// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Terminal.h"

#include <QStringList>
#include <QVector>

namespace RecordsTool {

/// Rows under a header, each column as wide as what stands in it. What texts from outside could do to a terminal, they
/// cannot do here.
class Table
{
public:
    enum class Align : int { Left, Right };
    enum class Look : int { Plain, Good, Bad, Dim };

    struct Column
    {
        QString title;
        Align align = Align::Left;
    };

    struct Cell
    {
        QString text;
        Look look = Look::Plain;
    };

    explicit Table(const QVector<Column> &columns)
        : mColumns(columns)
    {
    }

    /// A cell is cut when it is longer than longestCell.
    void add(const QVector<Cell> &row);

    bool isEmpty() const { return mRows.isEmpty(); }
    QString text(const Tools::TextStyle &style, const QString &indent = {}) const; ///< whole lines

    static constexpr int longestCell = 60; ///< characters

private:
    QVector<Column> mColumns;
    QVector<QVector<Cell>> mRows;
};

} // namespace RecordsTool
