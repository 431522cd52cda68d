// SPDX-License-Identifier: Apache-2.0
#include "Helpers/QObjectHelper.h"
#include "LogCapture.h"
#include "Property.h"

#include <QPointF>
#include <QQmlEngine>
#include <QtTest>

#include <limits>
#include <type_traits>

using Call = void (*)();
Q_DECLARE_METATYPE(Call)

class Plain : public QObject
{
    Q_OBJECT
};

class Reading : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, title, {})
    VANTOR_PROPERTY(int, amount, 0)
    VANTOR_PROPERTY(QPointF, place, {})
    VANTOR_PROPERTY(double, level, 0)
};

class DatedReading : public Reading
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, date, {})
};

// The same places as in Reading, other types.
class Stranger : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(int, number, 0)
    VANTOR_PROPERTY(QString, text, {})
    VANTOR_PROPERTY(QPointF, corner, {})
};

class Sealed : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(int, before, 0)
    Q_PROPERTY(int fixed READ fixed CONSTANT)
    Q_PROPERTY(int after READ after WRITE setAfter NOTIFY afterChanged)

public:
    int fixed() const { return 7; }
    int after() const { return mAfter; }
    void setAfter(int value)
    {
        mAfter = value;
        Q_EMIT afterChanged();
    }
    Q_SIGNAL void afterChanged();

private:
    int mAfter = 0;
};

namespace {
QStringList noObject()
{
    return {QStringLiteral("warning: Object can't be null")};
}

QStringList noPair()
{
    return {QStringLiteral("warning: source nor target can be null")};
}

void fill(Reading &reading)
{
    reading.set_title(QStringLiteral("port 3"));
    reading.set_amount(42);
    reading.set_place({1.5, -2});
    reading.set_level(0.25);
}

struct Origin
{
    QtMsgType level = QtDebugMsg;
    QByteArray file;
    QByteArray function;
    int line = 0;
};

Origin &lastOrigin()
{
    static Origin origin;
    return origin;
}

void keepOrigin(QtMsgType level, const QMessageLogContext &context, const QString & /*text*/)
{
    lastOrigin() = {level, context.file, context.function, context.line};
}
} // namespace

class TestQObjectHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thereAreNoInstances() { QVERIFY(!std::is_default_constructible_v<QObjectHelper>); }

    void anObjectWithoutPropertiesIsAnEmptyRecord()
    {
        const LogCapture log;
        Plain object;
        Plain other;
        object.setObjectName(QStringLiteral("the one"));
        object.setProperty("dynamic", 1);

        QCOMPARE(QObjectHelper::propertyNames(&object), QStringList());
        QCOMPARE(QObjectHelper::propertyCount(&object), 0);
        QVERIFY(QObjectHelper::properties(&object).isEmpty());
        QCOMPARE(QObjectHelper::toString(&object), QString());
        QVERIFY(QObjectHelper::equal(&object, &other));
        QVERIFY(QObjectHelper::reassign(&object, &other));
        QVERIFY(QObjectHelper::reassign(QVector<QVariant>(), &other));
        QCOMPARE(other.objectName(), QString());
        QCOMPARE(log.asText(), QStringList());
    }

    void namesComeInTheOrderOfDeclarationInheritedFirst()
    {
        const DatedReading reading;

        QCOMPARE(QObjectHelper::propertyNames(&reading),
            (QStringList{QStringLiteral("title"), QStringLiteral("amount"), QStringLiteral("place"),
                QStringLiteral("level"), QStringLiteral("date")}));
        QCOMPARE(QObjectHelper::propertyCount(&reading), 5);
    }

    void theMostDerivedClassCounts()
    {
        const DatedReading reading;
        const QObject *const asObject = &reading;

        QCOMPARE(QObjectHelper::propertyCount(asObject), 5);
    }

    void propertiesHoldTheValuesByName()
    {
        Reading reading;
        fill(reading);
        reading.setObjectName(QStringLiteral("left out"));

        QCOMPARE(QObjectHelper::properties(&reading),
            (QVariantHash{{QStringLiteral("title"), QStringLiteral("port 3")}, {QStringLiteral("amount"), 42},
                {QStringLiteral("place"), QPointF(1.5, -2)}, {QStringLiteral("level"), 0.25}}));
    }

    void propertyValueCountsFromTheFirstDeclaredOne_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QVariant>("value");

        QTest::newRow("first") << 0 << QVariant(QStringLiteral("port 3"));
        QTest::newRow("second") << 1 << QVariant(42);
        QTest::newRow("last") << 3 << QVariant(0.25);
        QTest::newRow("behind the last") << 4 << QVariant();
        QTest::newRow("-1 is not the object's name") << -1 << QVariant();
        QTest::newRow("-2") << -2 << QVariant();
        QTest::newRow("highest") << std::numeric_limits<int>::max() << QVariant();
        QTest::newRow("lowest") << std::numeric_limits<int>::min() << QVariant();
    }

    void propertyValueCountsFromTheFirstDeclaredOne()
    {
        QFETCH(const int, index);
        QFETCH(const QVariant, value);
        Reading reading;
        fill(reading);
        reading.setObjectName(QStringLiteral("left out"));

        const QVariant read = QObjectHelper::propertyValue(&reading, index);

        QCOMPARE(read.isValid(), value.isValid());
        QCOMPARE(read, value);
    }

    void noObjectGivesNothingAndAWarning()
    {
        LogCapture log;
        QCOMPARE(QObjectHelper::propertyNames(nullptr), QStringList());
        QCOMPARE(log.asText(), noObject());

        log.clear();
        QVERIFY(QObjectHelper::properties(nullptr).isEmpty());
        QCOMPARE(log.asText(), noObject());

        log.clear();
        QCOMPARE(QObjectHelper::propertyCount(nullptr), 0);
        QCOMPARE(log.asText(), noObject());

        log.clear();
        QVERIFY(!QObjectHelper::propertyValue(nullptr, 0).isValid());
        QCOMPARE(log.asText(), noObject());

        log.clear();
        QVERIFY(!QObjectHelper::reassign(QVector<QVariant>{1}, nullptr));
        QCOMPARE(log.asText(), noObject());
    }

    void noObjectPrintsAsNothingWithoutAWarning()
    {
        const LogCapture log;

        QCOMPARE(QObjectHelper::toString(static_cast<const QObject *>(nullptr)), QString());
        QCOMPARE(log.asText(), QStringList());
    }

    void copyingAndComparingNeedBothObjects_data()
    {
        QTest::addColumn<bool>("hasSource");
        QTest::addColumn<bool>("hasTarget");

        QTest::newRow("no source") << false << true;
        QTest::newRow("no target") << true << false;
        QTest::newRow("neither") << false << false;
    }

    void copyingAndComparingNeedBothObjects()
    {
        QFETCH(const bool, hasSource);
        QFETCH(const bool, hasTarget);
        LogCapture log;
        Reading source;
        Reading target;

        QVERIFY(!QObjectHelper::equal(hasSource ? &source : nullptr, hasTarget ? &target : nullptr));
        QCOMPARE(log.asText(), noPair());

        log.clear();
        QVERIFY(!QObjectHelper::reassign(hasSource ? &source : nullptr, hasTarget ? &target : nullptr));
        QCOMPARE(log.asText(), noPair());
    }

    void warningsTellFileLineAndFunction_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<QByteArray>("function");

        const auto row = [](const char *function, Call call) {
            QTest::newRow(function) << call << QByteArray(function);
        };
        row("QObjectHelper::propertyNames(", [] { QObjectHelper::propertyNames(nullptr); });
        row("QObjectHelper::properties(", [] { QObjectHelper::properties(nullptr); });
        row("QObjectHelper::reassign(const QObject", [] { QObjectHelper::reassign(nullptr, nullptr); });
        row("QObjectHelper::reassign(const QVector", [] {
            Plain plain;
            QObjectHelper::reassign(QVector<QVariant>{1}, &plain);
        });
        row("QObjectHelper::equal(", [] { QObjectHelper::equal(nullptr, nullptr); });
    }

    void warningsTellFileLineAndFunction()
    {
        QFETCH(const Call, call);
        QFETCH(const QByteArray, function);
        lastOrigin() = {};

        const QtMessageHandler handler = qInstallMessageHandler(&keepOrigin);
        call();
        qInstallMessageHandler(handler);

        QCOMPARE(lastOrigin().level, QtWarningMsg);
        QVERIFY2(lastOrigin().file.endsWith("QObjectHelper.cpp"), lastOrigin().file.constData());
        QVERIFY(lastOrigin().line > 0);
        QVERIFY2(lastOrigin().function.contains(function), lastOrigin().function.constData());
    }

    void reassignCopiesEveryPropertyButTheName()
    {
        Reading source;
        fill(source);
        source.setObjectName(QStringLiteral("source"));
        Reading target;
        target.setObjectName(QStringLiteral("target"));

        QVERIFY(QObjectHelper::reassign(&source, &target));

        QCOMPARE(QObjectHelper::properties(&target), QObjectHelper::properties(&source));
        QCOMPARE(target.objectName(), QStringLiteral("target"));
        QVERIFY(target.amount_dirty());
    }

    void reassignTakesADerivedTarget()
    {
        Reading source;
        fill(source);
        DatedReading target;
        target.set_date(QStringLiteral("today"));

        QVERIFY(QObjectHelper::reassign(&source, &target));

        QVERIFY(QObjectHelper::equal(&source, &target));
        QCOMPARE(target.date(), QStringLiteral("today"));
    }

    void reassignCopiesWhatABaseHas()
    {
        DatedReading source;
        fill(source);
        source.set_date(QStringLiteral("today"));
        Reading target;

        QVERIFY(QObjectHelper::reassign(&source, &target));

        QCOMPARE(target.title(), QStringLiteral("port 3"));
        QCOMPARE(target.level(), 0.25);
    }

    void reassignPassesOverWhatCannotBeWritten()
    {
        Sealed source;
        source.set_before(1);
        source.setAfter(3);
        Sealed target;

        QVERIFY(QObjectHelper::reassign(&source, &target));

        QCOMPARE(target.before(), 1);
        QCOMPARE(target.fixed(), 7);
        QCOMPARE(target.after(), 3);
    }

    void reassignToAnUnrelatedClassCopiesWhatIsOfOneType()
    {
        Reading source;
        fill(source);
        Stranger target;
        target.set_number(9);
        target.set_text(QStringLiteral("kept"));

        QVERIFY(QObjectHelper::reassign(&source, &target));

        QCOMPARE(target.number(), 9);
        QCOMPARE(target.text(), QStringLiteral("kept"));
        QCOMPARE(target.corner(), QPointF(1.5, -2));
        QVERIFY(target.dynamicPropertyNames().isEmpty());
    }

    void reassignToItselfChangesNothing()
    {
        Reading reading;
        fill(reading);
        const QVariantHash before = QObjectHelper::properties(&reading);

        QVERIFY(QObjectHelper::reassign(&reading, &reading));

        QCOMPARE(QObjectHelper::properties(&reading), before);
    }

    void valuesAreWrittenByPosition()
    {
        const LogCapture log;
        Reading reading;
        reading.setObjectName(QStringLiteral("kept"));

        QVERIFY(QObjectHelper::reassign(
            QVector<QVariant>{QStringLiteral("port 4"), QStringLiteral("17"), QPointF(3, 4), 1}, &reading));

        QCOMPARE(reading.title(), QStringLiteral("port 4"));
        QCOMPARE(reading.amount(), 17);
        QCOMPARE(reading.place(), QPointF(3, 4));
        QCOMPARE(reading.level(), 1.0);
        QCOMPARE(reading.objectName(), QStringLiteral("kept"));
        QCOMPARE(log.asText(), QStringList());
    }

    void aWrongNumberOfValuesChangesNothing_data()
    {
        QTest::addColumn<int>("count");

        QTest::newRow("none") << 0;
        QTest::newRow("one too few") << 3;
        QTest::newRow("one too many") << 5;
    }

    void aWrongNumberOfValuesChangesNothing()
    {
        QFETCH(const int, count);
        const LogCapture log;
        Reading reading;

        QVERIFY(!QObjectHelper::reassign(QVector<QVariant>(count, QStringLiteral("1")), &reading));

        QCOMPARE(reading.title(), QString());
        QVERIFY(!reading.title_dirty() && !reading.amount_dirty());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: property count doesn't match %1 4").arg(count)});
    }

    void valuesBeforeOneThatDoesNotFitAreWritten()
    {
        Reading reading;
        fill(reading);

        QVERIFY(!QObjectHelper::reassign(
            QVector<QVariant>{QStringLiteral("new"), QStringLiteral("no number"), QPointF(9, 9), 9}, &reading));

        QCOMPARE(reading.title(), QStringLiteral("new"));
        QCOMPARE(reading.amount(), 42);
        QCOMPARE(reading.place(), QPointF(1.5, -2));
        QCOMPARE(reading.level(), 0.25);
    }

    void valuesStopAtAReadOnlyProperty()
    {
        Sealed target;

        QVERIFY(!QObjectHelper::reassign(QVector<QVariant>{1, 7, 3}, &target));

        QCOMPARE(target.before(), 1);
        QCOMPARE(target.after(), 0);
    }

    void equalComparesEveryPropertyButTheName()
    {
        Reading source;
        Reading target;
        fill(source);
        fill(target);
        source.setObjectName(QStringLiteral("source"));
        source.setProperty("dynamic", 1);
        QVERIFY(QObjectHelper::equal(&source, &target));

        target.set_title(QStringLiteral("other"));
        QVERIFY(!QObjectHelper::equal(&source, &target));
        fill(target);
        target.set_level(0.5);
        QVERIFY(!QObjectHelper::equal(&source, &target));
        fill(target);
        target.set_place({});
        QVERIFY(!QObjectHelper::equal(&source, &target));
    }

    void equalLooksAtTheSourcesPropertiesOnly()
    {
        Reading source;
        DatedReading target;
        target.set_date(QStringLiteral("today"));

        QVERIFY(QObjectHelper::equal(&source, &target));
        QVERIFY(QObjectHelper::equal(&source, &source));
        QVERIFY(QObjectHelper::equal(std::make_unique<Plain>().get(), &target));
    }

    void unrelatedClassesDiffer()
    {
        Reading reading;
        Stranger stranger;
        Plain plain;

        QVERIFY(!QObjectHelper::equal(&reading, &stranger));
        QVERIFY(!QObjectHelper::equal(&stranger, &reading));
        QVERIFY(!QObjectHelper::equal(&reading, &plain));
    }

    void theOwnerForQmlIsSet()
    {
        QObject object;

        QObjectHelper::ownByCpp(&object);
        QCOMPARE(QQmlEngine::objectOwnership(&object), QQmlEngine::CppOwnership);
        QObjectHelper::ownByQml(&object);
        QCOMPARE(QQmlEngine::objectOwnership(&object), QQmlEngine::JavaScriptOwnership);
        QObjectHelper::ownByCpp(nullptr);
        QObjectHelper::ownByQml(nullptr);
    }

    // The order of the lines is that of the hash: another one in each run.
    void toStringHasALineForEachProperty()
    {
        Reading reading;
        fill(reading);
        reading.set_title(QStringLiteral("%1 %2"));

        const QString text = QObjectHelper::toString(&reading);

        QVERIFY(text.endsWith(QLatin1Char('\n')));
        QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        lines.sort();
        QCOMPARE(lines,
            (QStringList{QStringLiteral("amount: 42"), QStringLiteral("level: 0.25"), QStringLiteral("place: "),
                QStringLiteral("title: %1 %2")}));
    }

    void toStringFollowsTheOrderOfTheHash()
    {
        Reading reading;
        fill(reading);
        QString expected;
        const QVariantHash values = QObjectHelper::properties(&reading);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            expected += value.key() + QStringLiteral(": ") + value->toString() + QLatin1Char('\n');

        QCOMPARE(QObjectHelper::toString(&reading), expected);
    }

    void toStringOfSeveralSeparatesThem()
    {
        const LogCapture log;
        Plain plain;
        Sealed sealed;
        const QString separator = QStringLiteral("\n=========\n");
        const QString text = QObjectHelper::toString(&sealed);

        QCOMPARE(QObjectHelper::toString(QVector<QObject *>{&sealed, nullptr, &plain, &sealed}),
            text + separator + separator + text + separator);
        QCOMPARE(QObjectHelper::toString(QVector<QObject *>{nullptr, nullptr}), QString());
        QCOMPARE(QObjectHelper::toString(QVector<QObject *>()), QString());
        QCOMPARE(log.asText(), QStringList());
    }

    void numbersAreListedInParentheses()
    {
        QCOMPARE(QObjectHelper::intVectorToString({}), QStringLiteral("()"));
        QCOMPARE(QObjectHelper::intVectorToString({-5}), QStringLiteral("(-5)"));
        QCOMPARE(QObjectHelper::intVectorToString({1, 2, 3}), QStringLiteral("(1,2,3)"));
        QCOMPARE(
            QObjectHelper::intVectorToString({std::numeric_limits<int>::min(), 0, std::numeric_limits<int>::max()}),
            QStringLiteral("(-2147483648,0,2147483647)"));
    }

    void textsAreListedInQuotes_data()
    {
        QTest::addColumn<QVector<QString>>("values");
        QTest::addColumn<QString>("text");

        QTest::newRow("none") << QVector<QString>{} << QStringLiteral("()");
        QTest::newRow("an empty one") << QVector<QString>{QString()} << QStringLiteral("('')");
        QTest::newRow("two") << QVector<QString>{QStringLiteral("a"), QStringLiteral("b")}
                             << QStringLiteral("('a','b')");
        QTest::newRow("a comma within") << QVector<QString>{QStringLiteral("a,b")} << QStringLiteral("('a,b')");
        QTest::newRow("a comma at the end")
            << QVector<QString>{QStringLiteral("a,"), QStringLiteral(",")} << QStringLiteral("('a,',',')");
        QTest::newRow("quotes stay") << QVector<QString>{QStringLiteral("it's")} << QStringLiteral("('it's')");
        QTest::newRow("place holders") << QVector<QString>{QStringLiteral("%1"), QStringLiteral("%2")}
                                       << QStringLiteral("('%1','%2')");
        QTest::newRow("letters of all kinds")
            << QVector<QString>{QStringLiteral("\u00e4\u4e16")} << QStringLiteral("('\u00e4\u4e16')");
    }

    void textsAreListedInQuotes()
    {
        QFETCH(const QVector<QString>, values);
        QFETCH(const QString, text);

        QCOMPARE(QObjectHelper::stringVectorToString(values), text);
    }
};

QTEST_GUILESS_MAIN(TestQObjectHelper)
#include "tst_qobjecthelper.moc"
