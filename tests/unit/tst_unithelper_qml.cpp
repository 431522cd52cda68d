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

class TestUnitHelperQml : public QObject
{
    Q_OBJECT

private:
    QQmlEngine mEngine;
    UnitHelper mUnits;
    QTimer mTimer;
    QSet<QString> mCalled;

    /// What String(expression) gives, or the error.
    QString evaluated(const QString &expression)
    {
        QQmlExpression script(mEngine.rootContext(), nullptr, QStringLiteral("String(%1)").arg(expression));
        const QString text = script.evaluate().toString();
        return script.hasError() ? script.error().toString() : text;
    }

    void noteCalls(const QString &expression)
    {
        static const QRegularExpression call(QStringLiteral("units\\.(\\w+)"));
        for (auto matches = call.globalMatch(expression); matches.hasNext();)
            mCalled.insert(matches.next().captured(1));
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

        const auto row = [](const char *expression, const char *expected) {
            QTest::newRow(expression) << QString::fromUtf8(expected);
        };
        row("units.toNsSkew(3)", "3.75");
        row("units.toDbSnr(3)", "0.30000001192092896");
        row("units.toRealVoltage(149)", "8");
        row("units.poePowerInWatts(155)", "15.5");
        row("units.degreeCelsiusToFahrenheit(100)", "212");
        row("units.feetToMetres(3.2808001041412354)", "1");
        row("units.metresToFeet(1)", "3.2808001041412354");
        row("units.mbpsToGbps(1500)", "1.5");
        row("units.gbpsToMbps(2.5)", "2500");
        row("units.gbpsToMbps(NaN)", "0");
        row("units.gbpsToMbps(Infinity)", "2147483647");
        row("units.gbpsToMbpsReal(2.5)", "2500");
        row("units.milliSecsToMicroSecs(1.5)", "1500");
        row("units.milliSecsToNanoSecs(1.5)", "1500000");
        row("units.microSecsToNanoSecs(1.5)", "1500");
        row("units.freqMHzToKHz(1.5)", "1500");
        row("units.toPercentUtilization(1000, 500000000)", "50");
        row("units.toPercentUtilization(0, 500000000)", "0");
        row("units.wifiSignalStrengthDBmToPercent(-60)", "50");
        row("units.roundToPrecision(1.25, 1)", "1.3");
        row("units.extractInt(0xF0, 4, 4)", "15");
        row("units.unitsOfMeasureCount(-1234567890123)", "13");
        row("units.numberOfDecimalValues(1.25, 7)", "2");
        row("units.toPercentageString(12.5, 2, true, true)", "12.5%");
        row("units.toOpticalPowerString(-12.344, 100)", "-12.34");
        row("units.toOpticalPowerString(100, 100)", "-");
        row("units.toOpticalTemperatureString(25, 100, true)", "77.00");
        row("units.toVoltageString(48)", "48V");
        row("units.toHexString(255)", "0x00FF");
        row("units.intToBinaryStr(5)", "00000000000000000000000000000101");
        row("units.toFormattedIntString(1234567)", "1234,567");
        row("units.formatDecimalValue(1.5, 2)", "1.50");
        row("units.formatDecimalValueWithMeasureCount(12.346, 2)", "12.35");
        row("units.formatBitsPerSecondDataRate(1500, 2)", "1.5 Kbps");
        row("units.formatBitsPerSecondDataRate(9007199254740991, 2)", "9007199 Gbps");
        row("units.bytesToReadable(1536, 1)", "1.5 kB");
        row("units.bytesToReadable(Math.pow(2, 50), 2)", "1024.00 TB");
        row("units.addHTMLColorString(1.5, 'red')", "<font color=\"red\">1.5</font>");
        row("units.addHTMLColorString(true, 'red')", "<font color=\"red\">true</font>");
        row("units.addHTMLColorString(undefined, 'red')", "<font color=\"red\"></font>");
        row("units.addHTMLBackgroundColorString('%1', '%2')", "<span style=\"background-color:%2;\">%1</span>");
        row("units.wrapFontAwesomeIconWithHtml('\\uf001')",
            "<font style=\"font-family:Font Awesome 5 Pro\">\uf001</font>");
        row("units.dateTimeToApiString(new Date(0))", "1970-01-01T00:00:00.000");
        row("units.dateTimeFromApiString('1970-01-01T00:00:01.000Z').getTime()", "1000");
        row("isNaN(units.dateTimeFromApiString('never'))", "true");
        row("Math.abs(units.getUtcTimestamp() - Date.now() / 1000) < 5", "true");
        row("units.utcTimestampToString(86400, 'yyyy-MM-dd hh:mm')", "1970-01-02 00:00");
        row("units.timeToString(new Date(2024, 0, 1, 1, 2, 3))", "01:02:03");
        row("units.timeToString(units.timeFromSeconds(3723))", "01:02:03");
        row("units.timeToString(units.timeFromSeconds(86400))", "00:00:00");
        row("units.timeToSeconds(units.timeFromSeconds(3723))", "3723");
        row("units.durationSecondsToString(3723)", "01:02:03");
        row("units.durationStringToSeconds('01:02:03')", "3723");
        row("units.remainingTimeString(timer)", "2 min");
        row("units.remainingTimeString(null)", "");
        row("units.remainingTimeString(units)", ""); // an object, but no timer

        // Of two overloads that differ in the type of a number, JavaScript always gets the one for reals.
        row("units.freqKHzToMHz(2412001)", "2412.001");
        row("units.freqKHzToMHz(2412001.5)", "2412.0015");
        row("units.valueBetweenMinMax(0.5, 0, 3)", "1.5");
        row("units.valueBetweenMinMax(0.5, 0.5, 3.5)", "2");
        row("units.scalarFromMinMaxUsingCurrent(1, 0, 4)", "0.25");
        row("units.scalarFromMinMaxUsingCurrent(1.5, 0.5, 4.5)", "0.25");
        // Of two that differ in the number of arguments, the one that is called.
        row("units.numericalValueToString(12.5)", "13");
        row("units.numericalValueToString(1234567890)", "1.23457E+09");
        row("units.numericalValueToString(12.5, 2)", "12.5");
        row("units.numericalValueToString(12, 2)", "12");
    }

    void everyFunctionAnswers()
    {
        const QString expression = QString::fromUtf8(QTest::currentDataTag());
        noteCalls(expression);
        const LogCapture log;

        QTEST(evaluated(expression), "expected");
        QCOMPARE(log.asText(), QStringList());
    }

    void noFunctionWasForgotten()
    {
        const QMetaObject &meta = UnitHelper::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QString name = QString::fromUtf8(meta.method(i).name());
            QVERIFY2(mCalled.contains(name), qPrintable(name));
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
