// SPDX-License-Identifier: Apache-2.0
#include "common/Terminal.h"

#include "common/FileNameCodec.h"
#include "common/StopSignals.h"

#include <QCoreApplication>

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <initializer_list>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tools {

namespace {
/// What would move the cursor, hide or reorder text, or is none. The joiners are left: emoji and scripts need them.
bool isHarmful(QChar character)
{
    constexpr ushort zeroWidthNonJoiner = 0x200C;
    constexpr ushort zeroWidthJoiner = 0x200D;
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return character != QChar(zeroWidthNonJoiner) && character != QChar(zeroWidthJoiner);
    default:
        return false;
    }
}

QString asBytes(QChar character)
{
    const uchar byte = FileNameCodec::byteOf(character);
    const QByteArray bytes = byte != 0 ? QByteArray(1, static_cast<char>(byte)) : QString(character).toUtf8();
    QString text;
    for (const char each : bytes)
        text += QStringLiteral("\\x%1").arg(static_cast<uchar>(each), 2, 16, QLatin1Char('0'));
    return text;
}
} // namespace

void Terminal::reserveStandardStreams()
{
    // Read-only, so that a report into a closed stdout is noticed as an error.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1 && errno == EBADF)
            static_cast<void>(open("/dev/null", O_RDONLY)); // the lowest free number, which is this one
    }
}

bool Terminal::isTerminal(int fileDescriptor)
{
    return isatty(fileDescriptor) == 1;
}

bool Terminal::hasColors(int fileDescriptor)
{
    return isTerminal(fileDescriptor) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

int Terminal::width(int fileDescriptor)
{
    constexpr int usual = 80;
    winsize size{};
    return ioctl(fileDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

QString Terminal::printable(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const bool isPair = character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            result += text.at(i++);
        if (isPair || !isHarmful(character))
            result += text.at(i);
        else
            result += asBytes(character);
    }
    return result;
}

QString Terminal::printableName(const QString &name)
{
    QString doubled = name;
    return printable(doubled.replace(QLatin1Char('\\'), QLatin1String("\\\\")));
}

QString Terminal::message(const QString &text)
{
    return QStringLiteral("%1: %2\n").arg(QCoreApplication::applicationName(), printable(text));
}

void Terminal::tell(const QString &text)
{
    write(STDERR_FILENO, message(text).toUtf8());
}

void Terminal::write(int fileDescriptor, const QByteArray &bytes)
{
    for (int at = 0; at < bytes.size() && StopSignals::waitUntilWritable(fileDescriptor);) {
        // A pipe that is ready takes so much without blocking.
        const int length = qMin(bytes.size() - at, PIPE_BUF);
        const ssize_t written = ::write(fileDescriptor, bytes.constData() + at, static_cast<std::size_t>(length));
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            return;
        at += static_cast<int>(qMax<ssize_t>(written, 0));
    }
}

QString TextStyle::paint(const char *code, const QString &text) const
{
    return mHasColors ? QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text) : text;
}

} // namespace Tools
