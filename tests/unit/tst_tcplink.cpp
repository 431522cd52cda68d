// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Loopback.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpServer.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>
#include <numeric>

class NoteMessage : public AbstractTcpMessage
{
    Q_OBJECT
    VANTOR_PROPERTY(int, number, 0)
    VANTOR_PROPERTY(QString, note, {})
};

namespace {
/// Decodes what an endpoint receives.
class Inbox
{
public:
    template <typename Endpoint>
    explicit Inbox(Endpoint &endpoint)
    {
        QObject::connect(&endpoint, &Endpoint::dataReceived, &mContext, [this](const QByteArray &data) {
            NoteMessage message;
            mIsGood = mIsGood && message.fromByteArray(data) && message.type() == 5;
            mNumbers << message.number();
            mNotes << message.note();
        });
    }

    bool isGood() const { return mIsGood; }
    QVector<int> numbers() const { return mNumbers; }
    QStringList notes() const { return mNotes; }

private:
    QObject mContext;
    bool mIsGood = true;
    QVector<int> mNumbers;
    QStringList mNotes;
};

template <typename Endpoint>
void sendNote(Endpoint &endpoint, int number, const QString &note = {})
{
    NoteMessage message;
    message.set_type(5);
    message.set_number(number);
    message.set_note(note);
    Q_EMIT endpoint.send(message);
}

QVector<int> numbersUpTo(int count)
{
    QVector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}
} // namespace

class TestTcpLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mPort = Loopback::freePort();
        mServer = std::make_unique<TcpServer>();
        QVERIFY(mServer->start(mPort));
    }

    void cleanup() { mServer.reset(); }

    void messagesArriveBothWaysInTheirOrder()
    {
        constexpr int count = 2000;
        TcpClient client;
        QVERIFY(connectClient(client));
        const Inbox atServer(*mServer);
        const Inbox atClient(client);

        for (int i = 0; i < count; ++i) {
            sendNote(client, i, QString(i, QLatin1Char('{')));
            sendNote(*mServer, i, QString::number(i));
        }

        QTRY_COMPARE_WITH_TIMEOUT(atServer.numbers().size(), count, 20000);
        QTRY_COMPARE_WITH_TIMEOUT(atClient.numbers().size(), count, 20000);
        QCOMPARE(atServer.numbers(), numbersUpTo(count));
        QCOMPARE(atClient.numbers(), numbersUpTo(count));
        QVERIFY(atServer.isGood() && atClient.isGood());
        QCOMPARE(atServer.notes().constLast(), QString(count - 1, QLatin1Char('{')));
        QCOMPARE(atClient.notes().constLast(), QString::number(count - 1));
    }

    // A payload's memory serves again, but not while another thread still reads it.
    void aReceiverInAnotherThreadGetsEveryPayloadAsItWas()
    {
        constexpr int count = 2000;
        QThread thread;
        auto *const receiver = new QObject;
        receiver->moveToThread(&thread);
        connect(&thread, &QThread::finished, receiver, &QObject::deleteLater);
        const auto received = std::make_shared<std::atomic<int>>(0);
        const auto wrong = std::make_shared<std::atomic<int>>(0);
        connect(mServer.get(), &TcpServer::dataReceived, receiver, [received, wrong](const QByteArray &data) {
            NoteMessage message;
            const bool isRead = message.fromByteArray(data);
            if (!isRead || message.number() != *received || message.note() != QString::number(message.number()))
                ++*wrong;
            ++*received;
        });
        thread.start();
        TcpClient client;
        QVERIFY(connectClient(client));

        for (int i = 0; i < count; ++i) {
            sendNote(client, i, QString::number(i));
            if (i % 10 == 0)
                QCoreApplication::processEvents(); // so that some are read while others are received
        }

        QTRY_COMPARE_WITH_TIMEOUT(received->load(), count, 20000);
        thread.quit();
        QVERIFY(thread.wait(20000));
        QCOMPARE(wrong->load(), 0);
    }

    void anEndpointMayAnswerAtOnce()
    {
        TcpClient client;
        QVERIFY(connectClient(client));
        const Inbox atClient(client);
        connect(mServer.get(), &TcpServer::dataReceived, mServer.get(), [&](const QByteArray &data) {
            NoteMessage message;
            message.fromByteArray(data);
            sendNote(*mServer, message.number() + 1);
        });

        for (int i = 0; i < 100; ++i)
            sendNote(client, i - 1);

        QTRY_COMPARE(atClient.numbers(), numbersUpTo(100));
    }

    void aLargeMessageArrives()
    {
        const LogCapture log;
        TcpClient client;
        QVERIFY(connectClient(client));
        const Inbox atServer(*mServer);
        const QString note = QString(4 * 1024 * 1024, QChar(0x4e16));

        sendNote(client, 1, note);

        QTRY_COMPARE_WITH_TIMEOUT(atServer.numbers().size(), 1, 20000);
        QVERIFY(atServer.isGood());
        QVERIFY(atServer.notes().constFirst() == note);
        QCOMPARE(log.warnings(), QStringList());
    }

    void theLinkComesBackWhenTheServerDoes()
    {
        LogCapture log;
        TcpClient client;
        QVERIFY(connectClient(client));
        const QSignalSpy lost(&client, &TcpClient::disconnected);

        mServer.reset();
        QTRY_COMPARE(lost.count(), 1);
        log.clear();
        sendNote(client, 1);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Socket not open")});
        mServer = std::make_unique<TcpServer>();
        const Inbox atServer(*mServer);
        QVERIFY(mServer->start(mPort));
        QTRY_VERIFY(client.isConnected());
        sendNote(client, 2);

        QTRY_COMPARE(atServer.numbers(), QVector<int>{2}); // what was sent in between is lost
    }

    void aClientMayBeStartedBeforeTheServer()
    {
        mServer->stop();
        TcpClient client;
        QVERIFY(!client.start(Loopback::address(), mPort));
        QVERIFY(mServer->start(mPort));
        const QSignalSpy came(mServer.get(), &TcpServer::clientConnected);

        QTRY_VERIFY(client.isConnected());
        QTRY_COMPARE(came.count(), 1);
    }

    // Each comes back a second after it was thrown out, and throws out the other: wanted so.
    void twoClientsThrowEachOtherOut()
    {
        const LogCapture log;
        TcpClient first;
        TcpClient second;
        const QSignalSpy firstLost(&first, &TcpClient::disconnected);
        const QSignalSpy secondLost(&second, &TcpClient::disconnected);
        const QSignalSpy came(mServer.get(), &TcpServer::clientConnected);
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);

        QVERIFY(connectClient(first));
        QVERIFY(connectClient(second));

        QTRY_COMPARE(firstLost.count(), 1);
        QTRY_COMPARE(secondLost.count(), 1);
        QTRY_COMPARE(firstLost.count(), 2);
        QCOMPARE(came.count(), 4);
        QCOMPARE(left.count(), 3);
    }

private:
    bool connectClient(TcpClient &client)
    {
        QSignalSpy came(mServer.get(), &TcpServer::clientConnected);
        return client.start(Loopback::address(), mPort) && (came.count() > 0 || came.wait());
    }

    std::unique_ptr<TcpServer> mServer;
    int mPort = 0;
};

QTEST_GUILESS_MAIN(TestTcpLink)
#include "tst_tcplink.moc"
