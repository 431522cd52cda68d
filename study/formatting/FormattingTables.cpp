// SPDX-License-Identifier: Apache-2.0
#include "study/formatting/FormattingTables.h"

const std::vector<FormattingSection> &formattingSections()
{
    using Values = std::vector<const char *>;
    static const Values reals{"0", "0.0000001", "0.000001", "0.00012", "0.5", "1/3", "0.99999", "1", "1.005", "9.995",
        "12.5", "100", "1234.5678", "123456.789", "-0.001", "-0.5", "-12.5", "-1234.5678", "999999999", "1e9", "1e15",
        "1e22", "1e300", "Infinity", "-Infinity", "NaN"};
    static const Values integers{"0", "1", "-1", "9", "10", "255", "999", "1000", "-123", "-1234", "12345", "1234567",
        "2147483647", "-2147483648"};
    static const Values counts{"0", "1", "999", "1000", "1023", "1024", "1500", "1536", "999499", "999999", "1000000",
        "1048575", "1048576", "1234567", "2500000", "999999999", "1e9", "2.5e9", "1e10", "Math.pow(2, 40)", "1e12",
        "Math.pow(2, 50)", "Math.pow(2, 53) - 1"};
    static const Values decimals{"0", "1", "2", "3", "6", "-1"};

    static const std::vector<FormattingSection> sections{
        {"Decimals",
            "A negative precision means 6, more than 100 mean 100. Texts in plain decimals have all digits in front\n"
            "of the point, however many: `1e300` has 301, of which the tables show the ends.",
            {
                {"formatDecimalValue($r, $c)", reals, decimals},
                {"formatDecimalValueWithMeasureCount($r, $c)", reals, decimals},
                {"numericalValueToString($r, $c)", reals, {"0", "1", "2", "3", "6", "7"}},
                {"numericalValueToString($r)",
                    {"0", "-5", "999999999", "1000000000", "-1234567890", "9007199254740991", "12.5", "NaN"}, {}},
                {"roundToPrecision($r, $c)", reals, {"0", "1", "2", "9", "10", "-1"}},
                {"numberOfDecimalValues($r, $c)", reals, {"0", "1", "2", "7"}},
            }},
        {"Percentages", "",
            {
                {"toPercentageString($r, $c, true, false)", reals, {"0", "1", "2"}},
                {"toPercentageString($r, $c, true, true)", reals, {"0", "1", "2"}},
                {"toPercentageString($r, 1, false, true)", {"0", "12.5", "100"}, {}},
                {"toPercentUtilization($c, $r)", {"0", "5e6", "5e8", "1e9", "1e10"},
                    {"0", "10", "100", "1000", "10000", "4294967295"}},
                {"wifiSignalStrengthDBmToPercent($r)",
                    {"0", "-10", "-20", "-20.5", "-55.5", "-60", "-100", "-101", "-110", "NaN", "Infinity",
                        "-Infinity"},
                    {}},
            }},
        {"Integers", "",
            {
                {"toFormattedIntString($r)", integers, {}},
                {"toHexString($r)", integers, {}},
                {"intToBinaryStr($r)", integers, {}},
                {"unitsOfMeasureCount($r)", integers, {}},
                {"extractInt($r, $c)", {"0", "255", "0xF0", "0x12345678", "-1", "-2147483648"},
                    {"0, 0", "0, 4", "4, 4", "0, 31", "0, 32", "1, 32", "30, 2", "30, 3", "31, 1", "32, 1", "-1, 4",
                        "0, -1"}},
            }},
        {"Rates and sizes", "Rates go in steps of 1000 and are cut to single precision; sizes go in steps of 1024.",
            {
                {"formatBitsPerSecondDataRate($r, $c)", counts, {"0", "1", "2", "3", "6"}},
                {"bytesToReadable($r, $c)", counts, {"0", "1", "2", "3"}},
                {"mbpsToGbps($r)", {"0", "1", "100", "1000", "2500", "2147483647", "-2147483648"}, {}},
                {"gbpsToMbps($r)",
                    {"0", "0.0019", "1", "2.5", "10", "-0.0019", "2147483", "1e300", "-1e300", "Infinity", "NaN"}, {}},
                {"gbpsToMbpsReal($r)", {"0", "0.0019", "1", "2.5", "1e300", "Infinity", "NaN"}, {}},
            }},
        {"Measured values", "`max` is the value from which on there is no reading.",
            {
                {"toOpticalPowerString($r, $c)",
                    {"-70", "-12.345", "-0.001", "0", "3.14159", "99.99", "99.995", "100", "Infinity", "NaN"}, {"100"}},
                {"toOpticalTemperatureString($r, 100, $c)", {"-40", "0", "25", "36.6", "99.99", "100", "NaN"},
                    {"false", "true"}},
                {"degreeCelsiusToFahrenheit($r)", {"-273.15", "-40", "0", "25", "37.5", "100", "NaN"}, {}},
                {"toVoltageString($r)", {"0", "48", "-48", "2147483647", "-2147483648"}, {}},
                {"toRealVoltage($r)", {"0", "149", "150", "399", "400", "999", "1000", "-19", "32767", "-32768"}, {}},
                {"poePowerInWatts($r)", {"0", "1", "155", "650", "651", "654", "655", "65535"}, {}},
                {"toDbSnr($r)", {"-128", "-127", "-1", "0", "3", "255", "2147483647"}, {}},
                {"toNsSkew($r)", {"0", "1", "3", "-3", "16777217", "2147483647"}, {}},
                {"feetToMetres($r)", {"0", "1", "100", "1e300", "NaN"}, {}},
                {"metresToFeet($r)", {"0", "1", "100", "1e300", "NaN"}, {}},
                {"freqKHzToMHz($r)", {"0", "1", "2412000", "2412001", "5825000.5", "1e300"}, {}},
                {"freqMHzToKHz($r)", {"0", "1", "2412", "5825.5", "1e300"}, {}},
                {"milliSecsToMicroSecs($r)", {"0", "1.5", "-1", "1e300"}, {}},
                {"milliSecsToNanoSecs($r)", {"0", "1.5", "-1", "1e300"}, {}},
                {"microSecsToNanoSecs($r)", {"0", "1.5", "-1", "1e300"}, {}},
            }},
        {"Scales", "",
            {
                {"valueBetweenMinMax($r, $c)", {"0", "0.25", "0.5", "1", "2", "-1", "NaN"},
                    {"0, 3", "10, 20", "20, 10", "-1.5, 1.5"}},
                {"scalarFromMinMaxUsingCurrent($r, $c)", {"-1", "0", "5", "10", "15", "20", "25", "NaN"},
                    {"0, 20", "10, 20", "20, 10", "10, 10"}},
            }},
        {"HTML", "Nothing is escaped.",
            {
                {"addHTMLColorString($r, $c)", {"12", "1.5", "true", "'<b>'", "'%1'", "undefined"}, {"'red'", "'%2'"}},
                {"addHTMLBackgroundColorString($r, 'red')", {"12", "'text'"}, {}},
                {"wrapFontAwesomeIconWithHtml($r)", {"''", "'text'", "'\\uf000'", "'a\\uf001b'", "'\\uf001\\uf002'"},
                    {}},
            }},
        {"Dates, times, durations",
            "The table is made in the time zone UTC. Dates that reach JavaScript are shown by `toISOString()`.",
            {
                {"dateTimeToApiString($r)", {"new Date(0)", "new Date(2024, 1, 29, 1, 2, 3, 4)", "new Date(NaN)"}, {}},
                {"dateTimeFromApiString($r)",
                    {"'1970-01-01T00:00:00.000'", "'2024-02-29T01:02:03.004Z'", "'2024-02-29T01:02:03.004+01:00'",
                        "'2024-02-30T00:00:00.000'", "''"},
                    {}},
                {"getUtcTimestamp() > $r", {"1700000000"}, {}},
                {"utcTimestampToString($r, $c)", {"0", "-1", "1709168523"}, {"'yyyy-MM-dd hh:mm:ss'", "'d MMM'", "''"}},
                {"timeToString($r)", {"new Date(2024, 0, 1, 1, 2, 3)", "new Date(NaN)"}, {}},
                {"timeToString(units.timeFromSeconds($r))",
                    {"0", "3723", "86399", "86400", "-1", "2147483647", "-2147483648"}, {}},
                {"timeToSeconds(units.timeFromSeconds($r))",
                    {"0", "3723", "86399", "86400", "-1", "2147483647", "-2147483648"}, {}},
                {"durationSecondsToString($r)",
                    {"0", "59", "60", "3723", "86400", "360000", "2147483647", "-1", "-2147483648"}, {}},
                {"durationStringToSeconds($r)",
                    {"'00:00:00'", "'01:02:03'", "'1:02:03'", "'00:99:00'", "'100:00:00'", "'596523:14:07'",
                        "'596523:14:08'", "'01:02'", "'01:02:03:04'", "':01:02:03:'", "'x01:02:03'", "''"},
                    {}},
                {"remainingTimeString($r)",
                    {"timerOf(0.9)", "timerOf(59.9)", "timerOf(60.9)", "timerOf(125.5)", "null"}, {}},
            }},
    };
    return sections;
}
