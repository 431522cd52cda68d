// SPDX-License-Identifier: Apache-2.0
#include "Helpers/SystemHelper.h"

#include "Helpers/FileAccess_p.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStorageInfo>
#include <QTextStream>

#include <climits>
#include <csignal>
#include <unistd.h>

namespace {
constexpr int startTimeout = 500; // milliseconds, as the following
constexpr quint32 defaultTimeout = 3000;
constexpr int processListTimeout = 3000;
constexpr quint32 priorityTimeout = 3000;
constexpr quint32 packingTimeout = 300000;

constexpr qint64 longestNumber = 1024; // bytes of a line
constexpr int dropAllCaches = 3; // pages, directory entries and inodes
constexpr int compactNow = 1;

/// A command in a process group of its own: what it starts can be ended with it.
class CommandProcess : public QProcess
{
public:
    void killGroup() const
    {
        const qint64 pid = processId();
        if (pid > 0)
            ::kill(static_cast<pid_t>(-pid), SIGKILL);
    }

protected:
    void setupChildProcess() override { setpgid(0, 0); }
};

void startCommand(QProcess *process, const QString &command)
{
    QStringList words = QProcess::splitCommand(command);
    const QString program = words.isEmpty() ? QString() : words.takeFirst();
    process->start(program, words);
}

void storeExitCode(int *exitCode, int value)
{
    if (exitCode)
        *exitCode = value;
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
} // namespace

bool SystemHelper::runCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode)
{
    CommandProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    startCommand(&process, command);
    if (!process.waitForStarted(startTimeout)) {
        qDebug().noquote() << "Failed to start command: " << command;
        process.killGroup();
        process.kill(); // it may have no group yet; closing alone would first wait for it to start
        process.close();
        storeExitCode(exitCode, notStarted);
        return false;
    }

    if (!process.waitForFinished(static_cast<int>(qMin<quint32>(timeout, INT_MAX)))) {
        qWarning() << "Command didn't finish: " << command;
        process.killGroup();
        process.close();
        storeExitCode(exitCode, timedOut);
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
    QFile file;
    if (!FileAccess::openForWriting(filename, existing(overwrite), &file))
        return false;
    QTextStream(&file) << stringToWrite;
    file.close();
    return true;
}

bool SystemHelper::writeBytesToFile(const QString &filename, const QByteArray &bytesToWrite, bool overwrite)
{
    QFile file;
    if (!FileAccess::openForWriting(filename, existing(overwrite), &file))
        return false;
    const bool isWritten = file.write(bytesToWrite) == bytesToWrite.size() && file.flush();
    file.close();
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
    if (!hasOurOptionsOnly(QProcess::splitCommand(command), sourceFiles.size())) {
        qWarning().noquote() << "tar would take a name for an option: " << command;
        return false;
    }
    return runCommand(command, packingTimeout, nullptr, nullptr);
}

QByteArray SystemHelper::fileChecksum(const QString &fileName)
{
    QFile file;
    if (!FileAccess::openRegular(fileName, &file))
        return {};
    file.setTextModeEnabled(false); // every byte counts
    QCryptographicHash hash(QCryptographicHash::Md5);
    return hash.addData(&file) ? hash.result() : QByteArray();
}

void SystemHelper::compactMemory(bool dropCaches)
{
    if (dropCaches)
        writeIntToFile(QStringLiteral("/proc/sys/vm/drop_caches"), dropAllCaches);
    writeIntToFile(QStringLiteral("/proc/sys/vm/compact_memory"), compactNow);
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
    QDir dir(dirPath);
    QDirIterator entry(dir.absolutePath(), QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString path = entry.next();
        if (path.endsWith(extension, Qt::CaseSensitive))
            dir.remove(path);
    }
}
