// SPDX-License-Identifier: Apache-2.0
#include "study/formatting/FormattingDocument.h"

#include "Helpers/UnitHelper.h"
#include "study/formatting/FormattingTables.h"

#include <QMetaMethod>
#include <QQmlEngine>
#include <QStringList>
#include <QTimer>

#include <memory>

namespace {
const char *const introduction = R"(# What the screen shows

<!-- Written by `./vantor formatting`; a test compares it with the code. -->

Every function of `UnitHelper`, for typical and for extreme values, as a page calls it. Texts stand in quotation marks,
numbers do not.

## Which overload JavaScript gets

| Function | From JavaScript |
|---|---|
| `freqKHzToMHz` | always the one for reals, in double precision, also for whole numbers |
| `valueBetweenMinMax` | always the one for reals: nothing is rounded, `Math.round()` does it |
| `scalarFromMinMaxUsingCurrent` | always the one for reals; both give the same |
| `numericalValueToString` | with one argument the one for integers, which rounds; with two the one for reals |

A number that does not fit the type of its argument wraps around before the function sees it, and `NaN` becomes 0 where
an integer is wanted. Dates always reach JavaScript in local time.
)";

/// Evaluates calls, with "units" and with timers for those functions that want one.
class Evaluator : public QObject
{
    Q_OBJECT

public:
    Evaluator()
    {
        mEngine.globalObject().setProperty(QStringLiteral("units"), mEngine.newQObject(new UnitHelper));
        QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
        mEngine.globalObject().setProperty(QStringLiteral("tool"), mEngine.newQObject(this));
        mEngine.evaluate(QStringLiteral("function timerOf(seconds) { return tool.timerOf(seconds) }"));
    }

    /// A timer that runs so long.
    Q_INVOKABLE QObject *timerOf(double seconds)
    {
        constexpr int millisecondsPerSecond = 1000;
        mTimer = std::make_unique<QTimer>();
        mTimer->setTimerType(Qt::PreciseTimer);
        mTimer->start(static_cast<int>(seconds * millisecondsPerSecond));
        QQmlEngine::setObjectOwnership(mTimer.get(), QQmlEngine::CppOwnership);
        return mTimer.get();
    }

    QString textOf(const QString &call)
    {
        const QJSValue result = mEngine.evaluate(call);
        if (result.isString())
            return QLatin1Char('"') + shortened(escaped(result.toString())) + QLatin1Char('"');
        if (result.isDate() && !result.toDateTime().isValid())
            return QStringLiteral("Invalid Date");
        return result.isDate() ? result.toDateTime().toUTC().toString(Qt::ISODateWithMs) : result.toString();
    }

private:
    static QString escaped(const QString &text)
    {
        constexpr ushort firstIcon = 0xf000;
        QString result;
        for (const QChar character : text) {
            if (character.unicode() >= firstIcon)
                result += QStringLiteral("\\u") + QString::number(character.unicode(), 16);
            else
                result += character;
        }
        return result;
    }

    /// Both ends of what no table has room for.
    static QString shortened(const QString &text)
    {
        constexpr int longest = 200;
        constexpr int shownOfEachEnd = 20;
        return text.size() <= longest
            ? text
            : QStringLiteral("%1…%2").arg(text.left(shownOfEachEnd), text.right(shownOfEachEnd));
    }

    QQmlEngine mEngine;
    std::unique_ptr<QTimer> mTimer;
};

QString tableRow(const QStringList &cells)
{
    return QStringLiteral("| %1 |\n").arg(cells.join(QStringLiteral(" | ")));
}

QString code(const QString &text)
{
    return QLatin1Char('`') + text + QLatin1Char('`');
}

QString tableText(Evaluator *evaluator, const FormattingTable &table)
{
    const QString call = QString::fromUtf8(table.call);
    const bool isSingle = table.columns.empty();
    QStringList head{isSingle ? QStringLiteral("Value") : QStringLiteral("Value, then")};
    if (isSingle)
        head << QStringLiteral("Result");
    for (const char *const column : table.columns)
        head << code(QString::fromUtf8(column));

    QString shown = call;
    shown.replace(QLatin1String("$r"), QStringLiteral("value")).replace(QLatin1String("$c"), QStringLiteral("…"));
    QString text = QStringLiteral("\n### %1\n\n").arg(shown);
    text += tableRow(head) + QLatin1Char('|') + QStringLiteral("---|").repeated(head.size()) + QLatin1Char('\n');
    for (const char *const row : table.rows) {
        QStringList cells{code(QString::fromUtf8(row))};
        for (const char *const column : isSingle ? std::vector<const char *>{""} : table.columns) {
            QString filled = QStringLiteral("units.") + call;
            filled.replace(QLatin1String("$r"), QString::fromUtf8(row));
            filled.replace(QLatin1String("$c"), QString::fromUtf8(column));
            cells << code(evaluator->textOf(filled));
        }
        text += tableRow(cells);
    }
    return text;
}

/// The overloads that no page can reach.
QString textOfTheRest()
{
    const auto row = [](const char *call, double result) {
        constexpr int allDigits = 17;
        return tableRow({code(QString::fromUtf8(call)), code(QString::number(result, 'g', allDigits))});
    };
    QString text = QStringLiteral("\n## Only from C++\n\n| Call | Result |\n|---|---|\n");
    text += row("freqKHzToMHz(2412001)", UnitHelper::freqKHzToMHz(2412001));
    text += row("valueBetweenMinMax(0.5, 0, 3)", UnitHelper::valueBetweenMinMax(0.5, 0, 3));
    text += row("valueBetweenMinMax(0.5, -3, 0)", UnitHelper::valueBetweenMinMax(0.5, -3, 0));
    text += row("scalarFromMinMaxUsingCurrent(1, 0, 4)", UnitHelper::scalarFromMinMaxUsingCurrent(1, 0, 4));
    return text;
}

/// A function that no table calls.
QString forgottenFunction()
{
    QString calls;
    for (const FormattingSection &section : formattingSections()) {
        for (const FormattingTable &table : section.tables)
            calls += QLatin1Char('.') + QString::fromUtf8(table.call);
    }
    const QMetaObject &meta = UnitHelper::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QString name = QString::fromUtf8(meta.method(i).name());
        if (!calls.contains(QStringLiteral(".%1(").arg(name)))
            return name;
    }
    return {};
}
} // namespace

QString formattingDocument(QString *problem)
{
    const QString forgotten = forgottenFunction();
    if (!forgotten.isEmpty()) {
        *problem = QStringLiteral("no table shows %1()").arg(forgotten);
        return {};
    }

    Evaluator evaluator;
    QString text = QString::fromUtf8(introduction);
    for (const FormattingSection &section : formattingSections()) {
        text += QStringLiteral("\n## %1\n").arg(QString::fromUtf8(section.title));
        if (*section.text)
            text += QStringLiteral("\n%1\n").arg(QString::fromUtf8(section.text));
        for (const FormattingTable &table : section.tables)
            text += tableText(&evaluator, table);
    }
    return text + textOfTheRest();
}

#include "FormattingDocument.moc"
