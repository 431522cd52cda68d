// SPDX-License-Identifier: Apache-2.0
#include "Helpers/SystemHelper.h"

#include "Helpers/CommandProcess_p.h"
#include "Helpers/FileAccess_p.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStorageInfo>
#include <QTextStream>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int startTimeout = 500; // milliseconds, as the following
constexpr int endTimeout = 1000;
constexpr quint32 defaultTimeout = 3000;
constexpr int processListTimeout = 3000;
constexpr quint32 priorityTimeout = 3000;
constexpr quint32 packingTimeout = 300000;

constexpr qint64 longestNumber = 1024; // bytes of a line
constexpr int archiveWord = 2; // of the command line: tar -zcf ARCHIVE
constexpr mode_t permissionBits = 0777;
constexpr mode_t otherThanGroupBits = 0707;
constexpr mode_t plainFileBits = 0666; // less what the umask takes

constexpr int dropAllCaches = 3; // pages, directory entries and inodes
constexpr int compactNow = 1;

constexpr qint64 maximumPseudoFile = 67108864; // bytes of a file whose size is 0, as those of the kernel are
constexpr qint64 pieceSize = 65536; // bytes

std::atomic<qint64> &maximumOutputSize()
{
    static std::atomic<qint64> bytes{SystemHelper::defaultMaximumOutput};
    return bytes;
}

void storeExitCode(int *exitCode, int value)
{
    if (exitCode)
        *exitCode = value;
}

/// Waits until the command has ended, its time is up, or it has printed more than the limit. Returns whether it has
/// ended.
bool waitForEnd(CommandProcess &process, quint32 timeout, qint64 limit)
{
    const QDeadlineTimer deadline(timeout);
    const auto rest = [&deadline] { return static_cast<int>(qMin<qint64>(deadline.remainingTime(), INT_MAX)); };
    while (process.bytesAvailable() <= limit && process.waitForReadyRead(rest()) && !deadline.hasExpired()) {}
    if (process.bytesAvailable() > limit)
        return false;
    return process.state() == QProcess::NotRunning || process.waitForFinished(rest()); // may have closed its output
}

void killAndClose(CommandProcess &process)
{
    process.killAll();
    process.waitForFinished(endTimeout);
    process.close();
}

bool run(CommandProcess &process, const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    const qint64 limit = SystemHelper::maximumOutput();
    process.startCommand(command);
    if (!process.waitForCommand(startTimeout)) {
        qDebug().noquote() << "Failed to start command: " << command;
        process.killUnstarted();
        storeExitCode(exitCode, SystemHelper::notStarted);
        return false;
    }

    const bool isFinished = waitForEnd(process, timeout, limit);
    if (process.bytesAvailable() > limit) {
        qWarning().noquote() << "Command printed more than" << limit << "bytes: " << command;
        if (output)
            *output = process.read(limit);
        killAndClose(process);
        storeExitCode(exitCode, SIGKILL);
        return false;
    }
    if (!isFinished) {
        qWarning() << "Command didn't finish: " << command;
        killAndClose(process);
        storeExitCode(exitCode, SystemHelper::timedOut);
        return false;
    }

    if (output)
        *output = process.readAll();
    storeExitCode(exitCode, process.exitCode());
    const bool isSuccess = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!isSuccess) {
        qWarning().noquote() << command;
        qWarning() << (output ? *output : process.readAll());
    }
    process.close();
    return isSuccess;
}

void tellUnwritten(const QString &filename)
{
    qWarning().noquote() << "Failed to write" << filename;
}

FileAccess::Existing existing(bool overwrite)
{
    return overwrite ? FileAccess::Existing::Overwrite : FileAccess::Existing::Append;
}

bool isOption(const QString &word)
{
    return word.startsWith(QLatin1Char('-'));
}

/// Whether -zcf and one -C for every file are the only options, each with a value that is none.
bool hasOurOptionsOnly(const QStringList &tarWords, int fileCount)
{
    int folders = 0;
    for (int i = 1; i < tarWords.size(); ++i) {
        if (!isOption(tarWords.at(i)))
            continue;
        const bool isFirst = i == 1;
        if (tarWords.at(i) != QLatin1String(isFirst ? "-zcf" : "-C"))
            return false;
        if (i + 1 == tarWords.size() || isOption(tarWords.at(i + 1)))
            return false;
        folders += isFirst ? 0 : 1;
    }
    return folders == fileCount;
}

/// To Qt, a name with a colon in front is one of its resources.
QString asFile(const QString &name)
{
    return name.startsWith(QLatin1Char(':')) ? QStringLiteral("./") + name : name;
}

/// Where tar will write: behind a link, what it leads to.
QString targetOf(const QString &path)
{
    const QFileInfo info(asFile(path));
    if (!info.isSymLink())
        return info.filePath();
    return info.exists() ? info.canonicalFilePath() : info.symLinkTarget();
}

