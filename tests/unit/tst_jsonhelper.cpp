// SPDX-License-Identifier: Apache-2.0
#include "Helpers/JsonHelper.h"
#include "Helpers/QObjectHelper.h"
#include "LogCapture.h"
#include "Property.h"
#include "ReferenceJson.h"
#include "WorkTimer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPointF>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <limits>
#include <malloc.h>
#include <numeric>
#include <random>
#include <type_traits>
#include <vector>

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
/// "0" to that number, in no order.
QByteArray manyKeys(int count)
{
    std::vector<int> numbers(std::size_t(count), 0);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
    QByteArray keys;
    for (const int number : numbers)
        keys += '"' + QByteArray::number(number) + "\": 1,";
    keys.chop(1);
    return keys;
}

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

QByteArray oneOf(std::mt19937 &random, std::initializer_list<const char *> choices)
{
    return *(choices.begin() + std::uniform_int_distribution<int>(0, int(choices.size()) - 1)(random));
}

QByteArray randomKey(std::mt19937 &random)
{
    QByteArray key;
    for (int letters = std::uniform_int_distribution<int>(0, 3)(random); letters > 0; --letters)
        key += oneOf(random,
            {"a", "b", "\\u0061", "\\b", "\\n", "\\\\", "\\\"", "\\u000a", "\\c", "c", "}", "{", ":", ",", "\xc3\xa4",
                "\\u00E4", "\xf0\x9f\x98\x80", "\\ud83d", "\\ude00", "\xef\xbf\xbd", "\xe2\x82\xac", "\\u20aC"});
    return '"' + key + '"';
}

