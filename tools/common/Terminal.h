// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Tools {

namespace Terminal {

/// Makes sure that the three standard streams are open, so that no other file takes their place.
void reserveStandardStreams();

bool isTerminal(int fileDescriptor);

/// A terminal that understands colours, of a user who wants them.
bool hasColors(int fileDescriptor);

int width(int fileDescriptor); ///< columns; 80 where that is unknown

/// Text from outside without what would control the terminal or reorder what is read: its bytes stand there as \xHH.
QString printable(const QString &text);

/// The name of a file likewise. Its backslashes are doubled, so that the name can be told from what is printed.
QString printableName(const QString &name);

/// One message of the program as a line for stderr; begins with the application's name.
QString message(const QString &text);

/// Writes one message to stderr.
void tell(const QString &text);

/// What cannot be written is lost; so is what nobody has read when a signal asks the program to stop.
void write(int fileDescriptor, const QByteArray &bytes);

} // namespace Terminal

/// Colours for one stream; plain text where there are none.
class TextStyle
{
public:
    explicit TextStyle(bool hasColors)
        : mHasColors(hasColors)
    {
    }

    QString bold(const QString &text) const { return paint("1", text); }
    QString dim(const QString &text) const { return paint("2", text); }
    QString good(const QString &text) const { return paint("32", text); }
    QString bad(const QString &text) const { return paint("1;31", text); }

private:
    QString paint(const char *code, const QString &text) const;

    bool mHasColors;
};

} // namespace Tools
