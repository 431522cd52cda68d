// SPDX-License-Identifier: Apache-2.0
#include "Helpers/SystemHelper.h"

#include "Helpers/CommandProcess_p.h"
#include "Helpers/Packing_p.h"
#include "Helpers/PipeSignal_p.h"
#include "Helpers/RunWords_p.h"
#include "Internal/FileAccess.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>
#include <QTextStream>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr quint32 defaultTimeout = 3000; // milliseconds, as the following
constexpr int processListTimeout = 3000;
constexpr quint32 priorityTimeout = 3000;

constexpr qint64 longestNumber = 1024; // bytes of a line

constexpr int dropAllCaches = 3; // pages, directory entries and inodes
constexpr int compactNow = 1;

constexpr qint64 maximumPseudoFile = 67108864; // bytes of a file whose size is 0, as those of the kernel are
constexpr qint64 pieceSize = 65536; // bytes

std::atomic<qint64> &maximumOutputSize()
{
    static std::atomic<qint64> bytes{SystemHelper::defaultMaximumOutput};
    return bytes;
}

void tellUnwritten(const QString &filename)
{
    qWarning().noquote() << "Failed to write" << filename;
}

FileAccess::Existing existing(bool overwrite)
{
    return overwrite ? FileAccess::Existing::Overwrite : FileAccess::Existing::Append;
}

/// Removes a file below an open folder. A folder that has become a link since it was listed is not followed.
void removeBelow(int root, const QByteArray &path)
{
    const QList<QByteArray> names = path.split('/');
    int folder = root;
    for (int i = 0; i + 1 < names.size() && folder >= 0; ++i) {
        const int next = ::openat(folder, names.at(i).constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (folder != root)
            ::close(folder);
        folder = next;
    }
    if (folder < 0)
        return;
    ::unlinkat(folder, names.last().constData(), 0);
    if (folder != root)
        ::close(folder);
}

enum class Writing : int { NotOpened, Failed, Done };

/// What the log tells of it is told later: its handler may start a command, which had this signal blocked.
template <typename Write>
Writing writeFile(const QString &filename, bool overwrite, Write write)
{
    const PipeSignal pipeSignal; // until the file is closed, which writes once more
    QFile file;
    if (!FileAccess::openForWriting(filename, existing(overwrite), &file))
        return Writing::NotOpened;
    const bool isWritten = write(&file) && file.flush();
    file.close();
    return isWritten ? Writing::Done : Writing::Failed;
}

/// The log tells if the text was not written, unless nobody needs to know.
bool writeText(const QString &filename, const QString &text, bool overwrite, bool isTold)
{
    const Writing writing = writeFile(filename, overwrite, [&text](QFile *file) {
        QTextStream stream(file);
        stream << text;
        stream.flush();
        return stream.status() == QTextStream::Ok;
    });
    if (writing == Writing::Failed && isTold)
        tellUnwritten(filename);
    return writing != Writing::NotOpened;
}
} // namespace

bool SystemHelper::runCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    CommandProcess process;
    return runWords(process, QProcess::splitCommand(command), command, timeout, output, exitCode);
}

void SystemHelper::setMaximumOutput(qint64 bytes)
{
    maximumOutputSize() = qBound<qint64>(0, bytes, largestMaximumOutput);
}

qint64 SystemHelper::maximumOutput()
{
    return maximumOutputSize();
}

bool SystemHelper::runCommand(const QString &command, QByteArray *output)
{
    return runCommand(command, defaultTimeout, output, nullptr);
}

bool SystemHelper::runBashCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    return runCommand(QStringLiteral("/bin/bash -c \"%1\"").arg(command), timeout, output, exitCode);
}

bool SystemHelper::runCcmbBashCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    return runBashCommand(QStringLiteral("ssh root@192.168.9.2 ") + command, timeout, output, exitCode);
}

bool SystemHelper::isProcessRunning(const QString &appname)
{
    if (appname.startsWith(QLatin1Char('-'))) {
        qWarning() << "Not the name of a process: " << appname;
        return false;
    }
    ChildProcess process;
    process.start(QStringLiteral("pgrep"), {appname});
    process.waitForReadyRead(processListTimeout);
    const bool isRunning = !process.readAllStandardOutput().isEmpty();
    if (process.error() == QProcess::FailedToStart)
        qWarning().noquote() << "Failed to look for the process" << appname << process.errorString();
    process.killAndClose();
    return isRunning;
}

