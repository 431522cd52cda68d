// SPDX-License-Identifier: Apache-2.0
#include "inspect/OutputFolder.h"

#include "Internal/WholeFile.h"
#include "common/FilePath.h"
#include "common/Terminal.h"
#include "inspect/ImageList.h"
#include "inspect/Process.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr int blockSize = 65536; // bytes

bool isRegular(int file)
{
    struct stat status
    {
    };
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

QString textOf(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// @return why not; empty when all is copied
QString copy(int source, WholeFile *target, qint64 most)
{
    QByteArray block(blockSize, Qt::Uninitialized);
    for (qint64 total = 0;;) { // it may grow meanwhile
        const ssize_t size = Process::read(source, block.data(), static_cast<std::size_t>(blockSize));
        if (size <= 0)
            return size == 0 ? QString() : textOf(errno);
        total += size;
        if (total > most)
            return textOf(EFBIG);
        if (!target->write(QByteArray::fromRawData(block.constData(), static_cast<int>(size))))
            return target->reason();
    }
}

QString copyInto(const QString &path, int source, qint64 most)
{
    WholeFile target(path);
    if (!target.open() || !target.respectFormer())
        return target.reason();
    const QString problem = copy(source, &target, most);
    if (!problem.isEmpty())
        return problem;
    return target.commit() && target.error() == 0 ? QString() : target.reason();
}

/// @return why not; empty when it is there, and stays there
QString put(const QByteArray &file, const QString &target, qint64 most)
{
    const int source = open(file.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (source < 0)
        return textOf(errno);
    const QString problem =
        isRegular(source) ? copyInto(target, source, most) : QStringLiteral("what was painted is not a file");
    close(source);
    return problem;
}

/// The output names whose result or step the file may be.
QStringList outputNamesOf(const QString &file)
{
    QStringList names;
    const QString suffix = OutputFolder::resultSuffix();
    if (file.endsWith(suffix, Qt::CaseInsensitive))
        names.append(file.chopped(suffix.size()));
    const auto isDigit = [&file](int i) { return file.at(i) >= QLatin1Char('0') && file.at(i) <= QLatin1Char('9'); };
    const QLatin1Char bar('_');
    for (int i = file.indexOf(bar); i >= 0 && i + 3 < file.size(); i = file.indexOf(bar, i + 1)) {
        if (isDigit(i + 1) && isDigit(i + 2) && file.at(i + 3) == bar)
            names.append(file.left(i));
    }
    return names;
}
} // namespace

OutputFolder::OutputFolder(const QString &path)
    : mPath(path)
{
}

bool OutputFolder::prepare(QString *problem)
{
    const QString name = Tools::Terminal::printableName(mPath);
    mPlace = std::make_unique<FileAccess::Place>(mPath, FileAccess::Place::Missing::MakeFolders);
    if (mPlace->isPlanted())
        *problem = QStringLiteral("cannot write into the folder %1: %2").arg(name, mPlace->whyNoFile());
    else if (mPlace->error() == ENOTDIR)
        *problem = QStringLiteral("%1 is not a folder").arg(name);
    else if (mPlace->error() != 0)
        *problem = QStringLiteral("cannot create the folder %1").arg(name);
    else if (faccessat(mPlace->folder(), ".", W_OK | X_OK, AT_EACCESS) != 0)
        *problem = QStringLiteral("cannot write into the folder %1").arg(name);
    return problem->isEmpty();
}

/// Behind all links, whatever becomes of the path.
QString OutputFolder::held(const QString &name) const
{
    return QStringLiteral("/proc/self/fd/%1/").arg(mPlace->folder()) + name;
}

void OutputFolder::spare(const QVector<InputImage> &images)
{
    if (!keepsImages())
        return;
    for (const InputImage &image : images) {
        struct stat status
        {
        };
        if (stat(QFile::encodeName(image.path).constData(), &status) == 0)
            mSpared.insert(FileId::of(status));
    }
}

QSet<QString> OutputFolder::namesInUse() const
{
    QSet<QString> names;
    if (!keepsImages())
        return names;
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(QFile::encodeName(held({})).constData()), closedir);
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        struct stat status
        {
        };
        const QStringList found = outputNamesOf(QFile::decodeName(entry->d_name));
        if (found.isEmpty() || fstatat(dirfd(folder.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0
            || !mSpared.contains(FileId::of(status)))
            continue;
        for (const QString &name : found)
            names.insert(name.toCaseFolded());
    }
    return names;
}

QString OutputFolder::take(const QString &file, const QString &name, qint64 most, QString *problem) const
{
    const QString path = Tools::FilePath::in(mPath, name);
    const QString target = held(name);
    const auto refuse = [&](const QString &reason) {
        *problem = QStringLiteral("cannot write %1: %2").arg(Tools::Terminal::printableName(path), reason);
        return QString();
    };
    if (const QString reason = hindrance(target); !reason.isEmpty())
        return refuse(reason);

    const QByteArray source = QFile::encodeName(file);
    const QString problemOfCopy = put(source, target, most);
    unlink(source.constData());
    if (!problemOfCopy.isEmpty())
        return refuse(problemOfCopy);
    return isWhereThePathLeads() ? path
                                 : refuse(QStringLiteral("its folder was moved, removed or unmounted meanwhile"));
}

/// A stick may be gone while its folder is still held: what is written there nobody finds.
bool OutputFolder::isWhereThePathLeads() const
{
    struct stat held = {};
    struct stat found = {};
    return fstat(mPlace->folder(), &held) == 0 && stat(QFile::encodeName(mPath).constData(), &found) == 0
        && FileId::of(held) == FileId::of(found);
}

QString OutputFolder::hindrance(const QString &target) const
{
    struct stat status
    {
    };
    if (lstat(QFile::encodeName(target).constData(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode)) // a link would be replaced without a word, and be lost to whoever set it
        return QStringLiteral("what is there is not a file");
    return mSpared.contains(FileId::of(status)) ? QStringLiteral("what is there is a photograph of this run")
                                                : QString();
}

QString OutputFolder::resultSuffix()
{
    return QStringLiteral("_result.jpg");
}

} // namespace Inspect
