// SPDX-License-Identifier: Apache-2.0
#include "Helpers/JsonHelper.h"
#include "Helpers/QObjectHelper.h"
#include "LogCapture.h"
#include "Property.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPointF>
#include <QSignalSpy>
#include <QtTest>

#include <limits>
#include <type_traits>

class Settings : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, title, {})
    VANTOR_PROPERTY(int, amount, 0)
    VANTOR_PROPERTY(bool, isOn, false)
    VANTOR_PROPERTY(double, level, 0)
    VANTOR_PROPERTY(QStringList, names, {})
    VANTOR_PROPERTY(QVariantMap, map, {})
    VANTOR_PROPERTY(QVariantList, list, {})
    VANTOR_PROPERTY(qlonglong, ticks, 0)
};

class Tagged : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, className, QStringLiteral("Tagged"))
};

class Shadowing : public Settings
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, amount, QStringLiteral("many"))
};

class Place : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QPointF, point, QPointF(1, 2))
};

class Choice : public QObject
{
    Q_OBJECT

public:
    enum Mode { Off, Slow, Fast };
    Q_ENUM(Mode)
    VANTOR_PROPERTY(Mode, mode, Off)
};

class ArrayHolder : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(int, before, 5)
    VANTOR_PROPERTY(QJsonArray, jsonarray, {})
};

class VariantHolder : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QVariant, jsonarray, {})
};

class ListHolder : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QVariantList, jsonarray, {})
};

namespace {
void fill(Settings &settings)
{
    settings.set_title(QString::fromUtf8("Gr\xc3\xb6\xc3\x9f\x65 \"1\"\n"));
    settings.set_amount(-3);
    settings.set_isOn(true);
    settings.set_level(0.1);
    settings.set_names({QStringLiteral("a"), QString(), QStringLiteral("{")});
    settings.set_map({{QStringLiteral("key"), 1.5}});
    settings.set_list({1.0, QStringLiteral("two"), true});
    settings.set_ticks(9007199254740991);
}

QStringList notAnObject()
{
    return {QStringLiteral("debug: Document is not an Object true")};
}
} // namespace

class TestJsonHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thereAreNoInstances() { QVERIFY(!std::is_default_constructible_v<JsonHelper>); }

    void theTagForClassNamesIsAvailable() { QCOMPARE(QLatin1String(CLASS_NAME_TAG), QLatin1String("className")); }

    void everyDeclaredPropertyBecomesAValue()
    {
        Settings settings;
        fill(settings);
        settings.setObjectName(QStringLiteral("left out"));
        settings.setProperty("dynamic", 1);

        const QJsonObject json = JsonHelper::toJsonObject(settings);

        QCOMPARE(json,
            (QJsonObject{{QStringLiteral("title"), settings.title()}, {QStringLiteral("amount"), -3},
                {QStringLiteral("isOn"), true}, {QStringLiteral("level"), 0.1},
                {QStringLiteral("names"), QJsonArray{QStringLiteral("a"), QString(), QStringLiteral("{")}},
                {QStringLiteral("map"), QJsonObject{{QStringLiteral("key"), 1.5}}},
                {QStringLiteral("list"), QJsonArray{1.0, QStringLiteral("two"), true}},
                {QStringLiteral("ticks"), qint64(9007199254740991)}}));
        QCOMPARE(JsonHelper::toJsonObject(&settings), json);
        QCOMPARE(json.keys().constFirst(), QStringLiteral("amount"));
    }

    void reservedNamesAreNeverWritten()
    {
        Tagged tagged;
        tagged.setObjectName(QStringLiteral("named"));

        QVERIFY(JsonHelper::toJsonObject(tagged).isEmpty());
        QCOMPARE(JsonHelper::toByteArray(tagged).simplified(), QByteArray("{ }"));
        QCOMPARE(
            QJsonDocument::fromJson(JsonHelper::toByteArray(tagged)).toJson(QJsonDocument::Compact), QByteArray("{}"));
    }

    void aPropertyDeclaredAgainHidesTheInheritedOne()
    {
        const Shadowing shadowing;

        const QJsonObject json = JsonHelper::toJsonObject(shadowing);

        QCOMPARE(json.value(QStringLiteral("amount")), QJsonValue(QStringLiteral("many")));
        QCOMPARE(json.size(), 8);
    }

    void whatJsonCannotSayBecomesNull()
    {
        const Place place;
        QCOMPARE(JsonHelper::toJsonObject(place), (QJsonObject{{QStringLiteral("point"), QJsonValue::Null}}));

        Settings settings;
        for (const double number : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                 -std::numeric_limits<double>::infinity()}) {
            settings.set_level(number);
            const QByteArray text = JsonHelper::toByteArray(settings);
            QVERIFY2(text.contains("\"level\": null"), text.constData());
        }
    }

    void theTextIsIndented()
    {
        const QByteArray text = "{\n    \"a\": 1,\n    \"b\": {\n        \"c\": \"\\\"\"\n    }\n}\n";
        const QJsonObject json{
            {QStringLiteral("b"), QJsonObject{{QStringLiteral("c"), QStringLiteral("\"")}}}, {QStringLiteral("a"), 1}};

        QCOMPARE(JsonHelper::toByteArray(json), text);
        QCOMPARE(JsonHelper::toByteArray(QJsonObject()), QByteArray("{\n}\n"));
    }

    void theTextIsThatOfTheJsonObject()
    {
        Settings settings;
        fill(settings);

        const QByteArray text = JsonHelper::toByteArray(settings);

        QCOMPARE(text, QJsonDocument(JsonHelper::toJsonObject(settings)).toJson());
        QCOMPARE(JsonHelper::toByteArray(&settings), text);
        QVERIFY(text.startsWith("{\n    \"amount\": -3,\n"));
        QVERIFY(text.contains("Gr\xc3\xb6\xc3\x9f\x65"));
    }

    void noObjectGivesNothing()
    {
        const QObject *const none = nullptr;
        const LogCapture log;

        QVERIFY(JsonHelper::toJsonObject(none).isEmpty());
        QVERIFY(JsonHelper::toByteArray(none).isEmpty());
        QVERIFY(!JsonHelper::fromJson(QJsonObject{{QStringLiteral("a"), 1}}, nullptr));
        QVERIFY(!JsonHelper::fromJson(QByteArray("{}"), nullptr));
        QVERIFY(!JsonHelper::fromJson(QByteArray("[]"), nullptr));
        QCOMPARE(log.warnings().size(), 5);
    }

    void aRoundTripKeepsEveryValue()
    {
        Settings source;
        fill(source);
        Settings target;

        QVERIFY(JsonHelper::fromJson(JsonHelper::toByteArray(source), &target));

        QVERIFY(QObjectHelper::equal(&source, &target));
        QVERIFY(target.dynamicPropertyNames().isEmpty());
    }

    void keysSetThePropertiesOfTheirName()
    {
        const LogCapture log;
        Settings settings;

        QVERIFY(JsonHelper::fromJson(
            QJsonObject{{QStringLiteral("amount"), QStringLiteral("12")}, {QStringLiteral("level"), 3}}, &settings));

        QCOMPARE(settings.amount(), 12);
        QCOMPARE(settings.level(), 3.0);
        QVERIFY(!settings.title_dirty());
        QCOMPARE(log.asText(), QStringList());
    }

    void keysAreAppliedInSortedOrder()
    {
        Settings settings;
        QStringList order;
        connect(&settings, &Settings::amount_changed, this, [&] { order << QStringLiteral("amount"); });
        connect(&settings, &Settings::level_changed, this, [&] {
            order << QStringLiteral("level");
            QCOMPARE(settings.amount(), 1);
            QCOMPARE(settings.title(), QString());
        });
        connect(&settings, &Settings::title_changed, this, [&] { order << QStringLiteral("title"); });

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"title\": \"t\", \"level\": 1, \"amount\": 1}"), &settings));

        QCOMPARE(order, (QStringList{QStringLiteral("amount"), QStringLiteral("level"), QStringLiteral("title")}));
    }

    void anUnknownKeyMakesADynamicProperty()
    {
        const LogCapture log;
        Settings settings;

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"nobody\": [1], \"className\": \"X\"}"), &settings));

        QCOMPARE(settings.property("nobody"), QVariant(QVariantList{1.0}));
        QCOMPARE(settings.property("className"), QVariant(QStringLiteral("X")));
        QCOMPARE(settings.dynamicPropertyNames().size(), 2);
        QCOMPARE(log.asText(), QStringList());
    }

    void aKeyMayNameTheObject()
    {
        Settings settings;

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"objectName\": \"by the peer\"}"), &settings));

        QCOMPARE(settings.objectName(), QStringLiteral("by the peer"));
    }

    void oddKeysDoNoHarm()
    {
        Settings settings;

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"\": 1}"), &settings));
        QCOMPARE(settings.dynamicPropertyNames(), QList<QByteArray>{QByteArray("")});
        QVERIFY(JsonHelper::fromJson(QByteArray("{\"amount\\u0000x\": 8}"), &settings));
        QCOMPARE(settings.amount(), 8);
        QVERIFY(JsonHelper::fromJson(QByteArray("{\"\xc3\xa4\": 2}"), &settings));
        QCOMPARE(settings.property("\xc3\xa4"), QVariant(2.0));
    }

    void aValueThatDoesNotFitIsPassedOver()
    {
        Settings settings;
        fill(settings);

        QVERIFY(JsonHelper::fromJson(
            QByteArray("{\"amount\": {}, \"isOn\": \"maybe\", \"level\": 2, \"names\": 5, \"zzz\": 1}"), &settings));

        QCOMPARE(settings.amount(), -3);
        QCOMPARE(settings.level(), 2.0);
        QCOMPARE(settings.property("zzz"), QVariant(1.0));
    }

    void anEnumerationIsSetByNameOnly()
    {
        Choice choice;

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"mode\": 1}"), &choice));
        QCOMPARE(choice.mode(), Choice::Off);
        QVERIFY(!choice.mode_dirty());
        QVERIFY(JsonHelper::fromJson(QByteArray("{\"mode\": \"Fast\"}"), &choice));

        QCOMPARE(choice.mode(), Choice::Fast);
    }

    void anArrayGoesWholeIntoItsProperty()
    {
        const LogCapture log;
        ArrayHolder array;
        VariantHolder variant;
        ListHolder list;

        QVERIFY(JsonHelper::fromJson(QByteArray("[1,2]"), &array));
        QVERIFY(JsonHelper::fromJson(QByteArray("[1,2]"), &variant));
        QVERIFY(JsonHelper::fromJson(QByteArray("[1,2]"), &list));

        QCOMPARE(array.jsonarray(), (QJsonArray{1, 2}));
        QVERIFY(!array.before_dirty());
        QCOMPARE(variant.jsonarray().userType(), int(QMetaType::QJsonArray));
        QCOMPARE(variant.jsonarray().toJsonArray(), (QJsonArray{1, 2}));
        QCOMPARE(list.jsonarray(), (QVariantList{1.0, 2.0}));
        QCOMPARE(log.asText(), QStringList());
    }

    void anArrayWithoutItsPropertyChangesNothing()
    {
        const LogCapture log;
        Settings settings;
        fill(settings);
        settings.setProperty("jsonarray", 1);
        const QVariantHash before = QObjectHelper::properties(&settings);

        QVERIFY(JsonHelper::fromJson(QByteArray("[1,2]"), &settings));
        QVERIFY(JsonHelper::fromJson(QByteArray("[]"), &settings));

        QCOMPARE(QObjectHelper::properties(&settings), before);
        QCOMPARE(settings.property("jsonarray"), QVariant(1));
        QCOMPARE(log.asText(), QStringList());
    }

    void anythingElseIsRefused_data()
    {
        QTest::addColumn<QByteArray>("data");

        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("blanks") << QByteArray(" \n\t");
        QTest::newRow("letters") << QByteArray("no json");
        QTest::newRow("cut off") << QByteArray("{\"amount\": 1");
        QTest::newRow("text behind") << QByteArray("{\"amount\": 1} x");
        QTest::newRow("a number") << QByteArray("12");
        QTest::newRow("a string") << QByteArray("\"12\"");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("bytes that are no text") << QByteArray("{\"amount\": \"\xff\xfe\"}");
        QTest::newRow("a zero byte") << QByteArray("{\"amount\"\0: 1}", 14);
        QTest::newRow("nested too deeply")
            << QByteArray("{\"a\":") + QByteArray(2000, '[') + QByteArray(2000, ']') + QByteArray("}");
        QTest::newRow("nested and left open") << QByteArray(1000000, '[');
    }

    void anythingElseIsRefused()
    {
        QFETCH(const QByteArray, data);
        const LogCapture log;
        Settings settings;

        QVERIFY(!JsonHelper::fromJson(data, &settings));

        QVERIFY(!settings.amount_dirty());
        QVERIFY(settings.dynamicPropertyNames().isEmpty());
        QCOMPARE(log.asText(), notAnObject());
    }

    void theLastOfEqualKeysCounts()
    {
        Settings settings;
        const QSignalSpy changes(&settings, &Settings::amount_changed);

        QVERIFY(JsonHelper::fromJson(QByteArray("{\"amount\": 1, \"amount\": 2}"), &settings));

        QCOMPARE(settings.amount(), 2);
        QCOMPARE(changes.count(), 1);
    }

    void anEmptyObjectChangesNothing()
    {
        Settings settings;

        QVERIFY(JsonHelper::fromJson(QByteArray("{}"), &settings));

        QVERIFY(!settings.amount_dirty());
    }
};

QTEST_GUILESS_MAIN(TestJsonHelper)
#include "tst_jsonhelper.moc"
