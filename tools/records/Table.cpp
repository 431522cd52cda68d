// SPDX-License-Identifier: Apache-2.0
#include "records/Table.h"

namespace RecordsTool {

namespace {
/// Printable, and no longer than a cell: neither a character nor what stands for one is cut through.
QString cut(const QString &text)
{
    const QString whole = Tools::Terminal::printable(text);
    if (whole.size() <= Table::longestCell)
        return whole;
    QString beginning;
    for (int i = 0; i < text.size();) {
        const int length = text.at(i).isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const QString next = Tools::Terminal::printable(text.mid(i, length));
        if (beginning.size() + next.size() >= Table::longestCell)
            break;
        beginning += next;
        i += length;
    }
    return beginning + QChar(0x2026);
}

QString padded(const QString &text, int width, Table::Align align)
{
    return align == Table::Align::Right ? text.rightJustified(width) : text.leftJustified(width);
}

QString painted(const QString &text, Table::Look look, const Tools::TextStyle &style)
{
    switch (look) {
    case Table::Look::Good:
        return style.good(text);
    case Table::Look::Bad:
        return style.bad(text);
    case Table::Look::Dim:
        return style.dim(text);
    case Table::Look::Plain:
        break;
    }
    return text;
}

QString trimmedEnd(QString line)
{
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line;
}
} // namespace

void Table::add(const QVector<Cell> &row)
{
    QVector<Cell> printable = row;
    for (Cell &cell : printable)
        cell.text = cut(cell.text.simplified());
    mRows.append(printable);
}

QString Table::text(const Tools::TextStyle &style, const QString &indent) const
{
    static const QString gap = QStringLiteral("  ");
    QVector<int> widths;
    QString header = indent;
    for (int i = 0; i < mColumns.size(); ++i) {
        int width = mColumns[i].title.size();
        for (const QVector<Cell> &row : mRows)
            width = qMax(width, row.value(i).text.size());
        widths.append(width);
        header += (i > 0 ? gap : QString()) + padded(mColumns[i].title, width, mColumns[i].align);
    }

    QString text = style.bold(trimmedEnd(header)) + QLatin1Char('\n');
    for (const QVector<Cell> &row : mRows) {
        QString line = indent;
        for (int i = 0; i < row.size(); ++i) {
            const bool isLast = i + 1 == row.size() && mColumns[i].align == Align::Left;
            const QString cell = isLast ? row[i].text : padded(row[i].text, widths[i], mColumns[i].align);
            line += (i > 0 ? gap : QString()) + (row[i].text.isEmpty() ? cell : painted(cell, row[i].look, style));
        }
        text += trimmedEnd(line) + QLatin1Char('\n');
    }
    return text;
}

} // namespace RecordsTool
