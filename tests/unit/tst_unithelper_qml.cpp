// SPDX-License-Identifier: Apache-2.0
// What a page gets that calls UnitHelper from JavaScript.
#include "Helpers/UnitHelper.h"
#include "LogCapture.h"

#include <QMetaMethod>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest>

namespace {
struct Call
{
    const char *expression;
    const char *expected; ///< as String() shows it
};

constexpr Call calls[] = {
    {"units.toNsSkew(3)", "3.75"},
    {"units.toDbSnr(3)", "0.30000001192092896"},
    {"units.toRealVoltage(149)", "8"},
    {"units.poePowerInWatts(155)", "15.5"},
    {"units.degreeCelsiusToFahrenheit(100)", "212"},
    {"units.feetToMetres(3.2808001041412354)", "1"},
    {"units.metresToFeet(1)", "3.2808001041412354"},
    {"units.mbpsToGbps(1500)", "1.5"},
    {"units.gbpsToMbps(2.5)", "2500"},
    {"units.gbpsToMbps(NaN)", "0"},
    {"units.gbpsToMbps(Infinity)", "2147483647"},
    {"units.gbpsToMbpsReal(2.5)", "2500"},
    {"units.milliSecsToMicroSecs(1.5)", "1500"},
    {"units.milliSecsToNanoSecs(1.5)", "1500000"},
    {"units.microSecsToNanoSecs(1.5)", "1500"},
    {"units.freqMHzToKHz(1.5)", "1500"},
    {"units.toPercentUtilization(1000, 500000000)", "50"},
    {"units.toPercentUtilization(0, 500000000)", "0"},
    {"units.wifiSignalStrengthDBmToPercent(-60)", "50"},
    {"units.roundToPrecision(1.25, 1)", "1.3"},
    {"units.extractInt(0xF0, 4, 4)", "15"},
    {"units.unitsOfMeasureCount(-1234567890123)", "13"},
    {"units.numberOfDecimalValues(1.25, 7)", "2"},
    {"units.toPercentageString(12.5, 2, true, true)", "12.5%"},
    {"units.toOpticalPowerString(-12.344, 100)", "-12.34"},
    {"units.toOpticalPowerString(100, 100)", "-"},
    {"units.toOpticalTemperatureString(25, 100, true)", "77.00"},
    {"units.toVoltageString(48)", "48V"},
    {"units.toHexString(255)", "0x00FF"},
    {"units.intToBinaryStr(5)", "00000000000000000000000000000101"},
    {"units.toFormattedIntString(1234567)", "1234,567"},
    {"units.formatDecimalValue(1.5, 2)", "1.50"},
    {"units.formatDecimalValueWithMeasureCount(12.346, 2)", "12.35"},
    {"units.formatBitsPerSecondDataRate(1500, 2)", "1.5 Kbps"},
    {"units.formatBitsPerSecondDataRate(9007199254740991, 2)", "9007199 Gbps"},
    {"units.bytesToReadable(1536, 1)", "1.5 kB"},
    {"units.bytesToReadable(Math.pow(2, 50), 2)", "1024.00 TB"},
    {"units.addHTMLColorString(1.5, 'red')", "<font color=\"red\">1.5</font>"},
    {"units.addHTMLColorString(true, 'red')", "<font color=\"red\">true</font>"},
    {"units.addHTMLColorString(undefined, 'red')", "<font color=\"red\"></font>"},
    {"units.addHTMLBackgroundColorString('%1', '%2')", "<span style=\"background-color:%2;\">%1</span>"},
    {"units.wrapFontAwesomeIconWithHtml('\\uf001')", "<font style=\"font-family:Font Awesome 5 Pro\">\uf001</font>"},
    {"units.dateTimeToApiString(new Date(0))", "1970-01-01T00:00:00.000"},
    {"units.dateTimeFromApiString('1970-01-01T00:00:01.000Z').getTime()", "1000"},
    {"isNaN(units.dateTimeFromApiString('never'))", "true"},
    {"Math.abs(units.getUtcTimestamp() - Date.now() / 1000) < 5", "true"},
    {"units.utcTimestampToString(86400, 'yyyy-MM-dd hh:mm')", "1970-01-02 00:00"},
    {"units.timeToString(new Date(2024, 0, 1, 1, 2, 3))", "01:02:03"},
    {"units.timeToString(units.timeFromSeconds(3723))", "01:02:03"},
    {"units.timeToString(units.timeFromSeconds(86400))", "00:00:00"},
    {"units.timeToSeconds(units.timeFromSeconds(3723))", "3723"},
    {"units.durationSecondsToString(3723)", "01:02:03"},
    {"units.durationStringToSeconds('01:02:03')", "3723"},
    {"units.remainingTimeString(timer)", "2 min"},
    {"units.remainingTimeString(null)", ""},
    {"units.remainingTimeString(units)", ""}, // an object, but no timer
    // Of two overloads that differ in the type of a number, JavaScript always gets the one for reals.
    {"units.freqKHzToMHz(2412001)", "2412.001"},
    {"units.freqKHzToMHz(2412001.5)", "2412.0015"},
    {"units.valueBetweenMinMax(0.5, 0, 3)", "1.5"},
    {"units.valueBetweenMinMax(0.5, 0.5, 3.5)", "2"},
    {"units.scalarFromMinMaxUsingCurrent(1, 0, 4)", "0.25"},
    {"units.scalarFromMinMaxUsingCurrent(1.5, 0.5, 4.5)", "0.25"},
    // Of two that differ in the number of arguments, the one that is called.
    {"units.numericalValueToString(12.5)", "13"},
    {"units.numericalValueToString(1234567890)", "1.23457E+09"},
    {"units.numericalValueToString(12.5, 2)", "12.5"},
    {"units.numericalValueToString(12, 2)", "12"},
};

/// The functions of UnitHelper that an expression calls.
QSet<QString> functionsIn(const QString &expression)
{
    static const QRegularExpression call(QStringLiteral("units\\.(\\w+)"));
    QSet<QString> names;
    for (auto matches = call.globalMatch(expression); matches.hasNext();)
        names.insert(matches.next().captured(1));
    return names;
}
} // namespace