/// The archive that had the name before: set aside while tar writes, and put back if that fails.
class FormerArchive
{
public:
    explicit FormerArchive(const QString &path)
        : mPath(QFile::encodeName(targetOf(path)))
    {
        struct stat status = {};
        const bool isThere = lstat(mPath.constData(), &status) == 0;
        mIsFile = !isThere || S_ISREG(status.st_mode);
        mIsSafe = !isThere || !mIsFile || setAside(status);
    }

    bool isSafe() const { return mIsSafe; } ///< aside, or where nobody can set it: tar writes in place then

    QString name() const { return nameOf(mPath); }
    QString nameAside() const { return nameOf(mAside); } ///< its own meanwhile; empty if there was none

    /// Creates the file for the new one, unless there is something.
    void beginNewOne() const
    {
        const int file = ::open(mPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, plainFileBits);
        if (file >= 0)
            ::close(file);
    }

    void discard() const
    {
        if (!mAside.isEmpty())
            ::unlink(mAside.constData());
    }

    void putBack() const
    {
        if (mIsFile && !mIsInPlace)
            ::unlink(mPath.constData());
        if (!mAside.isEmpty() && ::rename(mAside.constData(), mPath.constData()) != 0)
            qWarning().noquote() << "The former archive is now" << QFile::decodeName(mAside);
    }

private:
    static QString nameOf(const QByteArray &path) { return QFile::decodeName(path.mid(path.lastIndexOf('/') + 1)); }

    bool setAside(const struct stat &status)
    {
        QByteArray aside = mPath.left(mPath.lastIndexOf('/') + 1) + ".archive.XXXXXX";
        const int name = mkostemp(aside.data(), O_CLOEXEC);
        if (name < 0)
            return staysInPlace(errno);
        ::close(name);
        if (::rename(mPath.constData(), aside.constData()) != 0) {
            const int error = errno;
            ::unlink(aside.constData());
            return staysInPlace(error);
        }
        mAside = aside;
        if (FileAccess::isPlanted(QFile::decodeName(aside))) { // since it was looked at
            putBack();
            return false;
        }
        beginLike(status);
        return true;
    }

    /// The folder may be closed to us where the archive is not.
    bool staysInPlace(int error)
    {
        mIsInPlace = error == EACCES || error == EPERM || error == EROFS;
        return mIsInPlace;
    }

    /// The new one shall be readable for all who could read the former one, and for nobody else.
    void beginLike(const struct stat &status) const
    {
        const int file =
            ::open(mPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file < 0)
            return;
        const bool hasOwner = fchown(file, status.st_uid, status.st_gid) == 0;
        const bool hasGroup = hasOwner || fchown(file, static_cast<uid_t>(-1), status.st_gid) == 0;
        fchmod(file, status.st_mode & (hasGroup ? permissionBits : otherThanGroupBits));
        ::close(file);
    }

    const QByteArray mPath;
    QByteArray mAside;
    bool mIsFile = false;
    bool mIsInPlace = false;
    bool mIsSafe = false;
};

struct PackedName
{
    QString word; ///< of the command line
    QString path;
};

/// What tar packs, each below the folder before it.
QVector<PackedName> packedNames(const QStringList &tarWords)
{
    QVector<PackedName> names;
    QDir from = QDir::current();
    for (int i = archiveWord + 1; i < tarWords.size(); ++i) {
        if (tarWords.at(i) == QLatin1String("-C"))
            from.setPath(from.absoluteFilePath(asFile(tarWords.value(++i))));
        else
            names.append({tarWords.at(i), from.absoluteFilePath(asFile(tarWords.at(i)))});
    }
    return names;
}

/// Whether one of the files that are packed is the one that would be replaced, by whatever name.
bool isPackedItself(const QVector<PackedName> &names, const QString &archive)
{
    struct stat target = {};
    if (stat(QFile::encodeName(archive).constData(), &target) != 0)
        return false;
    return std::any_of(names.begin(), names.end(), [&target](const PackedName &name) {
        struct stat status = {};
        return stat(QFile::encodeName(name.path).constData(), &status) == 0 && status.st_dev == target.st_dev
            && status.st_ino == target.st_ino;
    });
}

/// Why the archive does not take the place of what has its name; empty if it may.
QString objection(const QVector<PackedName> &names, const QString &archive)
{
    if (isPackedItself(names, archive))
        return QStringLiteral("The archive would replace a file that it packs: ");
    // Its owner, or what a link leads to, is the choice of whoever put it there.
    if (FileAccess::isPlanted(asFile(archive)) || FileAccess::isPlanted(targetOf(archive)))
        return QStringLiteral("What has the name of the archive is another user's: ");
    return {};
}