bool SystemHelper::alterProcessPriority(const QString &processName, int priority)
{
    static const QRegularExpression plainName(QStringLiteral("\\A[A-Za-z0-9._/][A-Za-z0-9._+@/-]*\\z"));
    if (!plainName.match(processName).hasMatch()) { // a shell reads it
        qWarning() << "Not the name of a process: " << processName;
        return false;
    }
    const QString command = QStringLiteral("renice -n %1 -p $(pidof %2)").arg(QString::number(priority), processName);
    return runBashCommand(command, priorityTimeout, nullptr, nullptr);
}

bool SystemHelper::readIntFromFile(const QString &filename, int &value)
{
    QFile file;
    if (!FileAccess::openRegular(filename, &file))
        return false;
    QByteArray line = file.readLine(longestNumber + 2); // one byte too many, and the null behind
    file.close();
    if (line.isEmpty())
        return false;

    if (line.endsWith('\n'))
        line.chop(1);
    const QString text = QString::fromUtf8(line);
    bool ok = false;
    const uint number = text.toUInt(&ok, 10);
    if (line.size() > longestNumber || line.contains('\0') || (ok && text.back().isSpace()))
        ok = false; // toUInt() overlooks the latter two
    value = ok ? static_cast<int>(number) : 0;
    return ok;
}

bool SystemHelper::writeIntToFile(const QString &filename, int value)
{
    return writeStringToFile(filename, QString::number(value, 10), true);
}

bool SystemHelper::writeStringToFile(const QString &filename, const QString &stringToWrite, bool overwrite)
{
    return writeText(filename, stringToWrite, overwrite, true);
}

bool SystemHelper::writeBytesToFile(const QString &filename, const QByteArray &bytesToWrite, bool overwrite)
{
    const Writing writing = writeFile(
        filename, overwrite, [&bytesToWrite](QFile *file) { return file->write(bytesToWrite) == bytesToWrite.size(); });
    if (writing == Writing::Failed)
        tellUnwritten(filename);
    return writing == Writing::Done;
}

bool SystemHelper::createDirIfNotExist(const QString &path)
{
    if (QFileInfo(path).isDir())
        return true;
    if (QDir().mkpath(path))
        return true;
    qWarning().noquote() << "Failed to create DIR: " << path << " does this name already exist as a file?";
    return false;
}

bool SystemHelper::compressFile(const QStringList &sourceFiles, const QString &targetFilePath)
{
    return packFiles(sourceFiles, targetFilePath);
}

QByteArray SystemHelper::fileChecksum(const QString &fileName)
{
    QFile file;
    if (!FileAccess::openRegular(fileName, &file))
        return {};
    file.setTextModeEnabled(false); // every byte counts
    const qint64 limit = file.size() > 0 ? maximumChecksummed : maximumPseudoFile;
    QCryptographicHash hash(QCryptographicHash::Md5);
    qint64 count = file.size() > limit ? file.size() : 0;
    for (QByteArray piece; count <= limit; count += piece.size()) { // it may grow
        piece = file.read(pieceSize);
        if (piece.isEmpty())
            return file.error() == QFileDevice::NoError ? hash.result() : QByteArray();
        hash.addData(piece);
    }
    qWarning().noquote() << "Too large for a checksum:" << fileName;
    return {};
}

void SystemHelper::compactMemory(bool dropCaches)
{
    if (dropCaches)
        writeText(QStringLiteral("/proc/sys/vm/drop_caches"), QString::number(dropAllCaches), true, false);
    writeText(QStringLiteral("/proc/sys/vm/compact_memory"), QString::number(compactNow), true, false);
}

qint64 SystemHelper::getFreeDiskSpace(const QString &path)
{
    const QStorageInfo storage(path);
    if (!storage.isValid() || !storage.isReady())
        return -1;
    const qint64 bytes = storage.bytesAvailable();
    qDebug().noquote() << "Bytes available on " << path << " = " << bytes;
    return bytes;
}

void SystemHelper::removeFilesFromDir(const QString &dirPath, const QString &extension)
{
    if (dirPath.isEmpty()) // would be the working directory
        return;
    const FileAccess::Place place(dirPath + QLatin1Char('/'));
    if (place.isPlanted())
        qWarning().noquote() << "Another user has put a link on the way to" << dirPath;
    if (place.folder() < 0)
        return;
    const QString held = QStringLiteral("/proc/self/fd/%1").arg(place.folder());
    const QString shown = QDir(dirPath).absolutePath();
    QDirIterator entry(held, QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString below = entry.next().mid(held.size());
        if ((shown + below).endsWith(extension, Qt::CaseSensitive))
            removeBelow(place.folder(), QFile::encodeName(below.mid(1)));
    }
}
