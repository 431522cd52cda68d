// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "MetaText.h"
#include "Tcp/AbstractTcpMessage.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QtTest>

#include <type_traits>

class NoteMessage : public AbstractTcpMessage
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, note, {})
};

class ListMessage : public AbstractTcpMessage
{
    Q_OBJECT
    VANTOR_PROPERTY(QJsonArray, jsonarray, {})
};

class TestAbstractTcpMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theMetaObjectHoldsTheType()
    {
        QCOMPARE(MetaText::ofMethods(AbstractTcpMessage::staticMetaObject),
            QStringList{QStringLiteral("signal type_changed(int value)")});
        QCOMPARE(MetaText::ofProperties(AbstractTcpMessage::staticMetaObject),
            QStringList{QStringLiteral("int type read write notify type_changed")});
        QCOMPARE(AbstractTcpMessage::staticMetaObject.superClass(), &QObject::staticMetaObject);
    }

    void aNewMessageIsOfTypeZero()
    {
        const AbstractTcpMessage message;

        QCOMPARE(message.type(), 0);
        QVERIFY(!message.type_dirty());
        QVERIFY(!message.parent());
        QCOMPARE(AbstractTcpMessage::type_name(), QStringLiteral("type"));
    }

    void theTypeFollowsThePropertyPattern()
    {
        AbstractTcpMessage message;
        const QSignalSpy changes(&message, &AbstractTcpMessage::type_changed);

        message.set_type(0);
        QVERIFY(message.type_dirty());
        QCOMPARE(changes.count(), 0);
        message.set_type(-7);

        QCOMPARE(message.type(), -7);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first(), QVariantList{-7});
    }

    void thePayloadIsIndentedJson()
    {
        AbstractTcpMessage message;
        message.set_type(3);
        message.setObjectName(QStringLiteral("left out"));

        QCOMPARE(message.toByteArray(), QByteArray("{\n    \"type\": 3\n}\n"));
    }

    void thePayloadHoldsWhatASubclassAdds()
    {
        NoteMessage message;
        message.set_type(4);
        message.set_note(QString::fromUtf8("\xc3\xa4{"));
        const AbstractTcpMessage &asBase = message;

        QCOMPARE(asBase.toByteArray(), QByteArray("{\n    \"note\": \"\xc3\xa4{\",\n    \"type\": 4\n}\n"));
    }

    void aPayloadSetsTheProperties()
    {
        NoteMessage sent;
        sent.set_type(4);
        sent.set_note(QStringLiteral("a note"));
        NoteMessage received;

        QVERIFY(received.fromByteArray(sent.toByteArray()));

        QCOMPARE(received.type(), 4);
        QCOMPARE(received.note(), QStringLiteral("a note"));
    }

    void aMessageOfAnotherClassSetsWhatBothHave()
    {
        AbstractTcpMessage received;

        QVERIFY(received.fromByteArray("{\"note\": \"a note\", \"type\": 4}"));

        QCOMPARE(received.type(), 4);
        QCOMPARE(received.property("note"), QVariant(QStringLiteral("a note")));
    }

    void anArrayIsTaken()
    {
        ListMessage list;
        AbstractTcpMessage plain;

        QVERIFY(list.fromByteArray("[1,2]"));
        QVERIFY(plain.fromByteArray("[1,2]"));

        QCOMPARE(list.jsonarray(), (QJsonArray{1, 2}));
        QVERIFY(!plain.type_dirty());
    }

    void bytesThatAreNeitherObjectNorArrayAreRefused_data()
    {
        QTest::addColumn<QByteArray>("data");

        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("an object with more behind it") << QByteArray("{}}");
        QTest::newRow("half an object") << QByteArray("{");
        QTest::newRow("a number") << QByteArray("5");
    }

    void bytesThatAreNeitherObjectNorArrayAreRefused()
    {
        QFETCH(const QByteArray, data);
        const LogCapture log;
        AbstractTcpMessage message;

        QVERIFY(!message.fromByteArray(data));

        QVERIFY(!message.type_dirty());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: Document is not an Object true")});
    }

    void messagesAreNeverCopied()
    {
        QVERIFY(!std::is_copy_constructible_v<AbstractTcpMessage>);
        QVERIFY(std::has_virtual_destructor_v<AbstractTcpMessage>);
        QVERIFY((!std::is_constructible_v<AbstractTcpMessage, QObject *>));
    }
};

QTEST_GUILESS_MAIN(TestAbstractTcpMessage)
#include "tst_abstracttcpmessage.moc"
