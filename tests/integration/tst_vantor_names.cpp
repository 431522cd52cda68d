// SPDX-License-Identifier: Apache-2.0
#include "ProgramRun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {
enum ExitCode : int { Printed = 0, RuleBroken = 1, WrongUsage = 64, NotWritten = 74 };

struct Outcome
{
    int exitCode = -1;
    QString output;
    QString errors;
};

Outcome run(const QStringList &arguments, const QString &outputFile = {})
{
    const ProgramRun run =
        ProgramRun::of(QStringLiteral(VANTOR_NAMES_PROGRAM), arguments, [&outputFile](ChildProcess &program) {
            if (!outputFile.isEmpty())
                program.setStandardOutputFile(outputFile);
        });
    return {run.exitCode, QString::fromUtf8(run.output), QString::fromUtf8(run.errors)};
}

/// Arguments are separated by blanks; '' is an empty one.
QStringList split(const char *text)
{
    QStringList arguments = QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return arguments.replaceInStrings(QStringLiteral("''"), QString());
}
} // namespace

class TestVantorNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesArePrinted_data()
    {
        QTest::addColumn<QString>("names");

        const auto row = [](const char *arguments, const char *names) {
            QTest::newRow(arguments) << QString::fromUtf8(names);
        };
        row("A1 B3", "A1 A2 A3 B1 B2 B3");
        row("Cable-08 Cable-11", "Cable-08 Cable-09 Cable-10 Cable-11");
        row("--prefix P- A1 A2", "P-A1 P-A2");
        row("--prefix 100%2- A1 A1", "100%2-A1");
        row("--max 2 A1 A2", "A1 A2");
        row("Ä1 Ä2", "Ä1 Ä2");
        row("-- -1 -2", "-1 -2");
        row("x7 x7 --max 0", "x7");
    }

    void namesArePrinted()
    {
        const Outcome outcome = run(split(QTest::currentDataTag()));

        QCOMPARE(outcome.exitCode, int(Printed));
        QCOMPARE(outcome.errors, QString());
        QTEST(outcome.output.trimmed().replace(QLatin1Char('\n'), QLatin1Char(' ')), "names");
    }

    void aBrokenRuleIsNamed_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("sentence");

        const auto row = [](const char *arguments, const char *error, int column, const char *sentence) {
            QTest::newRow(arguments) << QString::fromUtf8(error) << column << QString::fromUtf8(sentence);
        };
        row("'' ''", "EmptyFromAndToStrings", 0, "both names are empty");
        row("A1 A10", "FromToLengthMismatch", 0,
            "the names must be of the same length, but \"A1\" has 2 characters and \"A10\" has 3");
        row("A9 B1", "ToLessThanFrom", 2, "column 2 runs backwards: \"9\" comes after \"1\"");
        row("a-C1 a-A3", "ToLessThanFrom", 3, "column 3 runs backwards: \"C\" comes after \"A\"");
        row("11A1 1A11", "ToLessThanFrom", 1, "column 1 runs backwards: \"11\" comes after \"1A\"");
        row("a1 A1", "FromToTokenNotEqual", 1,
            "column 1 is a lower-case letter in the first name (\"a\") and an upper-case letter in the last one "
            "(\"A\")");
        row("00A1 1A11", "FromToTokenNotEqual", 2,
            "column 2 is an upper-case letter in the first name (\"A\") and a number in the last one (\"1\")");
        row("x-1 xx1", "FromToTokenNotEqual", 2,
            "column 2 is neither a letter nor a number in the first name (\"-\") and a lower-case letter in the last "
            "one (\"x\")");
        row("A11 A1B", "FromToColumnsLengthMismatch", 2,
            "the names do not have the same columns: at column 2 there is \"11\" in the first name and \"1B\" in the "
            "last one");
        row("A1B A11", "FromToColumnsLengthMismatch", 3,
            "the names do not have the same columns: at column 3 there is \"B\" in the first name and \"1\" in the "
            "last one");
        row("--max 5 A1 B3", "ExceedsMax", 2, "there would be more than 5 names, from column 2 on");
        row("aaaaaaa zzzzzzz", "ExceedsMax", 3, "there would be more than 1000 names, from column 3 on");
        row("0000000000 2147483647", "ExceedsMax", 1, "there would be more than 1000 names, from column 1 on");
        row("B000000000 A999999999", "ExceedsMax", 0, "there would be more names than a list can hold");
        row("--max 2147483647 000000000 999999999", "ExceedsMax", 0, "there would be more names than a list can hold");
    }

    void aBrokenRuleIsNamed()
    {
        QFETCH(const QString, error);
        QFETCH(const int, column);
        QFETCH(const QString, sentence);
        const QStringList arguments = split(QTest::currentDataTag());

        const Outcome plain = run(arguments);
        const Outcome json = run(QStringList{QStringLiteral("--json")} + arguments);

        QCOMPARE(plain.exitCode, int(RuleBroken));
        QCOMPARE(plain.output, QString());
        QCOMPARE(plain.errors, QStringLiteral("vantor-names: %1\n").arg(sentence));
        QCOMPARE(json.exitCode, int(RuleBroken));
        QCOMPARE(json.errors, QString());
        const QJsonObject expected{{QStringLiteral("error"), error}, {QStringLiteral("column"), column},
            {QStringLiteral("message"), sentence}};
        QCOMPARE(QJsonDocument::fromJson(json.output.toUtf8()).object(), expected);
    }

    void namesArePrintedAsJson()
    {
        const Outcome outcome = run(split("--json --prefix \"P A1 A2"));

        QCOMPARE(outcome.exitCode, int(Printed));
        const QJsonObject expected{{QStringLiteral("count"), 2},
            {QStringLiteral("names"), QJsonArray{QStringLiteral("\"PA1"), QStringLiteral("\"PA2")}}};
        QCOMPARE(QJsonDocument::fromJson(outcome.output.toUtf8()).object(), expected);
    }

    void wrongUsageIsRefused_data()
    {
        QTest::addColumn<QString>("problem");

        const auto row = [](const char *arguments, const char *problem) {
            QTest::newRow(arguments) << QString::fromUtf8(problem);
        };
        row("", "a first and a last name are needed; see --help");
        row("A1", "a first and a last name are needed; see --help");
        row("A1 A2 A3", "a first and a last name are needed; see --help");
        row("--max x A1 A2", "--max needs a whole number that is not negative, not \"x\"");
        row("--max -1 A1 A2", "--max needs a whole number that is not negative, not \"-1\"");
        row("--max 2147483648 A1 A2", "--max needs a whole number that is not negative, not \"2147483648\"");
        row("--nonsense A1 A2", "Unknown option 'nonsense'.");
    }

    void wrongUsageIsRefused()
    {
        QFETCH(const QString, problem);

        const Outcome outcome = run(split(QTest::currentDataTag()));

        QCOMPARE(outcome.exitCode, int(WrongUsage));
        QCOMPARE(outcome.output, QString());
        QCOMPARE(outcome.errors, QStringLiteral("vantor-names: %1\n").arg(problem));
    }

    void helpAndVersionAreShown()
    {
        const Outcome help = run({QStringLiteral("--help")});
        const Outcome version = run({QStringLiteral("--version")});

        QCOMPARE(help.exitCode, int(Printed));
        QVERIFY(help.output.contains(QLatin1String("--prefix")) && help.output.contains(QLatin1String("FIRST LAST")));
        QCOMPARE(version.exitCode, int(Printed));
        QVERIFY(version.output.startsWith(QLatin1String("vantor-names ")));
    }

    void aFullDiskIsNoticed()
    {
        const Outcome outcome = run(split("A1 A2"), QStringLiteral("/dev/full"));

        QCOMPARE(outcome.exitCode, int(NotWritten));
        QCOMPARE(outcome.errors, QStringLiteral("vantor-names: cannot write to stdout: No space left on device\n"));
    }
};

QTEST_GUILESS_MAIN(TestVantorNames)
#include "tst_vantor_names.moc"
