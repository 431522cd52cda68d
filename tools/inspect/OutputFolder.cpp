// SPDX-License-Identifier: Apache-2.0
#include "inspect/OutputFolder.h"

#include "common/FilePath.h"
#include "common/Terminal.h"
#include "inspect/ImageList.h"
#include "inspect/Process.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr std::size_t blockSize = 65536; // bytes
constexpr mode_t ordinaryMode = 0666; // before the user's mask

mode_t maskOfUser()
{
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

/// A file that goes away with its owner unless it was renamed to what it is to be.
class PartFile
{
public:
    explicit PartFile(const QByteArray &target)
        : mName(target + ".XXXXXX.vantor-inspect.part")
        , mFile(mkostemps(mName.data(), static_cast<int>(std::strlen(".vantor-inspect.part")), O_CLOEXEC))
    {
    }
    ~PartFile()
    {
        if (mFile >= 0 && ::close(mFile) == 0 && !mName.isEmpty())
            unlink(mName.constData());
    }
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    bool isOpen() const { return mFile >= 0; }

    bool copyFrom(int source, qint64 most) const
    {
        char block[blockSize];
        for (qint64 total = 0;;) { // it may grow meanwhile
            const ssize_t size = Process::read(source, block, sizeof block);
            if (size <= 0)
                return size == 0;
            total += size;
            if (total > most) {
                errno = EFBIG;
                return false;
            }
            if (!Process::writeAll(mFile, block, static_cast<std::size_t>(size)))
                return false;
        }
    }

    bool becomes(const QByteArray &target)
    {
        const bool isThere = fchmod(mFile, ordinaryMode & ~maskOfUser()) == 0 && fdatasync(mFile) == 0
            && std::rename(mName.constData(), target.constData()) == 0;
        if (isThere)
            mName.clear();
        return isThere;
    }

private:
    QByteArray mName;
    int mFile;
};

bool copy(int source, const QByteArray &target, qint64 most)
{
    PartFile part(target);
    return part.isOpen() && part.copyFrom(source, most) && part.becomes(target);
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

bool OutputFolder::prepare(QString *problem) const
{
    const QFileInfo folder(mPath);
    const QString name = Tools::Terminal::printableName(mPath);
    if (folder.exists() && !folder.isDir())
        *problem = QStringLiteral("%1 is not a folder").arg(name);
    else if (!QDir().mkpath(mPath))
        *problem = QStringLiteral("cannot create the folder %1").arg(name);
    else if (!QFileInfo(mPath).isWritable() || !QFileInfo(mPath).isExecutable())
        *problem = QStringLiteral("cannot write into the folder %1").arg(name);
    return problem->isEmpty();
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
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(QFile::encodeName(mPath).constData()), closedir);
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
    const QByteArray target = QFile::encodeName(path);
    const auto refuse = [&](const QString &reason) {
        *problem = QStringLiteral("cannot write %1: %2").arg(Tools::Terminal::printableName(path), reason);
        return QString();
    };
    if (const QString reason = hindrance(target); !reason.isEmpty())
        return refuse(reason);

    const QByteArray sourceName = QFile::encodeName(file);
    const int source = open(sourceName.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    const bool isCopied = source >= 0 && copy(source, target, most);
    const int error = errno;
    if (source >= 0)
        close(source);
    unlink(sourceName.constData());
    return isCopied ? path : refuse(QString::fromLocal8Bit(std::strerror(error)));
}

QString OutputFolder::hindrance(const QByteArray &target) const
{
    struct stat status
    {
    };
    if (lstat(target.constData(), &status) != 0)
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
