// SPDX-License-Identifier: Apache-2.0
#include "Internal/ChildProcess.h"
#include "LinkProgram.h"
#include "OwnNetwork.h"

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

namespace {
constexpr int port = 5000;
constexpr int patience = 60000; // milliseconds
const QString nearAddress = QStringLiteral("10.99.0.1");
const QString farAddress = QStringLiteral("10.99.0.2");
const QString noInputOption = QStringLiteral("--no-input");

QByteArray numberLine(int number)
{
    return "{\"number\":" + QByteArray::number(number) + "}\n";
}

QByteArray numberLines(int first, int count)
{
    QByteArray lines;
    for (int i = first; i < first + count; ++i)
        lines += numberLine(i);
    return lines;
}

/// What TCP has sent over the cable, and keeps until the other end says that it has it.
qint64 unacknowledgedBytes()
{
    constexpr int portDigits = 4;
    constexpr int hexadecimal = 16;
    QFile sockets(QStringLiteral("/proc/self/net/tcp"));
    if (!sockets.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray remotePort = QByteArray::number(port, hexadecimal).toUpper().rightJustified(portDigits, '0');
    qint64 bytes = 0;
    const QList<QByteArray> lines = sockets.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.simplified().split(' '); // number, here, there, state, sent:received
        if (fields.size() > 4 && fields[2].endsWith(':' + remotePort))
            bytes += fields[4].split(':').constFirst().toLongLong(nullptr, hexadecimal);
    }
    return bytes;
}

/// Two networks, each with one end of a cable: the near one is this process's own.
class Cable
{
public:
    Cable() = default;
    Cable(const Cable &) = delete;
    Cable &operator=(const Cable &) = delete;
    ~Cable()
    {
        mHolder.closeWriteChannel();
        mHolder.waitForFinished();
    }

    /// Packets have the size of a real cable's, so that there are many that can be lost.
    bool plugIn(QString *problem)
    {
        mHolder.start(
            QStringLiteral("unshare"), {QStringLiteral("--net"), QStringLiteral("cat")}); // ends with its stdin
        if (!mHolder.waitForStarted() || !waitForOtherNetwork()) {
            *problem = QStringLiteral("no second network namespace can be made");
            return false;
        }
        const QString pid = QString::number(mHolder.processId());
        return near(QStringLiteral("ip link add near type veth peer name far netns ") + pid, problem)
            && near(QStringLiteral("ip addr add ") + nearAddress + QStringLiteral("/24 dev near"), problem)
            && near(QStringLiteral("ip link set near up gso_max_segs 1"), problem)
            && far(QStringLiteral("ip addr add ") + farAddress + QStringLiteral("/24 dev far"), problem)
            && far(QStringLiteral("ip link set far up gso_max_segs 1"), problem)
            && near(QStringLiteral("nft list ruleset"), problem);
    }

    QStringList enterFar() const
    {
        return {QStringLiteral("nsenter"), QStringLiteral("--net=/proc/%1/ns/net").arg(mHolder.processId())};
    }

    bool cut() { return atBoth("ip link set %1 down"); }
    bool heal() { return atBoth("ip link set %1 up"); }

    /// How often TCP tries again before it gives a connection up.
    bool setRetries(int count)
    {
        const QString command = QStringLiteral("sysctl -q -w net.ipv4.tcp_retries2=%1").arg(count);
        return near(command, &mProblem) && far(command, &mProblem);
    }

    /// Drops this share of all that comes in, at both ends.
    bool lose(int percent)
    {
        const QStringList commands{QStringLiteral("nft add table inet cable"),
            QStringLiteral("nft add chain inet cable input { type filter hook input priority 0 ; }"),
            QStringLiteral("nft add rule inet cable input numgen random mod 100 < %1 counter drop").arg(percent)};
        return std::all_of(commands.begin(), commands.end(),
            [this](const QString &command) { return near(command, &mProblem) && far(command, &mProblem); });
    }
    /// Whether packets have been dropped at both ends.
    bool hasLost()
    {
        const QStringList look{
            QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("! nft list ruleset | grep -q 'packets 0 '")};
        const QStringList lookThere = enterFar() + look;
        return OwnNetwork::run(look.first(), look.mid(1), &mProblem)
            && OwnNetwork::run(lookThere.first(), lookThere.mid(1), &mProblem);
    }
    bool loseNothing()
    {
        return near(QStringLiteral("nft flush ruleset"), &mProblem)
            && far(QStringLiteral("nft flush ruleset"), &mProblem);
    }

    QString problem() const { return mProblem; }

private:
    static bool near(const QString &command, QString *problem)
    {
        const QStringList words = command.split(QLatin1Char(' '));
        return OwnNetwork::run(words.first(), words.mid(1), problem);
    }
    bool far(const QString &command, QString *problem) const
    {
        return near(enterFar().join(QLatin1Char(' ')) + QLatin1Char(' ') + command, problem);
    }
    bool atBoth(const char *command)
    {
        const QString text = QString::fromUtf8(command);
        return near(text.arg(QStringLiteral("near")), &mProblem) && far(text.arg(QStringLiteral("far")), &mProblem);
    }
    bool waitForOtherNetwork() const
    {
        const auto networkOf = [](const QString &process) {
            return QFile::symLinkTarget(QStringLiteral("/proc/%1/ns/net").arg(process)).section(QLatin1Char('/'), -1);
        };
        const QString own = networkOf(QStringLiteral("self"));
        const QString holder = QString::number(mHolder.processId());
        return waitUntil([&] { return !networkOf(holder).isEmpty() && networkOf(holder) != own; }, patience);
    }

