// SPDX-License-Identifier: Apache-2.0
// NetworkHelper: what changes the system.
#include "Helpers/NetworkHelper.h"

#include "Helpers/BaseDirHelper.h"
#include "Helpers/ResolverFile_p.h"
#include "Helpers/SystemHelper.h"
#include "Internal/FileAccess.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr quint32 commandTimeout = 3000; // milliseconds, as the following
constexpr int lockTimeout = 3000;
constexpr unsigned long lockPoll = 10;
constexpr qint64 maxServersSize = 1048576; // bytes of a list of name servers
constexpr mode_t ownPermissions = 0755;
constexpr mode_t forRootAlone = 0600;

/// The files have fixed names, so there is one writer at a time: of our threads, of all programs, and of the DHCP
/// client's hook. A writer that does not end, or no right to lock, is no reason to leave the unit without a network;
/// nor is one that this thread is within, when a handler of the log runs an event loop.
class FilesLock
{
public:
    FilesLock()
        : mDeadline(lockTimeout)
        , mIsLocked(mutex().tryLock(lockTimeout))
        , mDescriptor(::open("/run/ipdetails.lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, forRootAlone))
    {
        fchmod(mDescriptor, forRootAlone); // whoever may open it may hold it
        while (mDescriptor >= 0 && flock(mDescriptor, LOCK_EX | LOCK_NB) != 0 && !mDeadline.hasExpired())
            QThread::msleep(lockPoll);
    }
    ~FilesLock()
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
        if (mIsLocked)
            mutex().unlock();
    }
    FilesLock(const FilesLock &) = delete;
    FilesLock &operator=(const FilesLock &) = delete;

private:
    static QMutex &mutex()
    {
        static QMutex mutex;
        return mutex;
    }

    const QDeadlineTimer mDeadline; ///< of both
    const bool mIsLocked; ///< among the threads
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

using Step = NetworkHelper::ConfigurationStep;
using Steps = NetworkHelper::ConfigurationSteps;

bool isLink(const QString &link, const QString &target)
{
    const QFileInfo info(link);
    return info.isSymLink() && info.symLinkTarget() == target;
}

Steps linkExitHook()
{
    const QString link = QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails");
    const QString target = BaseDirHelper::workDir() + QStringLiteral("scripts/ipdetails");
    if (isLink(link, target))
        return {};
    // It warns of success and is silent about failure: programs that watch the log count on it.
    if (run(QStringLiteral("ln -sf %1 /etc/dhcp/dhclient-exit-hooks.d/ipdetails").arg(target)))
        qWarning() << "Failed to create /etc/dhcp/dhclient-exit-hooks.d/ipdetails symlink to " << target;
    return isLink(link, target) ? Steps() : Step::LinkExitHook;
}

/// A configuration file by way of /tmp.
struct SystemFile
{
    QString name;
    QByteArray text;
    Step prepare; ///< of the file under /tmp
    Step replace; ///< of the one in /etc
};

SystemFile nameServerFile()
{
    return {QStringLiteral("dnsmasq.conf"),
        QByteArrayLiteral("listen-address=127.0.0.1\n"
                          "interface=lo\n"
                          "bind-interfaces\n"
                          "resolv-file=/etc/resolv.dmasq\n"),
        Step::PrepareNameServerFile, Step::ReplaceNameServerFile};
}

SystemFile resolverFile()
{
    return {QStringLiteral("resolv.conf"),
        QByteArrayLiteral("nameserver ::1\n"
                          "nameserver 127.0.0.1\n"),
        Step::PrepareResolverFile, Step::ReplaceResolverFile};
}

/// Writes /tmp/NAME, and /etc/NAME in its place: a move between two disks would be neither whole nor durable.
Steps replaceInEtc(const SystemFile &wanted)
{
    const QString source = QStringLiteral("/tmp/") + wanted.name;
    const QString target = QStringLiteral("/etc/") + wanted.name;
    FileAccess::removeUnfinished(target);
    QFile file;
    if (!FileAccess::createNew(source, &file)) {
        qWarning().noquote() << QStringLiteral("Failed to open %1 for writing").arg(source);
        return wanted.prepare;
    }
    file.write(wanted.text); // as far as there is room: anybody may fill that disk
    file.close();
    if (!FileAccess::replace(target, wanted.text)) {
        qWarning().noquote() << QStringLiteral("Failed to create %1").arg(target);
        return wanted.replace;
    }
    QFile::remove(source);
    return {};
}

struct Servers
{
    QByteArray text;
    mode_t mode = FileAccess::readableForAll;
};

/// Reads the present servers: none if there is no file, and none if others could have written it.
bool readServers(Servers *servers)
{
    const QString known = QStringLiteral("/etc/resolv.dmasq");
    const QFileInfo info(known); // in a folder that is root's: a link there is one that we or the hook have made
    const QString path = info.isSymLink() ? info.symLinkTarget() : known;
    QFile file;
    const FileAccess::Found found = FileAccess::openOurs(path, &file);
    if (found == FileAccess::Found::Planted)
        qWarning().noquote() << "The list of name servers begins anew:" << path;
    if (found != FileAccess::Found::Ours)
        return found != FileAccess::Found::Unusable;
    struct stat status = {};
    if (fstat(file.handle(), &status) == 0)
        servers->mode = status.st_mode & ownPermissions;
    return FileAccess::readAll(&file, maxServersSize, &servers->text);
}

/// Writes the present servers and those that are missing among them.
bool writeServers(const QString &path, const ResolverFile::Entries &wanted, Servers *servers)
{
    QFile file;
    if (!readServers(servers) || !FileAccess::createNew(path, &file, servers->mode)
        || !FileAccess::writeThrough(&file, servers->text)) {
        qWarning().noquote() << QStringLiteral("Failed to open %1 for reading").arg(path);
        return false;
    }
    const QByteArray missing = ResolverFile::missingLines(servers->text, wanted);
    servers->text += missing;
    if (FileAccess::writeThrough(&file, missing))
        return true;
    qWarning().noquote() << QStringLiteral("Failed to write %1").arg(path);
    return false;
}

/// A move would go into a folder, also through a link. Where a file of ours is already, nobody else can put one.
bool preparePlace(const QString &path, const Servers &servers)
{
    if (FileAccess::isOwnFile(path) || FileAccess::replace(path, servers.text, servers.mode))
        return true;
    qWarning().noquote() << QStringLiteral("Failed to create %1").arg(path);
    return false;
}

using ServerStep = NetworkHelper::ServerStep;

/// @return the step that failed
ServerStep addServers(const ResolverFile::Entries &wanted, bool isSimulation)
{
    if (!wanted.isValid()) { // would make lines of its own
        qWarning() << "Not name servers and a domain: " << wanted.primary << wanted.secondary << wanted.domain;
        return ServerStep::Accept;
    }

    const FilesLock lock;
    Servers servers;
    if (!writeServers(QStringLiteral("/tmp/resolv.dmasq.bkp"), wanted, &servers))
        return ServerStep::Write;
    if (!preparePlace(QStringLiteral("/tmp/resolv.dmasq"), servers)
        || !run(QStringLiteral("mv -f /tmp/resolv.dmasq.bkp /tmp/resolv.dmasq")))
        return ServerStep::Replace;
    if (isSimulation)
        return ServerStep::None;
    if (!run(QStringLiteral("ln -sf /tmp/resolv.dmasq /etc/resolv.dmasq")))
        return ServerStep::Link;
    return run(QStringLiteral("systemctl restart dnsmasq")) ? ServerStep::None : ServerStep::Restart;
}
} // namespace

bool NetworkHelper::createDhcpClientConfig(quint32 timeout, bool ipv6, QString &fileName)
{
    fileName = ipv6 ? QStringLiteral("/tmp/dhclient6.conf") : QStringLiteral("/tmp/dhclient.conf");
    const FilesLock lock;
    return FileAccess::replace(fileName, dhcpClientConfig(timeout, ipv6));
}

void NetworkHelper::configureSystem()
{
    ConfigurationSteps ignored;
    configureSystem(ignored);
}

bool NetworkHelper::configureSystem(ConfigurationSteps &failed)
{
    const FilesLock lock;
    failed = linkExitHook();
    for (const SystemFile &file : {nameServerFile(), resolverFile()}) {
        failed |= replaceInEtc(file);
        if (failed & file.prepare)
            return false;
    }
    if (!run(QStringLiteral("systemctl restart dnsmasq"))) {
        qWarning() << "Failed to restart dnsmasq; name service may not work!";
        failed |= RestartNameServer;
    }
    return !failed;
}

bool NetworkHelper::updateSystemDNSServers(const QString &primary, const QString &secondary, const QString &domain)
{
    ServerStep ignored = ServerStep::None;
    return updateSystemDNSServers(primary, secondary, domain, ignored);
}

bool NetworkHelper::updateSystemDNSServers(
    const QString &primary, const QString &secondary, const QString &domain, ServerStep &failed)
{
    failed = ServerStep::None;
    if (primary.isEmpty() && secondary.isEmpty())
        return true;
    failed = addServers({primary, secondary, domain}, mIsHardwareSimulation);
    return failed == ServerStep::None;
}
