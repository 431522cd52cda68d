// SPDX-License-Identifier: Apache-2.0
#include "Internal/ShownText.h"

namespace ShownText {

namespace {
constexpr int mostMarks = 4; // above and below one character; no language needs more, and a hundred leave the page

bool isMark(uint character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

/// No text may have it, and XML least of all.
bool isNoCharacter(QChar character)
{
    return character.isSurrogate() || character.unicode() >= 0xFFFE || character.category() == QChar::Other_Control;
}

/// The character that begins there, of one or two units.
uint characterAt(const QString &text, int index)
{
    const QChar first = text.at(index);
    const bool isPair = first.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(first, text.at(index + 1)) : first.unicode();
}

/// Marks, embeddings, overrides and isolates of direction.
bool turnsDirection(QChar character)
{
    const ushort code = character.unicode();
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E)
        || (code >= 0x2066 && code <= 0x2069);
}

bool isBreak(QChar character)
{
    return character == QLatin1Char('\t') || character == QLatin1Char('\n') || character == QLatin1Char('\r')
        || character.category() == QChar::Separator_Line || character.category() == QChar::Separator_Paragraph;
}
} // namespace

QString of(const QString &text)
{
    QString plain;
    plain.reserve(text.size());
    int marks = 0;
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const uint whole = characterAt(text, i);
        const bool isPair = QChar::requiresSurrogates(whole);
        if (isMark(whole))
            ++marks;
        else if (QChar::category(whole) != QChar::Other_Format) // the next mark stands over the same character
            marks = 0;
        if (marks > mostMarks)
            i += isPair ? 1 : 0;
        else if (isPair)
            plain += text.midRef(i++, 2);
        else if (isBreak(character))
            plain += QLatin1Char(' ');
        else if (isNoCharacter(character))
            plain += QChar(QChar::ReplacementCharacter);
        else if (!turnsDirection(character))
            plain += character;
    }
    return plain.simplified();
}

} // namespace ShownText