class TestUnitHelperQml : public QObject
{
    Q_OBJECT

private:
    QQmlEngine mEngine;
    UnitHelper mUnits;
    QTimer mTimer;

    /// What String(expression) gives, or the error.
    QString evaluated(const QString &expression)
    {
        QQmlExpression script(mEngine.rootContext(), nullptr, QStringLiteral("String(%1)").arg(expression));
        const QString text = script.evaluate().toString();
        return script.hasError() ? script.error().toString() : text;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        tzset();
        mTimer.setSingleShot(true);
        mTimer.start(125500);
        mEngine.rootContext()->setContextProperty(QStringLiteral("units"), &mUnits);
        mEngine.rootContext()->setContextProperty(QStringLiteral("timer"), &mTimer);
    }

    void everyFunctionAnswers_data()
    {
        QTest::addColumn<QString>("expected");

        for (const Call &call : calls)
            QTest::newRow(call.expression) << QString::fromUtf8(call.expected);
    }

    void everyFunctionAnswers()
    {
        const QString expression = QString::fromUtf8(QTest::currentDataTag());
        const LogCapture log;

        QTEST(evaluated(expression), "expected");
        QCOMPARE(log.asText(), QStringList());
    }

    void noFunctionWasForgotten()
    {
        QSet<QString> called;
        for (const Call &call : calls)
            called += functionsIn(QString::fromUtf8(call.expression));

        const QMetaObject &meta = UnitHelper::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QString name = QString::fromUtf8(meta.method(i).name());
            QVERIFY2(called.contains(name), qPrintable(name));
        }
    }

    void warningsReachTheLogFromQml()
    {
        QTest::ignoreMessage(QtWarningMsg, "Wrong duration format \"1:02:03\"");
        QCOMPARE(evaluated(QStringLiteral("units.durationStringToSeconds('1:02:03')")), QStringLiteral("-1"));
    }
};

QTEST_GUILESS_MAIN(TestUnitHelperQml)
#include "tst_unithelper_qml.moc"
