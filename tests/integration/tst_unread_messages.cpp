// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "Internal/ChildProcess.h"
#include "Loopback.h"

#include <QTcpSocket>
#include <QTemporaryFile>
#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int moment = 400; // milliseconds
constexpr int soon = 10000; // milliseconds, on a busy machine

/// A pipe that takes nothing more, because nobody reads it.
class UnreadPipe
{
public:
    UnreadPipe()
    {
        if (mkfifo(name().constData(), S_IRUSR | S_IWUSR) == 0)
            mFile = open(name().constData(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
        while (write(mFile, "x", 1) == 1) {}
    }
    ~UnreadPipe() { close(mFile); }
    UnreadPipe(const UnreadPipe &) = delete;
    UnreadPipe &operator=(const UnreadPipe &) = delete;

    QString path() const { return mFolder.filePath(QStringLiteral("pipe")); }

private:
    QByteArray name() const { return QFile::encodeName(path()); }

    QTemporaryDir mFolder;
    int mFile = -1;
};
} // namespace

/// Programs whose messages nobody reads: what is to stop them has to reach them all the same.
class TestUnreadMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void vantorInspectCanBeStopped_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void vantorInspectCanBeStopped()
    {
        QFETCH(int, signal);
        const UnreadPipe pipe;
        QTemporaryFile noImage;
        QVERIFY(noImage.open() && noImage.write("no image") > 0 && noImage.flush());
        InspectProgram program;
        program.setStandardErrorFile(pipe.path());
        program.begin({noImage.fileName()});
        QCOMPARE(program.workers(1).size(), std::size_t(1)); // and so its signals are set up
        QVERIFY(!program.waitForFinished(moment)); // it waits for the reader

        program.sendSignal(signal);

        QVERIFY(program.waitForEnd(soon));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 128 + signal);
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void vantorLinkCanBeStopped()
    {
        const UnreadPipe pipe;
        const int port = Loopback::freePort();
        ChildProcess program;
        program.setStandardErrorFile(pipe.path());
        program.start(QStringLiteral(VANTOR_LINK_PROGRAM),
            {QStringLiteral("listen"), QStringLiteral("--no-input"), QStringLiteral("--port"), QString::number(port)});
        QVERIFY(program.waitForStarted());
        const auto answers = [port] { // and so its signals are set up
            QTcpSocket peer;
            peer.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
            return peer.waitForConnected(soon);
        };
        QTRY_VERIFY_WITH_TIMEOUT(answers(), soon);

        program.terminate();

        QVERIFY(program.waitForFinished(soon));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 128 + SIGTERM);
    }

    void theOthersEndAsTheSystemEndsThem_data()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("vantor-focus") << QStringLiteral(VANTOR_FOCUS_PROGRAM);
        QTest::newRow("vantor-names") << QStringLiteral(VANTOR_NAMES_PROGRAM);
        QTest::newRow("vantor-net") << QStringLiteral(VANTOR_NET_PROGRAM);
        QTest::newRow("vantor-records") << QStringLiteral(VANTOR_RECORDS_PROGRAM);
    }

    void theOthersEndAsTheSystemEndsThem()
    {
        QFETCH(QString, program);
        const UnreadPipe pipe;
        ChildProcess process;
        process.setStandardErrorFile(pipe.path());
        process.start(program, {QStringLiteral("--no-such-option")});
        QVERIFY(process.waitForStarted());

        process.terminate();

        QVERIFY(process.waitForFinished(soon));
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), SIGTERM); // its number, as nothing has caught it
    }
};

QTEST_GUILESS_MAIN(TestUnreadMessages)
#include "tst_unread_messages.moc"