/// The names that tar gives to files of the archive's folder, as far as it comes by them: below each of the folders
/// that it packs, up to the slash before the name.
QStringList placesOfArchive(const QVector<PackedName> &names, const QString &archive)
{
    const QString folder = QFileInfo(targetOf(archive)).absoluteDir().canonicalPath() + QLatin1Char('/');
    QStringList places;
    for (const PackedName &name : names) {
        const QFileInfo packed(name.path);
        const QString root = packed.canonicalFilePath() + QLatin1Char('/');
        if (!packed.isSymLink() && packed.isDir() && folder.startsWith(root))
            places << name.word + QLatin1Char('/') + folder.mid(root.size());
    }
    return places;
}

/// As a word of TAR_OPTIONS.
QString quoted(const QString &text)
{
    QString result;
    for (const QChar letter : text) {
        if (letter.unicode() < 0x80 && !letter.isLetterOrNumber())
            result += QLatin1Char('\\');
        result += letter;
    }
    return result;
}

/// To tar a name is neither a host, whatever colons it has, nor an escape of another one, whatever backslashes; and
/// these are left out. The command line is the one that is logged.
QProcessEnvironment environmentOfTar(const QStringList &excluded)
{
    const QString name = QStringLiteral("TAR_OPTIONS");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QString options = environment.value(name) + QStringLiteral(" --force-local --no-unquote");
    for (const QString &member : excluded)
        options += QStringLiteral(" --anchored --no-wildcards --exclude=") + quoted(member);
    environment.insert(name, options.trimmed());
    return environment;
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

/// The log tells if the text was not written, unless nobody needs to know.
bool writeText(const QString &filename, const QString &text, bool overwrite, bool isTold)
{
    QFile file;
    if (!FileAccess::openForWriting(filename, existing(overwrite), &file))
        return false;
    QTextStream stream(&file);
    stream << text;
    stream.flush();
    const bool isWritten = stream.status() == QTextStream::Ok && file.flush();
    if (!isWritten && isTold)
        tellUnwritten(filename);
    file.close();
    return true;
}
} // namespace

bool SystemHelper::runCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    CommandProcess process;
    return run(process, command, timeout, output, exitCode);
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
    if (isOption(appname)) {
        qWarning() << "Not the name of a process: " << appname;
        return false;
    }
    const ChildSignal children;
    QProcess process;
    process.start(QStringLiteral("pgrep"), {appname});
    process.waitForReadyRead(processListTimeout);
    const bool isRunning = !process.readAllStandardOutput().isEmpty();
    process.kill(); // closing alone would first wait for it to start
    process.close();
    return isRunning;
}

bool SystemHelper::alterProcessPriority(const QString &processName, int priority)
{
    static const QRegularExpression plainName(QStringLiteral("\\A[A-Za-z0-9._][A-Za-z0-9._-]*\\z"));
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
    QFile file;
    if (!FileAccess::openForWriting(filename, existing(overwrite), &file))
        return false;
    const bool isWritten = file.write(bytesToWrite) == bytesToWrite.size() && file.flush();
    file.close();
    if (!isWritten)
        tellUnwritten(filename);
    return isWritten;
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
    QString command = QStringLiteral("tar -zcf %1").arg(targetFilePath);
    for (const QString &sourceFile : sourceFiles) {
        const QFileInfo file(sourceFile);
        command += QStringLiteral(" -C %1 %2").arg(file.path(), file.fileName());
    }
    qDebug().noquote() << "command: " << command;

    // Blanks and quotes in a path make other words of it, a quote even across two paths.
    const QStringList words = QProcess::splitCommand(command);
    if (!hasOurOptionsOnly(words, sourceFiles.size())) {
        qWarning().noquote() << "tar would take a name for an option: " << command;
        return false;
    }
    const QVector<PackedName> names = packedNames(words);
    const QString objected = objection(names, words.at(archiveWord));
    if (!objected.isEmpty()) {
        qWarning().noquote() << objected << targetFilePath;
        return false;
    }
    const QStringList places = placesOfArchive(names, words.at(archiveWord));
    const FormerArchive former(words.at(archiveWord));
    if (!former.isSafe()) {
        qWarning().noquote() << "Failed to set the former archive aside: " << targetFilePath;
        return false;
    }
    if (!places.isEmpty())
        former.beginNewOne(); // a folder that changes while it is packed is a failure to tar
    QStringList excluded;
    for (const QString &place : places)
        excluded << place + former.name() << place + former.nameAside();
    CommandProcess process;
    process.setProcessEnvironment(environmentOfTar(excluded));
    const bool isPacked = run(process, command, packingTimeout, nullptr, nullptr);
    if (isPacked)
        former.discard();
    else
        former.putBack();
    return isPacked;
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
    const QDir dir(dirPath);
    const int root = ::open(QFile::encodeName(dir.absolutePath()).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (root < 0)
        return;
    QDirIterator entry(dir.absolutePath(), QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString path = entry.next();
        if (path.endsWith(extension, Qt::CaseSensitive))
            removeBelow(root, QFile::encodeName(dir.relativeFilePath(path)));
    }
    ::close(root);
}
