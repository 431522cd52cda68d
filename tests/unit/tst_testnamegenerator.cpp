// SPDX-License-Identifier: Apache-2.0
#include "Helpers/TestNameGenerator.h"
#include "LogCapture.h"

#include <QMetaEnum>
#include <QRandomGenerator>
#include <QtTest>

#include <limits>

namespace {
using Error = TestNameGenerator::GenerateError;

constexpr int anyCount = std::numeric_limits<int>::max();

QString u(const char *text)
{
    return QString::fromUtf8(text);
}

/// "A:B N:12", one column after the other.
QString asText(const QVector<NameGenColumnValue> &columns)
{
    QStringList result;
    for (const NameGenColumnValue &column : columns)
        result << QString(column.type) + QLatin1Char(':') + column.value;
    return result.join(QLatin1Char(' '));
}

/// The names of ASCII pairs in the plainest form: every name of that length between the two, column by column, found by
/// counting from the right. The pair is known to be in order.
QVector<QString> plainNames(const QString &from, const QString &to)
{
    QVector<QString> names;
    QString name = from;
    for (;;) {
        names.append(name);
        int i = name.size() - 1;
        for (; i >= 0; --i) {
            int start = i;
            if (name[i].isDigit()) {
                while (start > 0 && name[start - 1].isDigit())
                    --start;
                const int length = i - start + 1;
                const int number = name.midRef(start, length).toInt();
                if (number < to.midRef(start, length).toInt()) {
                    name.replace(start, length, u("%1").arg(number + 1, length, 10, QLatin1Char('0')));
                    break;
                }
                name.replace(start, length, from.mid(start, length));
                i = start;
            } else if (name[i].isLetter()) {
                if (name[i] < to[i]) {
                    name[i] = QChar(static_cast<ushort>(name[i].unicode() + 1));
                    break;
                }
                name[i] = from[i];
            }
        }
        if (i < 0)
            return names;
    }
}

/// A pair in order, with at most a few hundred names between.
void anyPair(QRandomGenerator *random, QString *from, QString *to)
{
    from->clear();
    to->clear();
    const int columns = random->bounded(1, 6);
    for (int i = 0; i < columns; ++i) {
        switch (random->bounded(4)) {
        case 0:
            from->append(QLatin1Char('-'));
            to->append(QLatin1Char('-'));
            break;
        case 1:
        case 2: {
            const char base = random->bounded(2) ? 'A' : 'a';
            const int first = random->bounded(24);
            from->append(QLatin1Char(static_cast<char>(base + first)));
            to->append(QLatin1Char(static_cast<char>(base + first + random->bounded(3))));
            break;
        }
        default: {
            const int width = random->bounded(1, 4);
            const int limits[] = {0, 9, 99, 999};
            const int first = random->bounded(limits[width] + 1);
            const int last = qMin(first + random->bounded(12), limits[width]);
            from->append(u("%1").arg(first, width, 10, QLatin1Char('0')));
            to->append(u("%1").arg(last, width, 10, QLatin1Char('0')));
            // A neighbouring number would be one run with this one.
            from->append(QLatin1Char('_'));
            to->append(QLatin1Char('_'));
        }
        }
    }
}
} // namespace

class TestTestNameGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theErrorsHaveTheirNumbersAndNames()
    {
        const auto errors = QMetaEnum::fromType<TestNameGenerator::GenerateError>();
        const char *const names[] = {"NoError", "EmptyFromAndToStrings", "FromToLengthMismatch",
            "TokensLengthMismatchWithParentString", "FromToTokensLengthMismatch", "FromToColumnsLengthMismatch",
            "ToLessThanFrom", "FromToTokenNotEqual", "ExceedsMax", "PermutationCalculationFailed", "InvalidRange"};

        QCOMPARE(errors.keyCount(), int(std::size(names)));
        for (int i = 0; i < errors.keyCount(); ++i) {
            QCOMPARE(errors.key(i), names[i]);
            QCOMPARE(errors.value(i), i);
        }
    }

    void theTokenKindsAreCharacters()
    {
        QCOMPARE(TestNameGenerator::tokenType_Special, QChar(u'S'));
        QCOMPARE(TestNameGenerator::tokenType_UpperCaseLetter, QChar(u'A'));
        QCOMPARE(TestNameGenerator::tokenType_LowerCaseLetter, QChar(u'a'));
        QCOMPARE(TestNameGenerator::tokenType_Number, QChar(u'N'));
        QVERIFY(TestNameGenerator::maxPermittedGeneration > 0);
    }

    void everyCharacterHasAToken_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tokens");

        const auto row = [](const char *text, const char *tokens) { QTest::newRow(text) << u(text) << u(tokens); };
        row("", "");
        row("Cable-08", "AaaaaSNN");
        row("_ .", "SSS");
        row("Ää", "Aa");
        row("ß", "a");
        row("ǅ", "S"); // a title-case letter is neither upper nor lower case
        row("世", "S");
        row("٣", "N");
        row("½", "N");
        row("Ⅷ", "N"); // upper case, but no letter
        row("😀", "SS");
        QTest::newRow("lone surrogate") << QString(QChar(0xd800)) << u("S");
        QTest::newRow("zero") << QString(QChar(0)) << u("S");
    }

    void everyCharacterHasAToken()
    {
        QFETCH(const QString, text);

        QTEST(TestNameGenerator::tokenise(text), "tokens");
    }

    void namesAreSplitIntoColumns_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("tokens");
        QTest::addColumn<QString>("columns");

        const auto row = [](const char *name, const char *tokens, const char *columns) {
            QTest::addRow("%s as %s", name, tokens) << u(name) << u(tokens) << u(columns);
        };
        row("Ab-12", "AaSNN", "A:A a:b S:- N:12");
        row("12x3", "NNaN", "N:12 a:x N:3");
        row("7", "N", "N:7");
        row("abc", "a?c", "a:a"); // other tokens are skipped
        row("a1", "?N", "N:1");
        row("ab", "aaaa", "a:a a:b"); // more tokens than characters
        row("12", "NNNN", "N:12");
        row("1", "NA", "N:1");
        row("1234", "NN", "N:12"); // fewer tokens than characters
        row("abcd", "a", "a:a");
        row("xy", "NN", "N:xy"); // the tokens decide
    }

    void namesAreSplitIntoColumns()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, tokens);
        const LogCapture log;

        QTEST(asText(TestNameGenerator::getAllColumnValues(name, tokens)), "columns");
        QVERIFY(log.lines().isEmpty());
    }

    void nothingIsSplitWithAWordInTheLog()
    {
        const LogCapture log;

        QVERIFY(TestNameGenerator::getAllColumnValues({}, {}).isEmpty());
        QVERIFY(TestNameGenerator::getAllColumnValues({}, u("A")).isEmpty());
        QVERIFY(TestNameGenerator::getAllColumnValues(u("A"), {}).isEmpty());

        QCOMPARE(log.asText(),
            (QStringList{u("debug: Cannot get column values of empty str"),
                u("debug: Cannot get column values of empty str"),
                u("debug: Cannot get column values. tokens empty")}));
    }

    void leadingZerosAreCounted()
    {
        const auto zeros = [](char16_t type, const char *value) {
            return TestNameGenerator::getLeadingZeroCount({QChar(type), u(value)});
        };

        QCOMPARE(zeros(u'N', "0080"), 2);
        QCOMPARE(zeros(u'N', "000"), 3);
        QCOMPARE(zeros(u'N', "10"), 0);
        QCOMPARE(zeros(u'N', ""), 0);
        QCOMPARE(zeros(u'N', "٠1"), 0);
        QCOMPARE(zeros(u'S', "00"), 0);
        QCOMPARE(zeros(u'a', "0"), 0);
    }

    void aPermutationStepsThroughItsValues()
    {
        NameGenPermutation permutation{0, {u("a"), u("b")}};

        QCOMPARE(permutation.getCurrentValue(), u("a"));
        QVERIFY(permutation.canIncrement());
        QVERIFY(permutation.incrementIndex());
        QCOMPARE(permutation.getCurrentValue(), u("b"));
        QVERIFY(!permutation.canIncrement());
        QVERIFY(!permutation.incrementIndex());
        QCOMPARE(permutation.index, 1);
        permutation.resetIndex();
        QCOMPARE(permutation.index, 0);
    }

    void aPermutationOutOfRangeIsEmpty()
    {
        QCOMPARE(NameGenPermutation().index, 0);
        for (const int index : {-1, 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
            NameGenPermutation permutation{index, {u("a")}};
            QCOMPARE(permutation.getCurrentValue(), QString());
            QCOMPARE(permutation.canIncrement(), index < 0);
        }
        QVERIFY(!NameGenPermutation().canIncrement());
        QCOMPARE(NameGenPermutation().getCurrentValue(), QString());
    }

    void aPermutationCanBeCopiedAndMoved()
    {
        NameGenPermutation first{1, {u("a"), u("b")}};
        const NameGenPermutation copy(first);
        const NameGenPermutation moved(std::move(first));

        QCOMPARE(copy.getCurrentValue(), u("b"));
        QCOMPARE(moved.getCurrentValue(), u("b"));
    }

    void namesAreGenerated_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("names");

        const auto row = [](const char *from, const char *to, const char *names) {
            QTest::addRow("%s to %s", from, to) << u(from) << u(to) << u(names);
        };
        row("A1", "B3", "A1 A2 A3 B1 B2 B3");
        row("Cable-08", "Cable-11", "Cable-08 Cable-09 Cable-10 Cable-11");
        row("000", "010", "000 001 002 003 004 005 006 007 008 009 010");
        row("x7", "x7", "x7");
        row("😀", "😀", "😀");
        row("A-1", "A_3", "A-1 A-2 A-3"); // the first name says which special character it is
        row("世1", "界2", "世1 世2");
        row("a", "c", "a b c");
        row("8", "9", "8 9");
        row("98", "99", "98 99");
        row("099", "101", "099 100 101");
        row("009", "010", "009 010");
        row("a1b1", "b2b2", "a1b1 a1b2 a2b1 a2b2 b1b1 b1b2 b2b1 b2b2");
        row("B", "A", "B"); // one before the first keeps the first
        row("B1", "A3", "B1 B2 B3");
        row("1b2", "2a3", "1b2 1b3 2b2 2b3");
        row("٣", "٥", "٣"); // digits that toInt() does not read are 0, so this is one value
        row("٣", "2", "٣ 1 2");
        row("٣٣", "11", "٣٣ 1 2 3 4 5 6 7 8 9 10 11");
        row("½", "1", "½ 1");
        row("99999999999", "99999999998", "99999999999"); // both beyond int: 0 to 0
        row("A99999999999", "B99999999999", "A99999999999 B99999999999");
        row("Ä", "Å", "Ä Å");
    }

    void namesAreGenerated()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QVector<QString> names;

        QCOMPARE(TestNameGenerator::generateTestNames(from, to, names, 1000), Error::NoError);

        QTEST(QStringList::fromVector(names).join(QLatin1Char(' ')), "names");
    }

    void pairsThatBreakARuleGiveNothing_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<Error>("error");

        const auto row = [](const char *from, const char *to, Error error) {
            QTest::addRow("%s to %s", from, to) << u(from) << u(to) << error;
        };
        row("", "", Error::EmptyFromAndToStrings);
        row("", "A", Error::FromToLengthMismatch);
        row("A1", "A10", Error::FromToLengthMismatch);
        row("a1", "A1", Error::FromToTokenNotEqual);
        row("a-", "ab", Error::FromToTokenNotEqual);
        row("Aa", "AA", Error::FromToTokenNotEqual);
        row("C1", "A3", Error::ToLessThanFrom);
        row("A9", "B1", Error::ToLessThanFrom);
        row("2", "1", Error::ToLessThanFrom);
        row("11", "1A", Error::FromToColumnsLengthMismatch);
        row("1A", "11", Error::FromToColumnsLengthMismatch);
        row("11A1", "1A11", Error::ToLessThanFrom); // the run of the first name cuts the last one: 11 to "1A"
        row("00A1", "1A11", Error::FromToTokenNotEqual); // 0 to "1A" is fine, A to 1 is not
        row("A", "Z", Error::ExceedsMax);
        row("00", "99", Error::ExceedsMax);
        row("aaaaaaa", "zzzzzzz", Error::ExceedsMax); // 26^7 wraps to a negative int
        row("AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", "YYYYYYYYYYYYYYYYYYYYYYYYYYYYYYYY", Error::ExceedsMax);
        row("0000000000", "2147483647", Error::ExceedsMax); // one more than an int counts
        row("0000000000-0000000000-0", "2147483647-2147483647-9", Error::ExceedsMax);
        QTest::newRow("letters far apart") << QString(QChar(u'A')) << QString(QChar(0xff3a)) << Error::ExceedsMax;
    }

    void pairsThatBreakARuleGiveNothing()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const Error, error);
        QVector<QString> names{u("before")};

        QCOMPARE(TestNameGenerator::generateTestNames(from, to, names, 10), error);
        QCOMPARE(names, QVector<QString>{u("before")});
        QCOMPARE(TestNameGenerator::generateTestNames(u("P-"), from, to, names, 10), error);
        QCOMPARE(names, QVector<QString>{u("before")});
    }

    void theColumnAtFaultIsTold_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<Error>("error");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("columns");

        const auto row = [](const char *from, const char *to, Error error, int column, const char *columns) {
            QTest::addRow("%s to %s", from, to) << u(from) << u(to) << error << column << u(columns);
        };
        constexpr int none = NameGenFault::namesAsAWhole;
        row("A1", "A2", Error::NoError, none, "");
        row("x7", "x7", Error::NoError, none, "");
        row("", "", Error::EmptyFromAndToStrings, none, "");
        row("A1", "A10", Error::FromToLengthMismatch, none, "");
        row("a1", "A1", Error::FromToTokenNotEqual, 0, "a:a A:A");
        row("a-", "ab", Error::FromToTokenNotEqual, 1, "S:- a:b");
        row("00A1", "1A11", Error::FromToTokenNotEqual, 1, "A:A N:1");
        row("C1", "A3", Error::ToLessThanFrom, 0, "A:C A:A");
        row("A-9", "B-1", Error::ToLessThanFrom, 2, "N:9 N:1");
        row("12b-10", "13c-09", Error::ToLessThanFrom, 3, "N:10 N:09");
        row("11A1", "1A11", Error::ToLessThanFrom, 0, "N:11 N:1A");
        row("A11", "A1B", Error::FromToColumnsLengthMismatch, 1, "N:11 N:1B");
        row("A1B", "A11", Error::FromToColumnsLengthMismatch, 2, "A:B N:1");
        row("A1", "B9", Error::ExceedsMax, 1, "N:1 N:9");
        row("A1-1", "Z1-2", Error::ExceedsMax, 0, "A:A A:Z");
        row("00-00-0", "04-01-1", Error::ExceedsMax, 4, "N:0 N:1"); // ten are allowed
        row("B000000000", "A999999999", Error::ExceedsMax, none, ""); // not by the limit
    }

    void theColumnAtFaultIsTold()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const Error, error);
        QFETCH(const int, column);
        QVector<QString> plain;
        QVector<QString> names;
        QVector<QString> prefixed;
        NameGenFault fault{Error::InvalidRange, 7, {QChar(u'A'), u("old")}, {QChar(u'A'), u("old")}};
        NameGenFault faultBehindPrefix = fault;

        QCOMPARE(TestNameGenerator::generateTestNames(from, to, names, 10, fault), error);
        QCOMPARE(TestNameGenerator::generateTestNames(u("P-"), from, to, prefixed, 10, faultBehindPrefix), error);
        QCOMPARE(TestNameGenerator::generateTestNames(from, to, plain, 10), error);

        QCOMPARE(names, plain);
        QCOMPARE(prefixed.size(), plain.size());
        for (const NameGenFault &told : {fault, faultBehindPrefix}) {
            QCOMPARE(told.error, error);
            QCOMPARE(told.column, column);
            QCOMPARE(told.hasColumn(), column >= 0);
            QTEST(told.hasColumn() ? asText({told.from, told.to}) : told.from.value + told.to.value, "columns");
        }
    }

    // Whatever the pair: it is the first column of which the plain reading says so.
    void aFaultOfAnyPairNamesItsColumn()
    {
        constexpr int pairs = 20000;
        QRandomGenerator random(3);
        const QString letters = u("AZaz09-.");
        const auto anyName = [&](int length) {
            QString name;
            for (int i = 0; i < length; ++i)
                name += letters[random.bounded(letters.size())];
            return name;
        };

        for (int i = 0; i < pairs; ++i) {
            const int length = random.bounded(1, 6);
            const QString from = anyName(length);
            const QString to = anyName(length);
            QVector<QString> names;
            NameGenFault fault;
            const Error error = TestNameGenerator::generateTestNames(from, to, names, 20, fault);

            const QByteArray pair = (from + u(" to ") + to).toUtf8();
            QVERIFY2(fault.error == error && fault.hasColumn() == (error != Error::NoError), pair.constData());
            if (error == Error::NoError)
                continue;
            const auto columns = TestNameGenerator::getAllColumnValues(from, TestNameGenerator::tokenise(from));
            int start = 0;
            for (int c = 0; c < fault.column; ++c)
                start += columns[c].value.size();
            const QString there = to.mid(start, fault.from.value.size());
            QVERIFY2(fault.from.value == columns[fault.column].value && fault.to.value == there, pair.constData());
            const QString kinds = TestNameGenerator::tokenise(there);
            QVERIFY2(fault.to.type == kinds[0], pair.constData());
            QCOMPARE(error == Error::FromToTokenNotEqual,
                error != Error::FromToColumnsLengthMismatch && fault.from.type != fault.to.type);
        }
    }

    void theLimitMayBeReached()
    {
        QVector<QString> names;

        QCOMPARE(TestNameGenerator::generateTestNames(u("A1"), u("B3"), names, 5), Error::ExceedsMax);
        QVERIFY(names.isEmpty());
        QCOMPARE(TestNameGenerator::generateTestNames(u("A1"), u("B3"), names, 6), Error::NoError);
        QCOMPARE(names.size(), 6);
    }

    void noLimitAllowsMoreThanAListHolds_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");

        const auto row = [](const char *from, const char *to) {
            QTest::addRow("%s to %s", from, to) << u(from) << u(to);
        };
        row("0000000000", "2147483647"); // one more than an int counts
        row("aaaaaaa", "zzzzzzz"); // wraps to a negative int
        row("AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", "HHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHH"); // 2^96 wraps to 0
        row("000000000", "999999999"); // an int, but more than fit a vector
        row("B000000000", "A999999999"); // a column that counts nothing
        row("B0000000000", "A2147483647");
    }

    void noLimitAllowsMoreThanAListHolds()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QVector<QString> names{u("before")};

        QCOMPARE(TestNameGenerator::generateTestNames(from, to, names, anyCount), Error::ExceedsMax);
        QCOMPARE(names, QVector<QString>{u("before")});
    }

    void equalNamesKnowNoLimit()
    {
        QVector<QString> names;

        QCOMPARE(TestNameGenerator::generateTestNames(u("x7"), u("x7"), names, -1), Error::NoError);
        QCOMPARE(names, QVector<QString>{u("x7")});
    }

    void aColumnThatCountsNothingLiftsTheLimit()
    {
        QVector<QString> names;

        QCOMPARE(TestNameGenerator::generateTestNames(u("B000"), u("A999"), names, 10), Error::NoError);
        QCOMPARE(names.size(), 1000);
        QCOMPARE(names.constFirst(), u("B000"));
        QCOMPARE(names.constLast(), u("B999"));
        QCOMPARE(TestNameGenerator::generateTestNames(u("B000"), u("A999"), names, 0), Error::NoError);
        QCOMPARE(TestNameGenerator::generateTestNames(u("B000"), u("A999"), names, -1), Error::ExceedsMax);
    }

    void lettersMayPassThroughSurrogates()
    {
        QVector<QString> names;

        QCOMPARE(TestNameGenerator::generateTestNames(QString(QChar(0xde)), QString(QChar(0xff3a)), names, 70000),
            Error::NoError);

        QCOMPARE(names.size(), 0xff3a - 0xde + 1);
        QCOMPARE(names.at(0xd800 - 0xde), QString(QChar(0xd800)));
        QCOMPARE(names.constLast(), QString(QChar(0xff3a)));
    }

    void namesAreAppended()
    {
        QVector<QString> names{u("before")};

        QCOMPARE(TestNameGenerator::generateTestNames(u("A1"), u("A2"), names, 2), Error::NoError);

        QCOMPARE(names, (QVector<QString>{u("before"), u("A1"), u("A2")}));
    }

    void thePrefixIsPutInFrontOfAllNames()
    {
        QVector<QString> names{u("before")};

        QCOMPARE(TestNameGenerator::generateTestNames(u("P-"), u("A1"), u("A2"), names, 2), Error::NoError);

        QCOMPARE(names, (QVector<QString>{u("P-before"), u("P-A1"), u("P-A2")}));
    }

    void thePrefixStaysAsItIsTyped()
    {
        for (const char *const prefix : {"100%2-", "%1", "%1%2%3", "%", "\\", ""}) {
            QVector<QString> names;
            QCOMPARE(TestNameGenerator::generateTestNames(u(prefix), u("A1"), u("A1"), names, 2), Error::NoError);
            QCOMPARE(names, QVector<QString>{u(prefix) + u("A1")});
        }
    }

    void argumentsMayBeNamesOfTheList()
    {
        QVector<QString> names{u("A1"), u("A9")};

        QCOMPARE(TestNameGenerator::generateTestNames(names.at(0), names.at(0), names.at(1), names, 9), Error::NoError);

        QCOMPARE(names.size(), 11);
        QCOMPARE(names.constFirst(), u("A1A1"));
        QCOMPARE(names.constLast(), u("A1A9"));
    }

    void pairsAreExpandedAsByHand()
    {
        constexpr int rounds = 20000;
        QRandomGenerator random(1);
        QString from;
        QString to;

        for (int round = 0; round < rounds; ++round) {
            anyPair(&random, &from, &to);
            const QVector<QString> expected = plainNames(from, to);
            QVector<QString> names;
            QCOMPARE(TestNameGenerator::generateTestNames(from, to, names, anyCount), Error::NoError);
            QVERIFY2(names == expected, qPrintable(from + u(" to ") + to));
            names.clear();
            const Error atLimit = TestNameGenerator::generateTestNames(from, to, names, expected.size() - 1);
            QCOMPARE(atLimit, from == to ? Error::NoError : Error::ExceedsMax);
        }
    }
};

QTEST_GUILESS_MAIN(TestTestNameGenerator)
#include "tst_testnamegenerator.moc"
