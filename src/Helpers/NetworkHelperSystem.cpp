// SPDX-License-Identifier: Apache-2.0
// NetworkHelper: what changes the system.
#include "Helpers/NetworkHelper.h"

#include "Helpers/BaseDirHelper.h"
#include "Helpers/FileAccess_p.h"
#include "Helpers/ResolverFile_p.h"
#include "Helpers/SystemHelper.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
constexpr quint32 commandTimeout = 3000; // milliseconds, as the following
constexpr int lockTimeout = 3000;
constexpr unsigned long lockPoll = 10;
constexpr qint64 maxServersSize = 1048576; // bytes of a list of name servers

/// The files have fixed names, so there is one writer at a time: of our threads, of all programs, and of the DHCP
/// client's hook. A writer that does not end, or no right to lock, is no reason to leave the unit without a network.
class FilesLock
{
public:
    FilesLock()
        : mThreads(&mutex())
        , mDescriptor(::open("/run/ipdetails.lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644))
    {
        const QDeadlineTimer deadline(lockTimeout);
        while (mDescriptor >= 0 && flock(mDescriptor, LOCK_EX | LOCK_NB) != 0 && !deadline.hasExpired())
            QThread::msleep(lockPoll);
    }
    ~FilesLock()
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
    }
    FilesLock(const FilesLock &) = delete;
    FilesLock &operator=(const FilesLock &) = delete;

private:
    static QMutex &mutex()
    {
        static QMutex mutex;
        return mutex;
    }

    const QMutexLocker mThreads;
    const int mDescriptor;
};

bool run(const QString &command)
{
    return SystemHelper::runCommand(command, commandTimeout, nullptr, nullptr);
}

QByteArray dhcpClientConfig(quint32 timeout, bool ipv6)
{
    return QByteArrayLiteral("option rfc3442-classless-static-routes code 121 = array of unsigned integer 8;\n"
                             "send host-name = gethostname();\n"
                             "request subnet-mask, broadcast-address, time-offset, routers,\n"
                             "\tdomain-name, domain-name-servers, domain-search, host-name,\n")
        + (ipv6 ? "\tdhcp6.name-servers, dhcp6.domain-search, dhcp6.fqdn, dhcp6.sntp-servers,\n" : "")
        + "\tnetbios-name-servers, netbios-scope, interface-mtu,\n"
          "\trfc3442-classless-static-routes, ntp-servers;\n"
          "timeout "
        + QByteArray::number(timeout) + ";\n";
}

void linkExitHook()
{
    const QString link = QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails");
    const QString target = BaseDirHelper::workDir() + QStringLiteral("scripts/ipdetails");
    const QFileInfo info(link);
    if (info.isSymLink() && info.symLinkTarget() == target)
        return;
    // It warns of success and is silent about failure: programs that watch the log count on it.
    if (run(QStringLiteral("ln -sf %1 /etc/dhcp/dhclient-exit-hooks.d/ipdetails").arg(target)))
        qWarning() << "Failed to create /etc/dhcp/dhclient-exit-hooks.d/ipdetails symlink to " << target;
}

/// Writes /tmp/NAME and moves it to /etc/NAME.
/// @return false if the file under /tmp could not even be opened
bool replaceInEtc(const QString &name, const QByteArray &text)
{
    QFile file;
    if (!FileAccess::createNew(QStringLiteral("/tmp/") + name, &file)) {
        qWarning().noquote() << QStringLiteral("Failed to open /tmp/%1 for writing").arg(name);
        return false;
    }
    const bool isWritten = FileAccess::writeThrough(&file, text);
    file.close();
    if (!isWritten || !run(QStringLiteral("mv -f /tmp/%1 /etc/%1").arg(name)))
        qWarning().noquote() << QStringLiteral("Failed to create /etc/%1").arg(name);
    return true;
}

/// Copies the present servers; without any the copy is empty.
bool copyServers(const QString &path)
{
    const QString servers = QStringLiteral("/etc/resolv.dmasq");
    QFile file;
    if (!QFile::exists(servers))
        return FileAccess::createNew(path, &file);
    return FileAccess::openRegular(servers, &file) && file.size() <= maxServersSize
        && FileAccess::copyToNew(&file, path);
}

bool appendServers(const QString &path, const ResolverFile::Entries &wanted)
{
    QFile file;
    if (!copyServers(path) || !FileAccess::openForUpdate(path, &file)) {
        qWarning().noquote() << QStringLiteral("Failed to open %1 for reading").arg(path);
        return false;
    }
    const QByteArray missing = ResolverFile::missingLines(file.readAll(), wanted);
    if (FileAccess::writeThrough(&file, missing))
        return true;
    qWarning().noquote() << QStringLiteral("Failed to write %1").arg(path);
    return false;
}
} // namespace

bool NetworkHelper::createDhcpClientConfig(quint32 timeout, bool ipv6, QString &fileName)
{
    fileName = ipv6 ? QStringLiteral("/tmp/dhclient6.conf") : QStringLiteral("/tmp/dhclient.conf");
    const FilesLock lock;
    QFile file;
    return FileAccess::createNew(fileName, &file) && FileAccess::writeThrough(&file, dhcpClientConfig(timeout, ipv6));
}

void NetworkHelper::configureSystem()
{
    const FilesLock lock;
    linkExitHook();
    if (!replaceInEtc(QStringLiteral("dnsmasq.conf"),
            QByteArrayLiteral("listen-address=127.0.0.1\n"
                              "interface=lo\n"
                              "bind-interfaces\n"
                              "resolv-file=/etc/resolv.dmasq\n")))
        return;
    if (!replaceInEtc(QStringLiteral("resolv.conf"),
            QByteArrayLiteral("nameserver ::1\n"
                              "nameserver 127.0.0.1\n")))
        return;
    if (!run(QStringLiteral("systemctl restart dnsmasq")))
        qWarning() << "Failed to restart dnsmasq; name service may not work!";
}

bool NetworkHelper::updateSystemDNSServers(const QString &primary, const QString &secondary, const QString &domain)
{
    if (primary.isEmpty() && secondary.isEmpty())
        return true;
    const ResolverFile::Entries wanted{primary, secondary, domain};
    if (!wanted.isValid()) { // would make lines of its own
        qWarning() << "Not name servers and a domain: " << primary << secondary << domain;
        return false;
    }

    const FilesLock lock;
    if (!appendServers(QStringLiteral("/tmp/resolv.dmasq.bkp"), wanted))
        return false;

    const QFileInfo target(QStringLiteral("/tmp/resolv.dmasq")); // mv would go into a folder, also through a link
    if (target.isSymLink())
        QFile::remove(target.filePath());
    else if (target.isDir()) {
        qWarning().noquote() << QStringLiteral("Failed to create %1").arg(target.filePath());
        return false;
    }
    if (!run(QStringLiteral("mv -f /tmp/resolv.dmasq.bkp /tmp/resolv.dmasq")))
        return false;
    return mIsHardwareSimulation
        || (run(QStringLiteral("ln -sf /tmp/resolv.dmasq /etc/resolv.dmasq"))
            && run(QStringLiteral("systemctl restart dnsmasq")));
}