    ChildProcess mHolder;
    QString mProblem;
};
} // namespace

/// The link over a cable that is cut and that loses packets: two processes in networks of their own.
class TestVantorLinkNetwork : public QObject
{
    Q_OBJECT

public:
    /// @param problem why there is no network of its own; empty when there is one
    explicit TestVantorLinkNetwork(const QString &problem)
        : mProblem(problem)
    {
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString problem = mProblem;
        if (problem.isEmpty() && mCable.plugIn(&problem))
            return;
        if (qgetenv("CI") == "true")
            QFAIL(qPrintable(problem));
        QSKIP(qPrintable(problem));
    }

    void aShortCutCostsNothing()
    {
        QVERIFY(mCable.setRetries(usualRetries));
        LinkProgram listener(mCable.enterFar());
        listener.listen(port, {noInputOption});
        LinkProgram sender;
        sender.connectTo(farAddress, port);
        sender.write(numberLines(0, 100));
        QVERIFY(listener.waitForOutput(numberLine(99)));

        QVERIFY(mCable.cut());
        sender.write(numberLines(100, 100));
        QVERIFY(
            waitUntil([] { return unacknowledgedBytes() >= numberLines(100, 100).size(); }, patience)); // all are sent
        QVERIFY(!listener.output().contains(numberLine(100)));
        QVERIFY(mCable.heal());
        sender.write(numberLines(200, 100));

        QVERIFY(listener.waitForOutput(numberLine(299)));
        QCOMPARE(listener.output(), numberLines(0, 300));
        QVERIFY(!sender.says("the connection is lost"));
    }

    void aLongCutEndsTheConnectionWhichComesBack()
    {
        QVERIFY(mCable.setRetries(fewRetries));
        LinkProgram listener(mCable.enterFar());
        listener.listen(port);
        const int descriptors = listener.descriptors();
        LinkProgram sender;
        sender.connectTo(farAddress, port);
        sender.write(numberLines(0, 100));
        QVERIFY(listener.waitForOutput(numberLine(99)));
        const qint64 memory = sender.memory();

        QVERIFY(mCable.cut());
        sender.write(numberLines(100, 100)); // on its way, and lost
        QVERIFY(sender.waitForMessage("the connection is lost; trying again every second"));
        sender.write(numberLines(200, 100)); // waits for the connection
        sender.forgetMessages();
        QVERIFY(mCable.heal());

        QVERIFY(sender.waitForMessage("connected to"));
        QVERIFY(listener.waitForOutput(numberLine(299)));
        QCOMPARE(listener.output(), numberLines(0, 100) + numberLines(200, 100));
        listener.write(numberLine(1));
        QVERIFY(sender.waitForOutput(numberLine(1)));
        QVERIFY(sender.memory() <= memory + memorySlack());
        sender.closeWriteChannel();
        QVERIFY(sender.waitForEnd());
        QVERIFY(waitUntil([&] { return listener.descriptors() == descriptors; }, patience));
    }

    void lostPacketsLoseNoMessage()
    {
        constexpr int count = 50000;
        QTemporaryDir folder;
        const QString input = folder.filePath(QStringLiteral("numbers"));
        QFile file(input);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(numberLines(0, count)) > 0);
        file.close();
        QVERIFY(mCable.setRetries(usualRetries));
        QVERIFY2(mCable.lose(5), qPrintable(mCable.problem()));
        LinkProgram listener(mCable.enterFar());
        listener.listen(port, {noInputOption, QStringLiteral("--echo")});
        LinkProgram sender;
        sender.setStandardInputFile(input);
        sender.connectTo(farAddress, port, {QStringLiteral("--linger"), QStringLiteral("5")});

        QVERIFY(listener.waitForOutput(numberLine(count - 1), patience));
        QVERIFY(sender.waitForOutput(numberLine(count - 1), patience));

        QVERIFY(listener.output() == numberLines(0, count));
        QVERIFY(sender.output() == numberLines(0, count));
        QVERIFY2(mCable.hasLost(), qPrintable(mCable.problem()));
        QVERIFY2(mCable.loseNothing(), qPrintable(mCable.problem()));
        QVERIFY(!sender.says("the connection is lost"));
    }

private:
    static constexpr int usualRetries = 15;
    static constexpr int fewRetries = 3; // a connection is given up after some 3 seconds

    const QString mProblem;
    Cable mCable;
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QString problem;
    OwnNetwork::enter(&problem); // here, before Qt Test starts a thread
    TestVantorLinkNetwork test(problem);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_vantor_link_network.moc"
