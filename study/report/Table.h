// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>
#include <QVector>

namespace Study {

/// A table of a Markdown document. The first column is text, the others are numbers, aligned to the right.
class Table
{
public:
    explicit Table(const QStringList &head)
        : mHead(head)
    {
    }

    void addRow(const QStringList &row) { mRows.append(row); } ///< as many cells as the head has

    QString toMarkdown() const;

private:
    QStringList mHead;
    QVector<QStringList> mRows;
};

} // namespace Study
