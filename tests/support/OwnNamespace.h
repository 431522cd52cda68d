// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <unistd.h>

/// What this process, and who it starts, sees alone: its mounts, its network.
namespace OwnNamespace {

inline bool writeLine(const char *path, const QByteArray &line)
{
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::WriteOnly) && file.write(line) == line.size();
}

inline QByteArray idMap(quint32 inside, quint32 outside)
{
    return QByteArray::number(inside) + ' ' + QByteArray::number(outside) + " 1";
}

/// To be called before there are threads. Not root: enters a namespace of users, too, in which it has these ids.
/// @param kinds as unshare() takes them
/// @param problem why it did not succeed
inline bool enter(int kinds, uid_t userInside, gid_t groupInside, QString *problem)
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    const bool isRoot = user == 0;
    if (unshare(isRoot ? kinds : CLONE_NEWUSER | kinds) != 0) {
        *problem = QStringLiteral("no namespace can be made: ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (isRoot)
        return true;
    const bool isMapped = writeLine("/proc/self/setgroups", "deny")
        && writeLine("/proc/self/uid_map", idMap(userInside, user))
        && writeLine("/proc/self/gid_map", idMap(groupInside, group));
    if (!isMapped)
        *problem = QStringLiteral("the namespace of users takes no map");
    return isMapped;
}

} // namespace OwnNamespace
