// SPDX-License-Identifier: Apache-2.0
#include "inspect/Fetcher.h"

#include "FiberInspection/Inspection.h"
#include "inspect/Process.h"
#include "inspect/Worker.h"

#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Inspect {

using Reason = NoVerdict::Reason;

namespace {
constexpr qint64 largestImage = FiberInspection::LoadedImage::maxFileSize;
constexpr std::size_t blockSize = 262144; // bytes

Fetched copy(int image, int memory, std::vector<char> &block)
{
    qint64 total = 0;
    for (;;) {
        const ssize_t size = Process::read(image, block.data(), block.size());
        if (size < 0)
            return Fetched::ofError(errno);
        if (size == 0)
            return {};
        total += size;
        if (total > largestImage) // also of a file that says it is empty, as those of the kernel do
            return {0, Reason::ImageTooLarge, total};
        if (!Process::writeAll(memory, block.data(), static_cast<std::size_t>(size)))
            return Fetched::ofError(errno);
    }
}

Fetched fetch(const QString &path, int memory, std::vector<char> &block)
{
    if (ftruncate(memory, 0) != 0 || lseek(memory, 0, SEEK_SET) != 0)
        return Fetched::ofError(errno);

    const QByteArray name = QFile::encodeName(path);
    struct stat status
    {
    };
    if (stat(name.constData(), &status) != 0)
        return Fetched::ofError(errno);
    if (!S_ISREG(status.st_mode)) // opening a pipe or a device does something to it
        return {0, Reason::NotAFile, 0};
    if (status.st_size > largestImage)
        return {0, Reason::ImageTooLarge, status.st_size};

    const int image = open(name.constData(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    if (image < 0)
        return Fetched::ofError(errno);
    const bool isFile = fstat(image, &status) == 0 && S_ISREG(status.st_mode);
    const Fetched fetched = isFile ? copy(image, memory, block) : Fetched{0, Reason::NotAFile, 0};
    close(image);
    return fetched;
}
} // namespace

Fetched Fetched::ofError(int number)
{
    if (number == ENOENT || number == ENOTDIR)
        return {0, Reason::FileMissing, 0};
    return {0, Reason::FileUnreadable, number};
}

NoVerdict Fetched::problem() const
{
    return {reason, FiberInspection::detailOfFile(reason, number)};
}

void runFetcher(const Session &session, int requests, int answers, int memory)
{
    Process::begin("inspect-fetch", {requests, answers, memory});
    std::vector<char> block(blockSize);
    Fetched fetched;
    int atHand = -1; // image
    for (quint32 number = 0; Process::readAll(requests, &number, sizeof number);) {
        const Task &task = session.tasks[static_cast<int>(number)];
        if (task.imageNumber != atHand)
            fetched = fetch(task.image.path, memory, block);
        atHand = task.imageNumber;
        fetched.task = number;
        if (!Process::writeAll(answers, &fetched, sizeof fetched))
            break;
    }
    _exit(EXIT_SUCCESS); // what was inherited, such as the temporary folder, is the parent's to clean up
}

} // namespace Inspect
