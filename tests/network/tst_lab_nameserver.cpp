// SPDX-License-Identifier: Apache-2.0
// The road of a name: program, local name server, the servers it is told, the peer. systemctl is a stand-in that
// restarts the real dnsmasq.
#include "ForkedChild.h"
#include "Helpers/AbsoluteBaseDir.h"
#include "Helpers/NetworkHelper.h"
#include "Internal/ChildProcess.h"
#include "Lab.h"
#include "LogCapture.h"
#include "SmallDisk.h"
#include "StandInPrograms.h"

#include <QFile>
#include <QFileInfo>
#include <QtTest>

#include <atomic>
#include <cstdio>
#include <sys/stat.h>
#include <thread>

namespace {
const QString exitHook = QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails");
const QString hookTarget = QStringLiteral("/opt/tester/scripts/ipdetails");
const QString servers = QStringLiteral("/etc/resolv.dmasq");
const QString peer = QStringLiteral("10.20.0.1");

constexpr char serverConfig[] =
    "listen-address=127.0.0.1\ninterface=lo\nbind-interfaces\nresolv-file=/etc/resolv.dmasq\n";
constexpr char resolverConfig[] = "nameserver ::1\nnameserver 127.0.0.1\n";

bool update(const QString &primary, const QString &secondary = {}, const QString &domain = {})
{
    return NetworkHelper::updateSystemDNSServers(primary, secondary, domain);
}

int restarts()
{
    return Lab::read(QStringLiteral("/run/systemctl.log")).count('\n');
}

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// What any program gets when it asks for a name.
QByteArray lookUp(const QString &name)
{
    return Lab::shell(QStringLiteral("getent ahosts %1 | awk '{print $1}' | sort -u | tr '\\n' ' '").arg(name)).output;
}

/// Plants what root must not follow at a file of a fixed name.
bool plant(const QString &what, const QString &path)
{
    const QString command = what == QLatin1String("link") ? QStringLiteral("ln -s /etc/precious %1")
        : what == QLatin1String("dangling link")          ? QStringLiteral("ln -s /etc/new %1")
                                                          : QStringLiteral("mkfifo %1");
    return Lab::write(QStringLiteral("/etc/precious"), "precious") && Lab::succeeds(command.arg(path));
}

bool isNothingFollowed()
{
    return Lab::read(QStringLiteral("/etc/precious")) == "precious" && !QFile::exists(QStringLiteral("/etc/new"));
}

void addPlants()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"link", "dangling link", "pipe"})
        QTest::newRow(what) << QString::fromUtf8(what);
}
} // namespace

Q_DECLARE_METATYPE(NetworkHelper::ConfigurationSteps)

class TestLabNameserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program");
        QVERIFY(Lab::succeeds(QStringLiteral("ip addr add 10.20.0.2/24 dev d0; ip route add default via 10.20.0.1")));
        QVERIFY(mPeer.start());
    }

    void init()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -rf /tmp/* /etc/resolv.dmasq /etc/precious /etc/new %1; "
                                             ">/run/systemctl.log; rm -f /run/systemctl.fails; "
                                             "echo '# old' >/etc/resolv.conf; echo '# old' >/etc/dnsmasq.conf")
                                  .arg(exitHook)));
    }

    void cleanup() { NetworkHelper::setIsHardwareSimulation(false); }

    void theFirstStartConfiguresTheSystem()
    {
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(QFile::symLinkTarget(exitHook), hookTarget);
        QCOMPARE(Lab::read(QStringLiteral("/etc/dnsmasq.conf")), QByteArray(serverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/run/systemctl.log")), QByteArray("restart dnsmasq\n"));
        QCOMPARE(QDir(QStringLiteral("/tmp")).entryList(QDir::Files), QStringList());
        QCOMPARE(log.asText(), // of success
            QStringList(
                QStringLiteral("warning: Failed to create /etc/dhcp/dhclient-exit-hooks.d/ipdetails symlink to  "
                               "\"/opt/tester/scripts/ipdetails\"")));
    }

    void whatACutOfThePowerLeftBesideAFileIsRemoved()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("cd /etc; echo half | tee resolv.conf.unfinished.aB3dE6 "
                                             "dnsmasq.conf.unfinished.000000 resolv.conf.backup resolv.conf.old "
                                             "resolv.conf.unfinished.longer1; mkdir resolv.conf.unfinished.folder")));

        NetworkHelper::configureSystem();
        const QStringList left =
            QDir(QStringLiteral("/etc")).entryList({QStringLiteral("*.conf.*")}, QDir::AllEntries | QDir::Hidden);

        QVERIFY(Lab::succeeds(QStringLiteral("rm -r /etc/resolv.conf.*")));
        QCOMPARE(left.filter(QRegularExpression(QStringLiteral("^(resolv|dnsmasq)\\.conf"))),
            (QStringList{QStringLiteral("resolv.conf.backup"), QStringLiteral("resolv.conf.old"),
                QStringLiteral("resolv.conf.unfinished.folder"), QStringLiteral("resolv.conf.unfinished.longer1")}));
    }

    void everyOtherStartIsSilent()
    {
        const LogCapture log;
        NetworkHelper::configureSystem();
        QVERIFY(Lab::succeeds(QStringLiteral("echo edited >/etc/resolv.conf")));
        const QDateTime linked = QFileInfo(exitHook).metadataChangeTime();
        const auto before = log.lines().size();

        NetworkHelper::configureSystem();

        QCOMPARE(log.lines().size(), before);
        QCOMPARE(QFileInfo(exitHook).metadataChangeTime(), linked);
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
        QCOMPARE(restarts(), 2);
    }

    void aHookOfAnotherApplicationIsReplaced()
    {
        QVERIFY(QFile::link(QStringLiteral("/opt/other/scripts/ipdetails"), exitHook));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(QFile::symLinkTarget(exitHook), hookTarget);
    }

    void aHookThatCannotBeLinkedIsPassedOverInSilence()
    {
        const Lab::ReadOnly disk(QStringLiteral("/etc/dhcp"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        NetworkHelper::configureSystem();

        QVERIFY(!QFileInfo(exitHook).isSymLink());
        QVERIFY(log.texts(QtWarningMsg)
                    .contains(QStringLiteral(
                        "ln -sf /opt/tester/scripts/ipdetails /etc/dhcp/dhclient-exit-hooks.d/ipdetails")));
        QVERIFY(log.texts(QtWarningMsg).filter(QStringLiteral("symlink to")).isEmpty());
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
    }

    void allMayReadWhatIsConfigured()
    {
        const LogCapture log;
        const mode_t former = umask(077);

        NetworkHelper::configureSystem();
        const bool isUpdated = update(peer);
        umask(former);

        QVERIFY(isUpdated);
        for (const char *path : {"/etc/resolv.conf", "/etc/dnsmasq.conf", "/etc/resolv.dmasq"})
            QCOMPARE(modeOf(QString::fromUtf8(path)), mode_t(0644));
    }

    void whatIsPlantedIsNotFollowedByTheConfiguration_data() { addPlants(); }

    void whatIsPlantedIsNotFollowedByTheConfiguration()
    {
        QFETCH(QString, what);
        QVERIFY(plant(what, QStringLiteral("/tmp/dnsmasq.conf")));
        QVERIFY(plant(what, QStringLiteral("/tmp/resolv.conf")));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QVERIFY(isNothingFollowed());
        QVERIFY(!QFileInfo(QStringLiteral("/etc/resolv.conf")).isSymLink());
        QCOMPARE(Lab::read(QStringLiteral("/etc/dnsmasq.conf")), QByteArray(serverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
    }

    void theFirstFileThatCannotBeOpenedEndsTheConfiguration()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("mkdir /tmp/dnsmasq.conf")));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(log.warnings().constLast(), QStringLiteral("Failed to open /tmp/dnsmasq.conf for writing"));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray("# old\n"));
        QCOMPARE(restarts(), 0);
    }

    void theSecondFileThatCannotBeOpenedEndsItAsWell()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("mkdir /tmp/resolv.conf")));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(log.warnings().constLast(), QStringLiteral("Failed to open /tmp/resolv.conf for writing"));
        QCOMPARE(Lab::read(QStringLiteral("/etc/dnsmasq.conf")), QByteArray(serverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray("# old\n"));
        QCOMPARE(restarts(), 0);
    }

    // Anybody may fill it.
    void aFullTemporaryDiskKeepsNothingFromEtc()
    {
        const FullDisk disk(QStringLiteral("/tmp"));
        QCOMPARE(disk.problem(), QString());
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(log.warnings().filter(QStringLiteral(".conf")), QStringList());
        QCOMPARE(Lab::read(QStringLiteral("/etc/dnsmasq.conf")), QByteArray(serverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
        QCOMPARE(restarts(), 1);
    }

    void aReadOnlySystemIsTold()
    {
        const Lab::ReadOnly disk(QStringLiteral("/etc"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        NetworkHelper::configureSystem();

        QVERIFY(log.warnings().contains(QStringLiteral("Failed to create /etc/dnsmasq.conf")));
        QVERIFY(log.warnings().contains(QStringLiteral("Failed to create /etc/resolv.conf")));
        QCOMPARE(restarts(), 1);
    }

    void aNameServerThatDoesNotRestartIsTold()
    {
        QVERIFY(Lab::write(QStringLiteral("/run/systemctl.fails"), {}));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(log.warnings().constLast(), QStringLiteral("Failed to restart dnsmasq; name service may not work!"));
        QVERIFY(!update(peer));
    }

    void theStepsThatFailedAreTold_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("removal");
        QTest::addColumn<NetworkHelper::ConfigurationSteps>("expected");
        const auto row = [](const char *name, const char *obstacle, const char *removal,
                             NetworkHelper::ConfigurationSteps steps) { // a file that is a mount point is not replaced
            QTest::newRow(name) << QString::fromUtf8(obstacle) << QString::fromUtf8(removal) << steps;
        };
        row("none", "true", "true", {});
        row("the link", "mv /etc/dhcp/dhclient-exit-hooks.d /etc/dhcp/away",
            "mv /etc/dhcp/away /etc/dhcp/dhclient-exit-hooks.d", NetworkHelper::LinkExitHook);
        row("the link, though ln is content", "mkdir /etc/dhcp/dhclient-exit-hooks.d/ipdetails", "true",
            NetworkHelper::LinkExitHook);
        row("the first file under /tmp", "mkdir /tmp/dnsmasq.conf", "true", NetworkHelper::PrepareNameServerFile);
        row("the first file", "mount --bind /etc/dnsmasq.conf /etc/dnsmasq.conf", "umount /etc/dnsmasq.conf",
            NetworkHelper::ReplaceNameServerFile);
        row("the second file under /tmp", "mkdir /tmp/resolv.conf", "true", NetworkHelper::PrepareResolverFile);
        row("the second file", "mount --bind /etc/resolv.conf /etc/resolv.conf", "umount /etc/resolv.conf",
            NetworkHelper::ReplaceResolverFile);
        row("the restart", "touch /run/systemctl.fails", "true", NetworkHelper::RestartNameServer);
        row("several, and the end is reached",
            "touch /run/systemctl.fails; mkdir /etc/dhcp/dhclient-exit-hooks.d/ipdetails; "
            "for file in /etc/resolv.conf /etc/dnsmasq.conf; do mount --bind $file $file; done",
            "umount /etc/resolv.conf /etc/dnsmasq.conf",
            NetworkHelper::LinkExitHook | NetworkHelper::ReplaceNameServerFile | NetworkHelper::ReplaceResolverFile
                | NetworkHelper::RestartNameServer);
        row("two, and the end is not reached",
            "mv /etc/dhcp/dhclient-exit-hooks.d /etc/dhcp/away; mkdir /tmp/dnsmasq.conf /tmp/resolv.conf",
            "mv /etc/dhcp/away /etc/dhcp/dhclient-exit-hooks.d",
            NetworkHelper::LinkExitHook | NetworkHelper::PrepareNameServerFile);
    }

    void theStepsThatFailedAreTold()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, removal);
        QFETCH(NetworkHelper::ConfigurationSteps, expected);
        QVERIFY(Lab::succeeds(obstacle));
        NetworkHelper::ConfigurationSteps failed = ~NetworkHelper::ConfigurationSteps();
        QStringList plainLog;
        QStringList log;
        bool isDone = true;

        {
            const LogCapture capture;
            NetworkHelper::configureSystem();
            plainLog = capture.asText();
        }
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f %1 2>/dev/null || true").arg(exitHook)));
        {
            const LogCapture capture;
            isDone = NetworkHelper::configureSystem(failed);
            log = capture.asText();
        }

        QVERIFY(Lab::succeeds(removal));
        QCOMPARE(failed, expected);
        QCOMPARE(isDone, !expected);
        QCOMPARE(log, plainLog);
    }

    void aNameReachesThePeer()
    {
        const LogCapture log;
        NetworkHelper::configureSystem();
        QCOMPARE(lookUp(QStringLiteral("board.lab")), QByteArray());

        QVERIFY(update(peer));

        QTRY_COMPARE(lookUp(QStringLiteral("board.lab")), QByteArray("10.20.0.77 fd00:20::77 "));
        QVERIFY(Lab::succeeds(QStringLiteral("echo nameserver 127.0.0.1 >/etc/resolv.conf")));
        QCOMPARE(lookUp(QStringLiteral("board.lab")), QByteArray("10.20.0.77 fd00:20::77 "));
        QVERIFY(Lab::succeeds(QStringLiteral("echo nameserver ::1 >/etc/resolv.conf")));
        QCOMPARE(lookUp(QStringLiteral("board.lab")), QByteArray("10.20.0.77 fd00:20::77 "));
    }

    void serversOfALeaseReachTheNameServer()
    {
        const LogCapture log;
        NetworkHelper::configureSystem();
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));

        QVERIFY(
            Lab::succeeds(QStringLiteral("dhclient -4 -1 -cf %1 -lf /run/d0.leases -pf /run/d0.pid d0").arg(fileName)));

        QTRY_COMPARE_WITH_TIMEOUT(
            lookUp(QStringLiteral("board.lab")), QByteArray("10.20.0.77 fd00:20::77 "), Lab::patience);
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
        QCOMPARE(restarts(), 2); // of the configuration and of the new file

        QVERIFY(Lab::succeeds(QStringLiteral("dhclient -4 -r -lf /run/d0.leases -pf /run/d0.pid d0; "
                                             "ip addr add 10.20.0.2/24 dev d0; true")));
        QTRY_COMPARE_WITH_TIMEOUT(lookUp(QStringLiteral("board.lab")), QByteArray(), Lab::patience);
        QCOMPARE(restarts(), 2); // it sees a change by itself
    }

    void serversAreAdded()
    {
        QVERIFY(Lab::write(servers, "domain lan\nnameserver 10.9.9.9\n"));
        const LogCapture log;

        QVERIFY(update(peer, QStringLiteral("10.20.0.3"), QStringLiteral("lab")));

        QCOMPARE(Lab::read(servers),
            QByteArray("domain lan\nnameserver 10.9.9.9\nnameserver 10.20.0.1\nnameserver 10.20.0.3\ndomain lab\n"));
        QCOMPARE(QFile::symLinkTarget(servers), QStringLiteral("/tmp/resolv.dmasq"));
        QVERIFY(!QFile::exists(QStringLiteral("/tmp/resolv.dmasq.bkp")));
        QCOMPARE(restarts(), 1);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: line= \"domain lan\""),
                QStringLiteral("debug: line= \"nameserver 10.9.9.9\"")}));
    }

    void aServerThatIsThereIsNotAddedAgain()
    {
        const LogCapture log;
        QVERIFY(update(peer, QStringLiteral("10.20.0.3"), QStringLiteral("lab")));
        const QByteArray before = Lab::read(servers);

        QVERIFY(update(peer, QStringLiteral("10.20.0.3"), QStringLiteral("lab")));

        QCOMPARE(Lab::read(servers), before);
        QCOMPARE(before, QByteArray("nameserver 10.20.0.1\nnameserver 10.20.0.3\ndomain lab\n"));
    }

    void aLastLineWithoutEndIsEnded()
    {
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9"));
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.9.9.9\nnameserver 10.20.0.1\n"));
    }

    void withoutServersNoFileIsTouched()
    {
        QVERIFY(update(QString(), QString(), QStringLiteral("lab")));

        QVERIFY(!QFile::exists(servers));
        QVERIFY(QDir(QStringLiteral("/tmp")).isEmpty());
        QCOMPARE(restarts(), 0);
    }

    void aLinkIntoAnEmptyFolderIsNoTrouble() // as after a reboot, when /tmp is empty
    {
        QVERIFY(QFile::link(QStringLiteral("/tmp/resolv.dmasq"), servers));
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
    }

    void inTheSimulationTheSystemIsLeftAlone()
    {
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9\n"));
        NetworkHelper::setIsHardwareSimulation(true);
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.9.9.9\n"));
        QCOMPARE(
            Lab::read(QStringLiteral("/tmp/resolv.dmasq")), QByteArray("nameserver 10.9.9.9\nnameserver 10.20.0.1\n"));
        QCOMPARE(restarts(), 0);
    }

    void whatIsPlantedIsNotFollowedByAnUpdate_data() { addPlants(); }

    void whatIsPlantedIsNotFollowedByAnUpdate()
    {
        QFETCH(QString, what);
        QVERIFY(plant(what, QStringLiteral("/tmp/resolv.dmasq.bkp")));
        QVERIFY(plant(what, QStringLiteral("/tmp/resolv.dmasq")));
        const LogCapture log;

        QVERIFY(update(peer));

        QVERIFY(isNothingFollowed());
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
        QVERIFY(!QFileInfo(QStringLiteral("/tmp/resolv.dmasq")).isSymLink());
    }

    void aLinkToAFolderDoesNotLeadTheMoveIntoIt()
    {
        QVERIFY(QFile::link(QStringLiteral("/etc"), QStringLiteral("/tmp/resolv.dmasq")));
        const LogCapture log;

        QVERIFY(update(peer));

        QVERIFY(!QFile::exists(QStringLiteral("/etc/resolv.dmasq.bkp")));
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
    }

    void aFolderInPlaceOfTheServersIsToldAndLeftAlone() // mv would put the file into it
    {
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9\n"));
        QVERIFY(QDir().mkdir(QStringLiteral("/tmp/resolv.dmasq")));
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("Failed to replace /tmp/resolv.dmasq: Is a directory"),
                QStringLiteral("Failed to create /tmp/resolv.dmasq")}));
        QVERIFY(QDir(QStringLiteral("/tmp/resolv.dmasq")).isEmpty());
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.9.9.9\n"));
        QCOMPARE(restarts(), 0);
    }

    void theFirstCommandThatFailsEndsAnUpdate_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("command");
        const auto row = [](const char *program, const char *command) {
            QTest::newRow(program) << QString::fromUtf8(program) << QString::fromUtf8(command);
        };
        row("mv", "mv -f /tmp/resolv.dmasq.bkp /tmp/resolv.dmasq");
        row("ln", "ln -sf /tmp/resolv.dmasq /etc/resolv.dmasq");
        row("systemctl", "systemctl restart dnsmasq");
    }

    void theFirstCommandThatFailsEndsAnUpdate()
    {
        QFETCH(QString, program);
        QFETCH(QString, command);
        StandInPrograms programs;
        QVERIFY(programs.add(program, "echo no; exit 1"));
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings(), (QStringList{command, QStringLiteral("\"no\\n\"")}));
        QCOMPARE(restarts(), 0);
        QCOMPARE(QFileInfo(servers).isSymLink(), program == QLatin1String("systemctl"));
    }

    void aListThatTheGroupMayWriteIsKeptIfTheGroupIsRoots_data()
    {
        QTest::addColumn<int>("group");
        QTest::newRow("root's") << 0;
        QTest::newRow("another") << 1;
    }

    void aListThatTheGroupMayWriteIsKeptIfTheGroupIsRoots()
    {
        QFETCH(const int, group);
        if (group != 0 && !Lab::hasAnotherUser())
            QSKIP("there is no other group here");
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("systemctl"), "true"));
        QVERIFY(Lab::write(servers, "nameserver 9.9.9.9\n"));
        QVERIFY(Lab::succeeds(QStringLiteral("chgrp %1 /etc/resolv.dmasq; chmod 664 /etc/resolv.dmasq").arg(group)));
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(Lab::read(servers),
            QByteArray(group == 0 ? "nameserver 9.9.9.9\nnameserver 10.20.0.1\n" : "nameserver 10.20.0.1\n"));
        QCOMPARE(log.warnings().isEmpty(), group == 0);
        QVERIFY(Lab::succeeds(QStringLiteral("find /tmp/resolv.dmasq -type f -uid 0 -perm 644 | grep -q .")));
    }

    void serversThatOthersCouldHaveWrittenAreNotAdopted_data()
    {
        QTest::addColumn<bool>("byAnother");
        QTest::addColumn<QString>("command");
        const auto row = [](const char *name, bool byAnother, const char *command) {
            QTest::newRow(name) << byAnother << QString::fromUtf8(command);
        };
        row("a file of another user", true, "echo nameserver 6.6.6.6 >/tmp/resolv.dmasq");
        row("one that all may write", true, "echo nameserver 6.6.6.6 >/tmp/resolv.dmasq; chmod 666 /tmp/resolv.dmasq");
        row("a file of ours that all may write", false,
            "echo nameserver 6.6.6.6 >/tmp/resolv.dmasq; chmod 666 /tmp/resolv.dmasq");
        row("a second name of a file of ours", false,
            "echo nameserver 6.6.6.6 >/tmp/other; ln /tmp/other /tmp/resolv.dmasq");
        row("a link to a file of ours", true, "ln -s /etc/precious /tmp/resolv.dmasq");
        row("a link to nothing", true, "ln -s /etc/new /tmp/resolv.dmasq");
        row("a pipe", true, "mkfifo -m 666 /tmp/resolv.dmasq");
        row("a folder", true, "mkdir /tmp/resolv.dmasq");
        row("a folder that holds something", true, "mkdir -p /tmp/resolv.dmasq/resolv.dmasq.bkp");
    }

    void serversThatOthersCouldHaveWrittenAreNotAdopted()
    {
        QFETCH(bool, byAnother);
        QFETCH(QString, command);
        if (byAnother && !Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("systemctl"), "true"));
        QVERIFY(Lab::write(QStringLiteral("/etc/precious"), "nameserver 6.6.6.6\n"));
        QVERIFY(QFile::link(QStringLiteral("/tmp/resolv.dmasq"), servers));
        QVERIFY(byAnother ? Lab::succeedsAsAnother(command) : Lab::succeeds(command));
        const LogCapture log;

        QVERIFY2(update(peer), qPrintable(log.asText().join(QLatin1Char('\n'))));

        QVERIFY(!log.warnings().filter(QStringLiteral("/tmp/resolv.dmasq")).isEmpty());
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
        QCOMPARE(QFile::symLinkTarget(servers), QStringLiteral("/tmp/resolv.dmasq"));
        QVERIFY(Lab::succeeds(QStringLiteral("find /tmp/resolv.dmasq -type f -uid 0 -perm 644 | grep -q .")));
        QCOMPARE(Lab::read(QStringLiteral("/etc/precious")), QByteArray("nameserver 6.6.6.6\n"));
        QVERIFY(!QFile::exists(QStringLiteral("/etc/new")));
    }

    void aFolderOfAnotherUserIsNotInTheWay_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *path : {"/tmp/dnsmasq.conf", "/tmp/resolv.conf", "/tmp/resolv.dmasq", "/tmp/resolv.dmasq.bkp"})
            QTest::newRow(path) << QString::fromUtf8(path);
    }

    void aFolderOfAnotherUserIsNotInTheWay()
    {
        QFETCH(QString, path);
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("systemctl"), "true"));
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("mkdir %1 && echo theirs >%1/file").arg(path)));
        const LogCapture log;

        NetworkHelper::configureSystem();
        QVERIFY(update(peer));

        QVERIFY(!log.warnings().filter(path).isEmpty());
        QCOMPARE(Lab::read(QStringLiteral("/etc/dnsmasq.conf")), QByteArray(serverConfig));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
        QVERIFY(Lab::succeeds(QStringLiteral("grep -q theirs %1.*/file").arg(path))); // nothing of theirs is destroyed
    }

    void foldersOfAnotherUserThatComeAgainAreNotInTheWay()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        constexpr int rounds = 40;
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("systemctl"), "true"));
        const QStringList names{QStringLiteral("dnsmasq.conf"), QStringLiteral("resolv.conf"),
            QStringLiteral("resolv.dmasq"), QStringLiteral("resolv.dmasq.bkp"), QStringLiteral("dhclient.conf")};
        QStringList paths;
        for (const QString &name : names)
            paths << QStringLiteral("/tmp/") + name;
        const LogCapture log;
        const Lab::FolderMaker another(paths);

        for (int i = 0; i < rounds; ++i) {
            QString fileName;
            QVERIFY(Lab::succeeds(QStringLiteral("rm -rf /tmp/*; echo '# old' >/etc/resolv.conf")));
            NetworkHelper::configureSystem();
            QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray(resolverConfig));
            QVERIFY(update(peer));
            QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
            QVERIFY(NetworkHelper::createDhcpClientConfig(quint32(i), false, fileName));
            QVERIFY(QFileInfo(fileName).isFile());
        }

        QCOMPARE(log.warnings().filter(QStringLiteral("Failed to open")), QStringList());
    }

    void whatIsRightIsNotWrittenAgain()
    {
        const LogCapture log;
        NetworkHelper::configureSystem();
        const QStringList paths{QStringLiteral("/etc/resolv.conf"), QStringLiteral("/etc/dnsmasq.conf")};
        QVector<QDateTime> changed;
        for (const QString &path : paths)
            changed << QFileInfo(path).metadataChangeTime();

        NetworkHelper::configureSystem();

        for (int i = 0; i < paths.size(); ++i)
            QCOMPARE(QFileInfo(paths.at(i)).metadataChangeTime(), changed.at(i));
        QCOMPARE(QDir(QStringLiteral("/tmp")).entryList(QDir::Files), QStringList());
        QCOMPARE(restarts(), 2);
    }

    void whatIsRightButMayBeWrittenByAllIsReplaced()
    {
        QVERIFY(Lab::write(QStringLiteral("/etc/resolv.conf"), resolverConfig));
        QVERIFY(Lab::succeeds(QStringLiteral("chmod 666 /etc/resolv.conf")));
        const LogCapture log;

        NetworkHelper::configureSystem();

        QCOMPARE(modeOf(QStringLiteral("/etc/resolv.conf")), mode_t(0644));
    }

    void programsSeeTheOldResolverOrTheNewOne()
    {
        constexpr int turns = 20;
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("systemctl"), "true"));
        const LogCapture log;
        const QByteArray old(100000, '#');
        std::atomic<bool> isOver{false};
        std::atomic<int> others{0};
        QVERIFY(Lab::write(QStringLiteral("/etc/resolv.conf"), old));
        std::thread reader([&] {
            while (!isOver) {
                const QByteArray text = Lab::read(QStringLiteral("/etc/resolv.conf"));
                others += text != old && text != resolverConfig;
                others += modeOf(QStringLiteral("/etc/resolv.conf")) != 0644;
            }
        });
        bool isPrepared = true;
        for (int i = 0; i < turns; ++i) {
            isPrepared = isPrepared && Lab::write(QStringLiteral("/etc/next"), old)
                && ::rename("/etc/next", "/etc/resolv.conf") == 0;
            NetworkHelper::configureSystem();
        }
        isOver = true;
        reader.join();

        QVERIFY(isPrepared);
        QCOMPARE(others.load(), 0);
        QCOMPARE(QDir(QStringLiteral("/etc")).entryList({QStringLiteral("resolv.conf*")}, QDir::Files | QDir::Hidden),
            QStringList(QStringLiteral("resolv.conf")));
    }

    void nobodyElseMayHoldTheLock()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f /run/ipdetails.lock; touch /run/ipdetails.lock")));
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(modeOf(QStringLiteral("/run/ipdetails.lock")), mode_t(0600));
    }

    void aFileOfTheKernelIsNoListOfServers() // its size is 0, and it has megabytes
    {
        if (!Lab::hasAnotherUser())
            QSKIP("root of the kernel is another user here");
        QVERIFY(QFile::link(QStringLiteral("/proc/kallsyms"), servers));
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to open /tmp/resolv.dmasq.bkp for reading")));
        QCOMPARE(restarts(), 0);
    }

    void serversThatCannotBeReadAreNotReplaced_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("pipe") << QStringLiteral("mkfifo /etc/resolv.dmasq");
        QTest::newRow("folder") << QStringLiteral("mkdir /etc/resolv.dmasq");
        QTest::newRow("link to a pipe") << QStringLiteral("mkfifo /etc/new; ln -s /etc/new /etc/resolv.dmasq");
    }

    void serversThatCannotBeReadAreNotReplaced()
    {
        QFETCH(QString, command);
        QVERIFY(Lab::succeeds(command));
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(
            log.asText(), QStringList(QStringLiteral("warning: Failed to open /tmp/resolv.dmasq.bkp for reading")));
        QCOMPARE(restarts(), 0);
    }

    void aReadOnlySourceGivesAReadOnlyCopy()
    {
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9\n"));
        QVERIFY(QFile::setPermissions(servers, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        const LogCapture log;

        QVERIFY(update(peer)); // whom permissions do not stop

        QCOMPARE(modeOf(servers), mode_t(0444));
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.9.9.9\nnameserver 10.20.0.1\n"));
    }

    void aFullDiskLosesNoServer()
    {
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9\n"));
        const FullDisk disk(QStringLiteral("/tmp"));
        QCOMPARE(disk.problem(), QString());
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.9.9.9\n"));
        QCOMPARE(restarts(), 0);
        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to open /tmp/resolv.dmasq.bkp for reading")));
    }

    void aReadOnlySystemStopsAnUpdate()
    {
        const Lab::ReadOnly disk(QStringLiteral("/etc"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings().value(0), QStringLiteral("ln -sf /tmp/resolv.dmasq /etc/resolv.dmasq"));
        QCOMPARE(restarts(), 0);
    }

    void aReadOnlyTemporaryFolderStopsAnUpdate()
    {
        const Lab::ReadOnly disk(QStringLiteral("/tmp"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to open /tmp/resolv.dmasq.bkp for reading")));
    }

    void aFileThatIsNoListOfServersStopsAnUpdate()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("head -c 2000000 /dev/zero >/etc/resolv.dmasq")));
        const LogCapture log;

        QVERIFY(!update(peer));

        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to open /tmp/resolv.dmasq.bkp for reading")));
    }

    void concurrentUpdatesTakeTurns()
    {
        NetworkHelper::setIsHardwareSimulation(true);
        QVERIFY(QFile::link(QStringLiteral("/tmp/resolv.dmasq"), servers));
        constexpr int count = 8;
        const LogCapture log;
        std::vector<std::thread> threads;
        threads.reserve(count);
        std::atomic<int> updated{0};
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&updated, i] { updated += update(QStringLiteral("10.0.0.%1").arg(i)); });
        for (std::thread &thread : threads)
            thread.join();

        QCOMPARE(updated.load(), count);
        const QByteArray text = Lab::read(servers);
        QCOMPARE(text.count('\n'), count);
        for (int i = 0; i < count; ++i)
            QVERIFY(text.contains("nameserver 10.0.0." + QByteArray::number(i) + '\n'));
    }

    void anUpdateWaitsForTheWriterInAnotherProcess()
    {
        ChildProcess writer;
        writer.start(QStringLiteral("flock"),
            {QStringLiteral("/run/ipdetails.lock"), QStringLiteral("sh"), QStringLiteral("-c"),
                QStringLiteral("echo begins; sleep 1; echo nameserver 10.7.7.7 >/tmp/other; "
                               "mv -f /tmp/other /tmp/resolv.dmasq; ln -sf /tmp/resolv.dmasq /etc/resolv.dmasq")});
        QVERIFY(writer.waitForReadyRead());
        const LogCapture log;

        QVERIFY(update(peer));

        QVERIFY(writer.waitForFinished());
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.7.7.7\nnameserver 10.20.0.1\n"));
    }

    void aWriterThatDoesNotEndIsNotWaitedForLong()
    {
        ChildProcess writer;
        writer.start(QStringLiteral("flock"),
            {QStringLiteral("/run/ipdetails.lock"), QStringLiteral("sh"), QStringLiteral("-c"),
                QStringLiteral("echo begins; exec sleep 60")});
        QVERIFY(writer.waitForReadyRead());
        const LogCapture log;

        QVERIFY(update(peer));

        QCOMPARE(writer.state(), QProcess::Running);
        QCOMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.1\n"));
        QVERIFY(Lab::succeeds(QStringLiteral("pkill -x -P %1 sleep").arg(writer.processId())));
        QVERIFY(writer.waitForFinished());
    }

    // A handler of the log that shows a dialog, and a page behind it that asks on.
    void whatIsAskedFromTheLogDoesNotWaitForEver()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("echo nameserver 192.0.2.6 >/tmp/resolv.dmasq")));
        QVERIFY(Lab::succeeds(QStringLiteral("ln -s /tmp/resolv.dmasq /etc/resolv.dmasq")));

        const ForkedChild child = ForkedChild::run([] {
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                static bool wasHere = false;
                QString name;
                if (!std::exchange(wasHere, true) && NetworkHelper::createDhcpClientConfig(3, false, name))
                    std::fputs(qPrintable(name), stderr);
            });
            return update(peer) ? 0 : 1;
        });

        QCOMPARE(child.exitCode, 0);
        QCOMPARE(child.standardError, QByteArray("/tmp/dhclient.conf"));
        QVERIFY(Lab::read(servers).contains("nameserver 10.20.0.1"));
    }

private:
    const AbsoluteBaseDir mFolder{QStringLiteral("/opt/tester")};
    Lab::PeerServer mPeer;
};

QTEST_GUILESS_MAIN(TestLabNameserver)
#include "tst_lab_nameserver.moc"
