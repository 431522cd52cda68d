// SPDX-License-Identifier: Apache-2.0
#include "Worker.h"

#include "FiberInspection/AnalyserPrivate.h"
#include "WorkDir.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr mode_t ownerOnly = 0600;

QString workPath(const Session &session, const QString &name)
{
    return session.temporaryFolder + QLatin1Char('/') + name;
}

QString lastWordsPath(const Session &session, const QString &name)
{
    return workPath(session, name) + QStringLiteral("/stderr");
}

bool redirect(int stream, const char *path, int flags)
{
    const int file = open(path, flags | O_CLOEXEC, ownerOnly);
    const bool redirected = file >= 0 && dup2(file, stream) >= 0;
    if (file >= 0)
        close(file);
    return redirected;
}

/// Nothing that a codec prints may get between the reports, and nothing of the parent's may be kept open.
void redirectStreams(const Session &session, const QString &name)
{
    redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
    redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
    if (session.options.verbose)
        return;
    const QByteArray lastWords = QFile::encodeName(lastWordsPath(session, name));
    if (!redirect(STDERR_FILENO, lastWords.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND))
        redirect(STDERR_FILENO, "/dev/null", O_WRONLY);
}

bool receive(int socket, void *data, std::size_t size)
{
    ssize_t received = -1;
    do {
        received = recv(socket, data, size, MSG_WAITALL);
    } while (received < 0 && errno == EINTR);
    return received == static_cast<ssize_t>(size);
}

bool send(int socket, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(socket, data, size, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return false;
        data += qMax<ssize_t>(sent, 0);
        size -= static_cast<std::size_t>(qMax<ssize_t>(sent, 0));
    }
    return true;
}

bool send(int socket, const Report &report)
{
    const ReportHeader header{static_cast<quint32>(report.output.size()), static_cast<quint32>(report.messages.size()),
        static_cast<quint32>(report.verdict)};
    QByteArray bytes(reinterpret_cast<const char *>(&header), sizeof header);
    bytes += report.output;
    bytes += report.messages;
    return send(socket, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// Keeps the memory of one image for the next one: giving it back and asking again costs a fifth of an analysis.
void keepFreedMemory()
{
    constexpr int largestKeptBlock = 16 * 1024 * 1024; // bytes
    constexpr int mostKeptMemory = 64 * 1024 * 1024; // bytes
    mallopt(M_MMAP_THRESHOLD, largestKeptBlock);
    mallopt(M_TRIM_THRESHOLD, mostKeptMemory);
}

void work(const Session &session, const QString &name, int socket)
{
    const Tools::WorkDir workDir(workPath(session, name));
    redirectStreams(session, name);
    cv::setNumThreads(1); // the images are what runs in parallel
    keepFreedMemory();

    for (quint32 number = 0; receive(socket, &number, sizeof number);) {
        if (!session.options.verbose)
            static_cast<void>(ftruncate(STDERR_FILENO, 0));
        const Task &task = session.tasks[static_cast<int>(number)];
        const Inspection inspection = inspect(task, session.options, workDir, session.output);
        if (!send(socket, makeReport(inspection, session.options, session.style)))
            return;
    }
}
} // namespace

void runWorker(const Session &session, const QString &name, int socket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        work(session, name, socket);
    } catch (const std::exception &exception) {
        Tools::Terminal::tell(QString::fromUtf8(exception.what()));
        _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS); // what was inherited, such as the temporary folder, is the parent's to clean up
}

QByteArray lastWordsOfWorker(const Session &session, const QString &name)
{
    constexpr qint64 most = 16384; // bytes
    QFile file(lastWordsPath(session, name));
    return file.open(QIODevice::ReadOnly) ? file.read(most) : QByteArray();
}

} // namespace Inspect
