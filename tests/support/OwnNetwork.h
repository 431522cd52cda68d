// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <unistd.h>

/// A network that this process and its children have for themselves: a loopback interface, and nothing from outside.
namespace OwnNetwork {

/// Whether the command succeeded; if not, *problem is what it said.
inline bool run(const QString &program, const QStringList &arguments, QString *problem)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return true;
    *problem = program + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')) + QStringLiteral(": ")
        + (process.error() == QProcess::FailedToStart ? process.errorString()
                                                      : QString::fromUtf8(process.readAll().simplified()));
    return false;
}

inline bool writeLine(const char *path, const QByteArray &line)
{
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::WriteOnly) && file.write(line) == line.size();
}

/// To be called before there are threads. Not root: becomes root of a namespace of users, too.
/// @param problem why it did not succeed
inline bool enter(QString *problem)
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    const bool isRoot = user == 0;
    if (unshare(isRoot ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        *problem = QStringLiteral("no network namespace can be made: ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (!isRoot) {
        writeLine("/proc/self/setgroups", "deny");
        if (!writeLine("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1")
            || !writeLine("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1")) {
            *problem = QStringLiteral("the namespace of users takes no map");
            return false;
        }
    }
    return run(QStringLiteral("ip"),
        {QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("lo"), QStringLiteral("up")}, problem);
}

} // namespace OwnNetwork
