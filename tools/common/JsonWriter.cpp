// SPDX-License-Identifier: Apache-2.0
#include "JsonWriter.h"

#include "ShortestNumber.h"

namespace Tools {

namespace {
void appendEscaped(QByteArray &bytes, char character)
{
    switch (character) {
    case '"':
        bytes += "\\\"";
        break;
    case '\\':
        bytes += "\\\\";
        break;
    case '\n':
        bytes += "\\n";
        break;
    case '\t':
        bytes += "\\t";
        break;
    default:
        if (static_cast<unsigned char>(character) < 0x20)
            bytes += "\\u00" + QByteArray(1, character).toHex();
        else
            bytes += character;
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
    QByteArray quoted("\"");
    const QByteArray utf8 = text.toUtf8();
    for (const char character : utf8)
        appendEscaped(quoted, character);
    return scalar(quoted + '"');
}

JsonWriter &JsonWriter::value(bool flag)
{
    return scalar(flag ? "true" : "false");
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

} // namespace Tools