QByteArray randomValue(std::mt19937 &random, int depth)
{
    const QByteArray kind = oneOf(random, {"object", "object", "array", "value"});
    if (depth > 3 || kind == "value")
        return oneOf(random, {"1", "-2.5e3", "true", "null", "\"a\"", "\"\\\"a\\\": 1\"", "\" : \""});
    QByteArray json;
    for (int count = std::uniform_int_distribution<int>(0, 4)(random); count > 0; --count) {
        if (kind == "object")
            json += randomKey(random) + oneOf(random, {":", " : ", "\n:\t"});
        json += randomValue(random, depth + 1) + (count > 1 ? oneOf(random, {",", " , "}) : QByteArray());
    }
    return kind == "object" ? '{' + json + '}' : '[' + json + ']';
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
        QVERIFY(JsonHelper::fromJson(QByteArray("{\"\xc3\xa4\": 2}"), &settings));
        QCOMPARE(settings.property("\xc3\xa4"), QVariant(2.0));
    }

    // As a name it would end there, and be another key's.
    void aKeyWithANulNamesNoProperty()
    {
        const LogCapture log;
        Settings settings;

        QVERIFY(JsonHelper::fromJson(
            QByteArray("{\"objectName\": \"a\", \"objectName\\u0000x\": \"b\", \"amount\\u0000\": 8, \"\\u0000\": 1}"),
            &settings));

        QCOMPARE(settings.objectName(), QStringLiteral("a"));
        QCOMPARE(settings.amount(), 0);
        QVERIFY(settings.dynamicPropertyNames().isEmpty());
        QCOMPARE(log.warnings(), QStringList{QStringLiteral("keys of JSON that set nothing: 3")});
    }

    void unknownKeysMakeNoMorePropertiesThanMayBe()
    {
        constexpr int most = 4096;
        const auto unknown = [](int first, int count, const QByteArray &value) {
            QByteArray json = "{\"amount\": " + value;
            for (int i = first; i < first + count; ++i)
                json += ", \"_" + QByteArray::number(i) + "\": " + value;
            return json + ", \"ticks\": " + value + '}';
        };
        const LogCapture log;
        Settings settings;

        QVERIFY(JsonHelper::fromJson(unknown(0, most - 1, "1"), &settings));
        QCOMPARE(settings.dynamicPropertyNames().size(), most - 1);
        QCOMPARE(log.warnings(), QStringList());
        QVERIFY(JsonHelper::fromJson(unknown(most - 2, 10, "2"), &settings));

        QCOMPARE(settings.dynamicPropertyNames().size(), most);
        QCOMPARE(log.warnings(), QStringList{QStringLiteral("keys of JSON that set nothing: 8")});
        QCOMPARE(settings.amount(), 2);
        QCOMPARE(settings.ticks(), 2);
        QCOMPARE(settings.property("_4094"), QVariant(2.0)); // is known meanwhile
        QVERIFY(JsonHelper::fromJson(unknown(0, most, "3"), &settings));
        QCOMPARE(settings.property("_0"), QVariant(3.0));
        QCOMPARE(log.warnings().size(), 1);
        settings.setProperty("_4094", QVariant()); // takes it away
        QVERIFY(JsonHelper::fromJson(QByteArray("{\"other\": 1}"), &settings));
        QCOMPARE(settings.property("other"), QVariant(1.0)); // there is room again
    }

    void manyUnknownKeysTakeTimeLikeTheirNumber()
    {
        const LogCapture log;
        const auto seconds = [](int count) {
            const QJsonObject json = JsonHelper::parse('{' + manyKeys(count) + '}').object();
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                QObject target;
                const WorkTimer timer;
                JsonHelper::fromJson(json, &target);
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(10000);
        const double fourfoldTime = seconds(40000);

        QVERIFY2(fourfoldTime < 8 * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(fourfoldTime)));
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

    // Qt 5.15 loses the values of all of them but the last.
    void aKeyThatStandsTwiceIsRefused_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("offset");

        const auto row = [](const char *name, const QByteArray &data) {
            QTest::newRow(name) << data << int(data.indexOf('#'));
        };
        row("at once", "{\"amount\": 1, \"amount\": 2#}");
        row("objects", "{\"a\": {}, \"a\": {\"b\": []}#}");
        row("with others between", "{\"b\": [], \"a\": [1], \"c\": 0, \"a\": [2], \"d\": 0#}");
        row("deep within", "[0, {\"x\": [[{\"a\": 1, \"b\": {\"c\": 1, \"b\": 2, \"c\": [3]#}}]]}]");
        row("behind an object of the same keys", "[{\"a\": 1, \"b\": 2}, {\"a\": 1, \"a\": 2#}]");
        row("escaped", "{\"a\": 1, \"\\u0061\": 2#}");
        row("escaped otherwise", "{\"\\u0061\\n\\/\": 1, \"a\\u000A/\": 2#}");
        row("needlessly escaped", "{\"\\abc\": 1, \"abc\": 2#}");
        row("an escaped quote", "{\"a\\\"\": {}, \"a\\u0022\": {}#}");
        row("no letter at all", "{\"\": [], \"\": []#}");
        row("beyond ASCII", "{\"\xc3\xa4\": 1, \"\\u00E4\": 2#}");
        row("two units", "{\"\xf0\x9f\x98\x80\": 1, \"\\ud83d\\uDE00\": 2#}");
        row("a byte beyond ASCII behind a backslash, as Qt reads it", "{\"\\\xc3\": [], \"\\ud7bf\\udfc3\": []#}");
        row("half a letter", "{\"\\ud83d\": 1, \"\\uD83D\": 2#}");
        row("half a letter and its replacement", "{\"\\udc00\": [], \"\xef\xbf\xbd\": []#}");
        row("the wrong way round", "{\"\\ude00\\ud83d\": [], \"\\ude00\\ud83d\": []#}");
        row("blanks before the colon", "{\"a\" \t\r\n: [], \"a\"\n: []#}");
        row("behind a byte order mark", "\xef\xbb\xbf{\"a\": [], \"a\": []#}");
        row("before the text goes wrong", "{\"x\": {\"a\": [], \"a\": []#}, no}");
        row("before it ends", "[{\"a\": [], \"a\": []#}");
        row("the first of many again", '{' + manyKeys(1000) + ", \"0\": 1#}");
        row("one of many, escaped", '{' + manyKeys(1000) + ", \"\\u0034\": 1#}");
    }

    void aKeyThatStandsTwiceIsRefused()
    {
        QFETCH(const QByteArray, data);
        QFETCH(const int, offset);
        const QByteArray json = QByteArray(data).remove(offset, 1);
        const LogCapture log;
        Settings settings;

        QVERIFY(!JsonHelper::fromJson(json, &settings));

        QVERIFY(!settings.amount_dirty());
        QVERIFY(settings.dynamicPropertyNames().isEmpty());
        const QString warning =
            QStringLiteral("warning: JSON with a key that stands twice in its object, at byte %1").arg(offset);
        QCOMPARE(log.asText(), QStringList{warning} + notAnObject());
        QJsonParseError error{};
        QString reason;
        QVERIFY(JsonHelper::parse(json, &error, &reason).isNull());
        QCOMPARE(error.offset, offset);
        QCOMPARE(error.error, QJsonParseError::IllegalValue);
        QCOMPARE(reason, QStringLiteral("duplicate key"));
    }

    void keysThatOnlyLookAlikeAreRead_data()
    {
        QTest::addColumn<QByteArray>("data");

        const auto row = [](const QByteArray &data) { QTest::addRow("%s", data.constData()) << data; };
        row("{\"a\": {\"a\": {\"a\": 1}}, \"b\": [{\"a\": 1}, {\"a\": 2}]}");
        row("{\"b\": 1, \"a\": \"b\", \"c\": [\"a\", \"a\", \"b\"]}");
        row("{\"a\": \"\\\"a\\\": 1, \\\"a\\\": 2\"}");
        row("{\"b\": 1, \"a\": 2, \"\\\\u0061\": 3, \"A\": 4, \"a \": 5, \"\": 6, \"\\u0000\": 7}");
        row("{\"\\ud83d\": 1, \"\\ud83d\\ude00\": 2, \"\\ude00\\ud83d\": 3, \"?\": 4}");
        row("{\"ab\": 1, \"a\": {\"b\": 2}, \"abc\": 3}");
        row("{\"\\\xc3\": 1, \"\\uffc3\": 2}");
        row("{\"\xc3\xa4\": 1, \"\xc3\xb6\": 2, \"a\xcc\x88\": 3}");
        row("[]");
        row("\xef\xbb\xbf[{\"b\": 1, \"a\": 1}]");
        QTest::newRow("so many that hashes of 32 bits are not all different") << '{' + manyKeys(300000) + '}';
    }

    void keysThatOnlyLookAlikeAreRead()
    {
        QFETCH(const QByteArray, data);
        const LogCapture log;
        QJsonParseError error{};

        const QJsonDocument document = JsonHelper::parse(data, &error);

        QVERIFY(!document.isNull());
        QCOMPARE(document, QJsonDocument::fromJson(data));
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(log.asText(), QStringList());
    }

    void whatIsNoJsonIsToldAsQtTellsIt_data() { anythingElseIsRefused_data(); }

    void whatIsNoJsonIsToldAsQtTellsIt()
    {
        QFETCH(const QByteArray, data);
        QJsonParseError expected{};
        QJsonDocument::fromJson(data, &expected);
        QJsonParseError error{};

        QString reason;
        QCOMPARE(JsonHelper::parse(data, &error, &reason), QJsonDocument::fromJson(data));

        QCOMPARE(error.error, expected.error);
        QCOMPARE(reason, expected.error == QJsonParseError::NoError ? QString() : expected.errorString());
        if (error.error != QJsonParseError::DeepNesting) // which Qt counts from the inside
            QCOMPARE(error.offset, expected.offset);
    }

    void nestingGoesAsDeepAsWithQt()
    {
        for (const auto &[begin, end] : {std::pair<QByteArray, QByteArray>("[", "]"), {"{\"a\":", "}"}}) {
            const QByteArray inner = begin == "[" ? "" : "0";
            const QByteArray deepest = begin.repeated(1024) + inner + end.repeated(1024);
            QVERIFY(!JsonHelper::parse(deepest).isNull());
            QCOMPARE(JsonHelper::parse(deepest), QJsonDocument::fromJson(deepest));
            const QByteArray deeper = begin.repeated(1025) + inner + end.repeated(1025);
            QJsonParseError error{};
            QVERIFY(JsonHelper::parse(deeper, &error).isNull());
            QCOMPARE(error.error, QJsonParseError::DeepNesting);
            QVERIFY(QJsonDocument::fromJson(deeper).isNull());
        }
    }

    // However keys are written and mixed, exactly those are refused that the plain way finds twice.
    void anyTextIsJudgedAsThePlainWayDoes()
    {
        constexpr int count = 20000;
        const LogCapture log;
        int refused = 0;
        std::mt19937 random(1);
        for (int i = 0; i < count; ++i) {
            const QByteArray json = '[' + randomValue(random, 0) + ']';
            const bool isTwice = ReferenceJson::namesAKeyTwice(json);
            const QJsonDocument document = JsonHelper::parse(json);
            QVERIFY2(document.isNull() == isTwice, json.constData());
            if (!isTwice)
                QCOMPARE(document, QJsonDocument::fromJson(json));
            refused += isTwice ? 1 : 0;
        }
        QVERIFY2(refused > count / 10 && refused < count / 2, qPrintable(QString::number(refused)));
    }

    void whatIsRefusedLeavesNothingBehind()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizer has a heap of its own, and looks for leaks itself");
