// SPDX-License-Identifier: Apache-2.0
#include "Records/Choice_p.h"
#include "Records/Database_p.h"

#include <algorithm>

namespace Records {

namespace {
/// What may be searched for, in the words of the index: each the beginning of a word, all of them wanted.
QString searchFor(const QString &text)
{
    QStringList wanted;
    const QStringList typed = text.split(QChar::Space, Qt::SkipEmptyParts);
    for (const QString &word : typed) {
        const QVector<uint> characters = word.toUcs4();
        const bool isWord =
            std::any_of(characters.cbegin(), characters.cend(), [](uint c) { return QChar::isLetterOrNumber(c); });
        if (!isWord || wanted.size() >= Filter::maxWords)
            continue; // the index holds no signs
        QString quoted = word;
        quoted.remove(QChar::Null).replace(QLatin1Char('"'), QStringLiteral("\"\""));
        wanted << QStringLiteral("\"%1\"*").arg(quoted);
    }
    return wanted.join(QLatin1Char(' '));
}
} // namespace

Choice::Choice(const Filter &filter)
    : source(QStringLiteral("inspection"))
    , id(QStringLiteral("inspection.id"))
{
    const QString search = searchFor(filter.text.simplified());
    if (!search.isEmpty()) {
        source = QStringLiteral("search CROSS JOIN inspection ON inspection.id = search.rowid"); // in that order
        id = QStringLiteral("search.rowid");
        add("search MATCH ?", search);
    } else if (!filter.text.trimmed().isEmpty()) {
        conditions << QStringLiteral("0"); // signs alone are in no word
    }
    if (filter.job)
        add("inspection.point IN (SELECT point.id FROM point WHERE point.job = ?)", *filter.job);
    if (filter.point)
        add("inspection.point = ?", *filter.point);
    if (filter.verdict)
        add("inspection.verdict = ?", static_cast<int>(*filter.verdict));
    if (filter.standard)
        add("inspection.standard = ?", static_cast<int>(*filter.standard));
    if (!filter.picture.isEmpty())
        add("inspection.picture = ?", QByteArray::fromHex(filter.picture));
    if (filter.from.isValid())
        add("inspection.made >= ?", toValue(filter.from));
    if (filter.until.isValid())
        add("inspection.made <= ?", toValue(filter.until));
}

void Choice::add(const char *condition, const QVariant &value)
{
    conditions << QString::fromLatin1(condition);
    values << value;
}

QString Choice::text() const
{
    const QString where =
        conditions.isEmpty() ? QString() : QStringLiteral(" WHERE ") + conditions.join(QStringLiteral(" AND "));
    return QStringLiteral(" FROM ") + source + where;
}

} // namespace Records
