// SPDX-License-Identifier: Apache-2.0
// Commands on the measurement board: a real ssh, and a real sshd at the board's address.
#include "Helpers/SystemHelper.h"
#include "Internal/ChildProcess.h"
#include "Lab.h"
#include "LogCapture.h"

#include <QtTest>

namespace {
constexpr quint32 patience = Lab::patience;

struct Run
{
    bool ok = false;
    int exitCode = -77;
    QByteArray output = QByteArrayLiteral("untouched");
};

Run onBoard(const QString &command, quint32 timeout = patience)
{
    Run run;
    run.ok = SystemHelper::runCcmbBashCommand(command, timeout, &run.output, &run.exitCode);
    return run;
}
} // namespace

class TestLabBoard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program");
        QVERIFY(Lab::succeeds(QStringLiteral("ip addr add 192.168.9.1/24 dev d0 && ip -n peer addr add 192.168.9.2/24 "
                                             "dev p0 && mkdir -m 700 /root/.ssh && "
                                             "ssh-keygen -q -t ed25519 -N '' -f /root/.ssh/id_ed25519 && ssh-keygen -q "
                                             "-t ed25519 -N '' -f /run/host_key && "
                                             "cp /root/.ssh/id_ed25519.pub /run/authorized_keys")));
        mServer.setProcessChannelMode(QProcess::ForwardedChannels);
        mServer.start(QStringLiteral("nsenter"),
            {QStringLiteral("--net=/run/netns/peer"), QStringLiteral("/usr/sbin/sshd"), QStringLiteral("-D"),
                QStringLiteral("-q"), QStringLiteral("-f"), QStringLiteral("/dev/null"),
                QStringLiteral("-oHostKey=/run/host_key"), QStringLiteral("-oAuthorizedKeysFile=/run/authorized_keys"),
                QStringLiteral("-oListenAddress=192.168.9.2"), QStringLiteral("-oStrictModes=no"),
                QStringLiteral("-oUsePAM=no"), QStringLiteral("-oPidFile=none")});
        QVERIFY(mServer.waitForStarted());
    }

    void cleanupTestCase()
    {
        mServer.terminate();
        QVERIFY(mServer.waitForFinished());
    }

    void anUnknownBoardIsNotTalkedTo() // nobody can answer the question whether it is the right one
    {
        const LogCapture log;

        const Run run = onBoard(QStringLiteral("true"), 3000);

        QVERIFY(!run.ok);
        QVERIFY(run.exitCode == 255 || run.exitCode == SystemHelper::timedOut);
        QTRY_VERIFY(Lab::shell(QStringLiteral("ssh-keyscan -T 2 192.168.9.2 2>/dev/null >/root/.ssh/known_hosts; "
                                              "test -s /root/.ssh/known_hosts"))
                        .exitCode
            == 0);
    }

    void theOutputOfTheBoardComesBack()
    {
        const LogCapture log;

        const Run run = onBoard(QStringLiteral("echo one; echo two >&2"));

        QVERIFY(run.ok);
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, QByteArray("one\ntwo\n"));
    }

    void theCommandRunsOnTheBoard()
    {
        const LogCapture log;

        const Run run = onBoard(QStringLiteral("ip -br address show p0"));

        QVERIFY(run.output.contains("192.168.9.2/24"));
    }

    void theExitCodeOfTheBoardComesBack()
    {
        const LogCapture log;

        const Run run = onBoard(QStringLiteral("'echo why; exit 42'"));

        QVERIFY(!run.ok);
        QCOMPARE(run.exitCode, 42);
        QCOMPARE(run.output, QByteArray("why\n"));
        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("/bin/bash -c \"ssh root@192.168.9.2 'echo why; exit 42'\""),
                QStringLiteral("\"why\\n\"")}));
    }

    void aBoardThatTakesTooLongIsGivenUp()
    {
        const LogCapture log;

        QCOMPARE(onBoard(QStringLiteral("sleep 30"), 1000).exitCode, -2);
        QTRY_COMPARE(Lab::shell(QStringLiteral("pgrep -x ssh")).exitCode, 1);
    }

    void aCutCableIsNoticedByTheTimeout()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("ip -n peer link set p0 down")));

        QCOMPARE(onBoard(QStringLiteral("true"), 1000).exitCode, -2);

        QVERIFY(Lab::succeeds(QStringLiteral("ip -n peer link set p0 up")));
        QVERIFY(onBoard(QStringLiteral("true")).ok);
    }

    void aBoardWithoutServerRefuses()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(
            QStringLiteral("ip -n peer addr del 192.168.9.2/24 dev p0; "
                           "ip -n peer addr add 192.168.9.3/24 dev p0; ip addr add 192.168.9.2/24 dev d0")));

        const Run run = onBoard(QStringLiteral("true"));

        QCOMPARE(run.exitCode, 255);
        QVERIFY(run.output.contains("Connection refused"));
    }

private:
    ChildProcess mServer;
};

QTEST_GUILESS_MAIN(TestLabBoard)
#include "tst_lab_board.moc"
