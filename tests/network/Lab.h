// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"

#include <QByteArray>
#include <QStringList>

#include <sys/types.h>

/// The machine of its own that inside.sh makes: two cables d0 and d1 to a peer with the addresses 10.20.0.1 and
/// fd00:20::1 on the first, 10.21.0.1 and fd00:21::1 on the second. Everything outside /run/checkout may be changed.
namespace Lab {

constexpr int patience = 20000; // milliseconds

bool isHere(); ///< false on the machine that the tests must leave alone

struct Run
{
    int exitCode = -1; ///< -1: crashed, not started or not ended
    QByteArray output; ///< of both channels
};

/// Runs a line of shell to its end.
Run shell(const QString &line);

/// Whether a line of shell ends with 0; its output is printed if not.
bool succeeds(const QString &line);

/// Whether there is a second user here: nobody's own namespace has none.
bool hasAnotherUser();

/// The same as that user, who may do what anybody may.
bool succeedsAsAnother(const QString &line);

/// While it lives, that user makes folders at these paths, as fast as can be, wherever nothing is.
class FolderMaker
{
public:
    explicit FolderMaker(const QStringList &paths);
    FolderMaker(const FolderMaker &) = delete;
    FolderMaker &operator=(const FolderMaker &) = delete;
    ~FolderMaker();

private:
    pid_t mProcess;
};

QByteArray read(const QString &path); ///< empty when it cannot be read
bool write(const QString &path, const QByteArray &bytes);

/// dnsmasq at the peer: DHCP for both families, router advertisements, and names. board.lab is 10.20.0.77 and
/// fd00:20::77, and only it knows.
class PeerServer
{
public:
    PeerServer() = default;
    PeerServer(const PeerServer &) = delete;
    PeerServer &operator=(const PeerServer &) = delete;
    ~PeerServer() { stop(); }

    bool start(const QStringList &moreOptions = {});
    void stop();
    QByteArray log(); ///< what it has written until now

private:
    ChildProcess mProcess;
    QByteArray mLog;
};

/// While it lives, nothing below the mount point can be changed.
class ReadOnly
{
public:
    explicit ReadOnly(const QString &mountPoint);
    ReadOnly(const ReadOnly &) = delete;
    ReadOnly &operator=(const ReadOnly &) = delete;
    ~ReadOnly();

    bool isReadOnly() const { return mIsReadOnly; }

private:
    QString mMountPoint;
    bool mIsReadOnly;
};

} // namespace Lab
