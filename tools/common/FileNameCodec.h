// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QTextCodec>

namespace Tools {

/// Names of files are bytes, and only mostly UTF-8. This codec reads UTF-8 and turns every byte that is not part of it
/// into a lone surrogate (U+DC80 to U+DCFF), from which it comes back unchanged: any name survives the way through
/// QString, QFile and the arguments of the program, whatever the locale is.
class FileNameCodec : public QTextCodec // NOLINT(cppcoreguidelines-virtual-class-destructor): Qt destroys codecs
{
public:
    /// Makes it the codec of the locale. To be called before the application object is made.
    static void install();

    /// The byte that such a surrogate stands for; 0 for any other character.
    static uchar byteOf(QChar character);

    /// Whether the name is text, and so can be shown and sent as it is.
    static bool isText(const QString &name);

    /// The bytes of the name as in a URI: what is neither a letter, a digit nor one of "-._~/" as %HH.
    static QString percentEncoded(const QString &name);

    QByteArray name() const override;
    int mibEnum() const override;

protected:
    QString convertToUnicode(const char *bytes, int length, ConverterState *state) const override;
    QByteArray convertFromUnicode(const QChar *characters, int length, ConverterState *state) const override;

private:
    FileNameCodec() = default;
    ~FileNameCodec() override = default; // Qt owns codecs
};

} // namespace Tools
