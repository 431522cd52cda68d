// SPDX-License-Identifier: Apache-2.0
#include "Terminal.h"

#include <QCoreApplication>

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tools {

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
    QString result = text;
    for (QChar &character : result) {
        if (character.category() == QChar::Other_Control)
            character = QChar(QChar::ReplacementCharacter);
    }
    return result;
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
    const char *at = bytes.constData();
    const char *const end = at + bytes.size();
    while (at < end) {
        const ssize_t written = ::write(fileDescriptor, at, static_cast<std::size_t>(end - at));
        if (written < 0 && errno != EINTR)
            return;
        at += qMax<ssize_t>(written, 0);
    }
}

QString TextStyle::paint(const char *code, const QString &text) const
{
    return mHasColors ? QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text) : text;
}

} // namespace Tools