#endif
        constexpr std::size_t slack = 16384; // bytes
        const QByteArray json = "{\"x\": 1" + QByteArray(", \"a\": {\"b\": [1, 2, 3]}").repeated(100) + "}";
        const LogCapture log;
        Settings settings;
        const auto readMany = [&](int count) {
            for (int i = 0; i < count; ++i)
                JsonHelper::fromJson(json, &settings);
        };
        readMany(1);

        const std::size_t before = mallinfo2().uordblks;
        {
            const LogCapture thrownAway;
            readMany(100);
        }
        const std::size_t after = mallinfo2().uordblks;

        QVERIFY2(after < before + slack, qPrintable(QString::number(after - before)));
    }

    void manyKeysInAnyOrderTakeNotMuchMoreThanTheirNumber()
    {
        const auto seconds = [](int count) {
            QByteArray json = "{";
            for (int i = 0; i < count; ++i)
                json += '"' + QByteArray::number(i * 7919 % count) + QByteArray(i % 2 == 0 ? "\": 1," : "\\n\": 1,");
            json.chop(1);
            json += '}';
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                const WorkTimer timer;
                if (JsonHelper::parse(json).object().size() != count)
                    return -1.0;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(20000);
        const double fourfoldTime = seconds(80000);

        QVERIFY(time > 0 && fourfoldTime > 0);
        QVERIFY2(fourfoldTime < 9 * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(fourfoldTime)));
    }

    // Judged alone, without Qt's reading: the last key makes it end there.
    void theCheckOfManyKeysInAnyOrderTakesTimeLikeTheirNumber()
    {
        constexpr int few = 31250;
        constexpr int times = 32;
        const LogCapture log;
        const auto seconds = [](int count) {
            const QByteArray json = '{' + manyKeys(count) + ", \"0\": 1}";
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                const WorkTimer timer;
                if (!JsonHelper::parse(json).isNull())
                    return -1.0;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(few);
        const double longTime = seconds(times * few);

        QVERIFY(time > 0 && longTime > 0);
        QVERIFY2(longTime < 2 * times * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(longTime)));
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
