// SPDX-License-Identifier: Apache-2.0
#include "common/FileNameCodec.h"

#include <QFile>

#include <algorithm>

namespace Tools {

namespace {
constexpr ushort surrogateOfByte = 0xDC00; // plus the byte, which is 0x80 or more

bool isContinuation(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

/// One row of the table of well-formed byte sequences (Unicode, chapter 3.9).
struct Form
{
    uchar firstLow;
    uchar firstHigh;
    uchar secondLow;
    uchar secondHigh;
    int length;
};
constexpr Form forms[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
};

/// How many bytes the character at the front takes; 0 if they are none.
int lengthOfCharacter(const uchar *bytes, int available)
{
    if (bytes[0] < 0x80)
        return 1;
    for (const Form &form : forms) {
        if (bytes[0] < form.firstLow || bytes[0] > form.firstHigh)
            continue;
        const bool isWhole = available >= form.length && bytes[1] >= form.secondLow && bytes[1] <= form.secondHigh
            && std::all_of(bytes + 2, bytes + form.length, isContinuation);
        return isWhole ? form.length : 0;
    }
    return 0;
}

void appendCharacter(QString &text, const uchar *bytes, int length)
{
    constexpr uint leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    uint codePoint = bytes[0] & leadBits[length];
    for (int i = 1; i < length; ++i)
        codePoint = codePoint << 6 | (bytes[i] & 0x3FU);
    if (QChar::requiresSurrogates(codePoint)) {
        text += QChar(QChar::highSurrogate(codePoint));
        text += QChar(QChar::lowSurrogate(codePoint));
    } else {
        text += QChar(codePoint);
    }
}

bool isPair(const QChar *characters, int available)
{
    return available >= 2 && characters[0].isHighSurrogate() && characters[1].isLowSurrogate();
}
} // namespace

void FileNameCodec::install()
{
    static auto *const codec = new FileNameCodec;
    QTextCodec::setCodecForLocale(codec);
}

uchar FileNameCodec::byteOf(QChar character)
{
    const ushort unit = character.unicode();
    return unit >= surrogateOfByte + 0x80 && unit <= surrogateOfByte + 0xFF ? static_cast<uchar>(unit - surrogateOfByte)
                                                                            : 0;
}

bool FileNameCodec::isText(const QString &name)
{
    for (int i = 0; i < name.size(); ++i) {
        if (isPair(name.constData() + i, name.size() - i))
            ++i;
        else if (name.at(i).isSurrogate())
            return false;
    }
    return true;
}

QString FileNameCodec::percentEncoded(const QString &name)
{
    return QString::fromLatin1(QFile::encodeName(name).toPercentEncoding(QByteArrayLiteral("/")));
}

QByteArray FileNameCodec::name() const
{
    return QByteArrayLiteral("vantor-file-names");
}

int FileNameCodec::mibEnum() const
{
    return -7001; // registered numbers are positive
}

QString FileNameCodec::convertToUnicode(const char *bytes, int length, ConverterState *state) const
{
    if (state)
        state->invalidChars = 0;
    QString text;
    text.reserve(length);
    const auto *const begin = reinterpret_cast<const uchar *>(bytes);
    for (int i = 0; i < length;) {
        const int size = lengthOfCharacter(begin + i, length - i);
        if (size == 0)
            text += QChar(static_cast<ushort>(surrogateOfByte + begin[i]));
        else
            appendCharacter(text, begin + i, size);
        i += qMax(size, 1);
    }
    return text;
}

QByteArray FileNameCodec::convertFromUnicode(const QChar *characters, int length, ConverterState *state) const
{
    if (state)
        state->invalidChars = 0;
    QByteArray bytes;
    bytes.reserve(length);
    int start = 0; // of the text that is not written yet
    const auto writeTextUntil = [&](int end) {
        bytes += QString::fromRawData(characters + start, end - start).toUtf8();
        start = end + 1;
    };
    for (int i = 0; i < length; ++i) {
        if (isPair(characters + i, length - i)) {
            ++i;
        } else if (const uchar byte = byteOf(characters[i]); byte != 0) {
            writeTextUntil(i);
            bytes += static_cast<char>(byte);
        }
    }
    writeTextUntil(length);
    return bytes;
}

} // namespace Tools
