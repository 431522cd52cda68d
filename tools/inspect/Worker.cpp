// SPDX-License-Identifier: Apache-2.0
#include "inspect/Worker.h"

#include "common/KeptMemory.h"
#include "inspect/Fetcher.h"
#include "inspect/Inspection.h"
#include "inspect/InspectionMessage.h"
#include "inspect/Pictures.h"
#include "inspect/Process.h"

#include <QFile>
#include <QLoggingCategory>

#include <opencv2/core.hpp>

#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr qint64 smallImage = 1024LL * 1024; // bytes of the file
constexpr quint64 memoryForSmallImage = 400ULL * 1024 * 1024; // bytes

QString lastWordsPath(const QString &folder)
{
    return folder + QStringLiteral("/stderr");
}

/// Nothing that a codec prints may get between the reports, or to the terminal as it is.
void redirectMessages(const QString &folder)
{
    const QByteArray lastWords = QFile::encodeName(lastWordsPath(folder));
    if (!Process::redirect(STDERR_FILENO, lastWords.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND))
        Process::redirect(STDERR_FILENO, "/dev/null", O_WRONLY);
}

quint64 timesTheUsualPixels(const Options &options)
{
    return static_cast<quint64>(options.timesTheUsualPixels());
}

Sandbox::Budget budgetFor(int image, const Options &options)
{
    struct stat status
    {
    };
    const bool isSmall = fstat(image, &status) == 0 && status.st_size <= smallImage;
    return {
        (isSmall ? memoryForSmallImage : Sandbox::mostMemory) * timesTheUsualPixels(options), options.timePerTask()};
}

void work(const Session &session, const QString &folder, int fetched, int inspections, int image)
{
    const Pictures pictures(folder);
    const bool isReady = pictures.prepare();
    redirectMessages(folder);
    cv::setNumThreads(1); // the images are what runs in parallel
    Tools::keepFreedMemory();
    if (session.options.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("vantor.inspection=true"));

    const char *problem = isReady ? nullptr : "the folder of the worker";
    Sandbox sandbox;
    if (!problem)
        problem = sandbox.enter({QFile::encodeName(folder), pictures.foldersToWrite(session.options)},
            {Sandbox::mostMemory * timesTheUsualPixels(session.options), session.options.timePerWorker()});
    if (problem) {
        Tools::Terminal::tell(QStringLiteral("the analysis cannot be shut in: %1").arg(QLatin1String(problem)));
        return;
    }

    int atHand = -1; // image
    Photograph photograph;
    const QString imagePath = QStringLiteral("/proc/self/fd/%1").arg(image);
    for (Fetched fetch; Process::readAll(fetched, &fetch, sizeof fetch);) {
        [[maybe_unused]] const int forgotten = ftruncate(STDERR_FILENO, 0); // /dev/null refuses
        sandbox.setBudget(budgetFor(image, session.options));
        const Task &task = session.tasks[static_cast<int>(fetch.task)];
        const bool isThere = fetch.reason == NoVerdict::Reason::None;
        if (isThere && task.imageNumber != atHand) {
            photograph = {}; // for two there may be no memory
            photograph = Photograph::load(imagePath, session.options);
        }
        atHand = task.imageNumber;
        const Inspection inspection =
            isThere ? inspect(task, photograph, session.options, pictures) : notAnalysed(task, fetch.problem());
        const QByteArray message = InspectionMessage::toBytes(inspection);
        if (!Process::writeAll(inspections, message.constData(), static_cast<std::size_t>(message.size())))
            return;
    }
}
} // namespace

void runWorker(const Session &session, const QString &folder, int fetched, int inspections, int image)
{
    Process::begin("inspect-worker", {fetched, inspections, image});
    try {
        work(session, folder, fetched, inspections, image);
    } catch (const std::exception &exception) {
        Tools::Terminal::tell(QString::fromUtf8(exception.what()));
    }
    _exit(EXIT_FAILURE); // what was inherited, such as the temporary folder, is the parent's to clean up
}

QByteArray lastWordsOfWorker(const QString &folder)
{
    constexpr qint64 most = 256LL * 1024; // bytes
    const int words = open(QFile::encodeName(lastWordsPath(folder)).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    QFile file;
    if (words < 0 || !file.open(words, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    QByteArray printable;
    const QList<QByteArray> lines = file.read(most).split('\n');
    for (const QByteArray &line : lines) {
        if (!line.isEmpty())
            printable += Tools::Terminal::printable(QString::fromLocal8Bit(line)).toUtf8() + '\n';
    }
    return printable;
}

} // namespace Inspect
