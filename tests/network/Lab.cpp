// SPDX-License-Identifier: Apache-2.0
#include "Lab.h"

#include "OneProcess.h"
#include "ProgramRun.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <csignal>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Lab {

namespace {
const QString asAnother = QStringLiteral("setpriv --reuid=65534 --regid=65534 --clear-groups");
} // namespace

bool isHere()
{
    return qEnvironmentVariableIsSet("VANTOR_LAB") && QFileInfo(QStringLiteral("/run/checkout/vantor")).isFile();
}

Run shell(const QString &line)
{
    const ProgramRun run = ProgramRun::of(
        QStringLiteral("/bin/bash"), {QStringLiteral("-c"), line},
        [](ChildProcess &process) { process.setProcessChannelMode(QProcess::MergedChannels); }, patience);
    return {run.exitCode, run.output};
}

bool succeeds(const QString &line)
{
    const Run run = shell(line);
    if (run.exitCode != 0)
        qWarning("%s: %d\n%s", qPrintable(line), run.exitCode, run.output.constData());
    return run.exitCode == 0;
}

bool hasAnotherUser()
{
    static const bool hasOne = shell(QStringLiteral("%1 true").arg(asAnother)).exitCode == 0;
    return hasOne;
}

bool succeedsAsAnother(const QString &line)
{
    QString quoted = line;
    quoted.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return succeeds(QStringLiteral("%1 sh -c '%2'").arg(asAnother, quoted));
}

FolderMaker::FolderMaker(const QStringList &paths)
{
    std::vector<QByteArray> names;
    for (const QString &path : paths)
        names.push_back(QFile::encodeName(path));
    mProcess = fork();
    if (mProcess != 0)
        return;
    constexpr uid_t nobody = 65534;
    if (setgroups(0, nullptr) != 0 || setresgid(nobody, nobody, nobody) != 0 || setresuid(nobody, nobody, nobody) != 0)
        _exit(1);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        for (const QByteArray &name : names)
            mkdir(name.constData(), 0755);
    }
}

FolderMaker::~FolderMaker()
{
    if (OneProcess::sendSignal(mProcess, SIGKILL))
        waitpid(mProcess, nullptr, 0);
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

bool PeerServer::start(const QStringList &moreOptions)
{
    stop();
    mLog.clear();
    QStringList command{QStringLiteral("--net=/run/netns/peer"), QStringLiteral("dnsmasq")};
    for (const char *option : {"keep-in-foreground", "pid-file=", "user=", "group=", "conf-file=/dev/null", "no-resolv",
             "no-hosts", "interface=p0", "interface=p1", "bind-interfaces", "log-facility=-", "log-dhcp", "no-ping",
             "dhcp-authoritative", "dhcp-leasefile=/run/peer.leases", "dhcp-range=10.20.0.50,10.20.0.60,255.255.255.0",
             "dhcp-range=10.21.0.50,10.21.0.60,255.255.255.0", "dhcp-range=fd00:20::50,fd00:20::60,64",
             "dhcp-range=fd00:21::50,fd00:21::60,64", "enable-ra", "address=/board.lab/10.20.0.77",
             "address=/board.lab/fd00:20::77"})
        command << QStringLiteral("--") + QString::fromUtf8(option);
    mProcess.setProcessChannelMode(QProcess::MergedChannels);
    mProcess.start(QStringLiteral("nsenter"), command + moreOptions);
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < patience && mProcess.state() != QProcess::NotRunning;) {
        mProcess.waitForReadyRead(100);
        if (log().contains("started, version"))
            return true;
    }
    qWarning("%s", log().constData());
    return false;
}

void PeerServer::stop()
{
    mProcess.kill();
    mProcess.waitForFinished();
    QFile::remove(QStringLiteral("/run/peer.leases"));
}

QByteArray PeerServer::log()
{
    mProcess.waitForReadyRead(0);
    mLog += mProcess.readAll();
    return mLog;
}

ReadOnly::ReadOnly(const QString &mountPoint)
    : mMountPoint(mountPoint)
    , mIsReadOnly(succeeds(QStringLiteral("mount -o remount,bind,ro %1").arg(mountPoint)))
{
}

ReadOnly::~ReadOnly()
{
    succeeds(QStringLiteral("mount -o remount,bind,rw %1").arg(mMountPoint));
}

} // namespace Lab
