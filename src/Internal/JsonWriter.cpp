// SPDX-License-Identifier: Apache-2.0
#include "Internal/JsonWriter.h"

#include "Internal/ShortestNumber.h"

namespace {
/// What JSON itself asks for, and what would control a terminal or reorder the text on it.
bool needsNumber(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Other_Format
        || character.category() == QChar::Separator_Line || character.category() == QChar::Separator_Paragraph;
}

QString escaped(QChar character)
{
    switch (character.unicode()) {
    case '"':
        return QStringLiteral("\\\"");
    case '\\':
        return QStringLiteral("\\\\");
    case '\n':
        return QStringLiteral("\\n");
    case '\t':
        return QStringLiteral("\\t");
    default:
        return needsNumber(character)
            ? QStringLiteral("\\u%1").arg(static_cast<uint>(character.unicode()), 4, 16, QLatin1Char('0'))
            : QString(character);
    }
}
} // namespace

JsonWriter &JsonWriter::key(const char *name)
{
    separate();
    mBytes += QByteArray("\"") + name + "\":";
    mNeedsComma = false;
    return *this;
}

JsonWriter &JsonWriter::value(const QString &text)
{
    QString quoted(QLatin1Char('"'));
    for (int i = 0; i < text.size(); ++i) {
        const bool isPair = text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            quoted += text.midRef(i++, 2);
        else
            quoted += text.at(i).isSurrogate() ? QString(QChar(QChar::ReplacementCharacter)) : escaped(text.at(i));
    }
    return scalar(quoted.toUtf8() + '"');
}

JsonWriter &JsonWriter::value(bool flag)
{
    return scalar(flag ? "true" : "false");
}

JsonWriter &JsonWriter::value(qint64 number)
{
    return scalar(QByteArray::number(number));
}

JsonWriter &JsonWriter::value(int number)
{
    return scalar(QByteArray::number(number));
}

JsonWriter &JsonWriter::value(float number)
{
    return scalar(shortestNumber(number));
}

JsonWriter &JsonWriter::value(double number)
{
    return scalar(shortestNumber(number));
}

JsonWriter &JsonWriter::open(char bracket)
{
    separate();
    mBytes += bracket;
    mNeedsComma = false;
    return *this;
}

JsonWriter &JsonWriter::close(char bracket)
{
    mBytes += bracket;
    mNeedsComma = true;
    return *this;
}

JsonWriter &JsonWriter::scalar(const QByteArray &text)
{
    separate();
    mBytes += text;
    mNeedsComma = true;
    return *this;
}

void JsonWriter::separate()
{
    if (mNeedsComma)
        mBytes += ',';
}
