// SPDX-License-Identifier: Apache-2.0
// A whole job with keys alone: twelve points, one of them cleaned and repeated and one accepted with a note, a report,
// a search, and after another start everything is still there. Once in each language.
#include "Helpers/BaseDirHelper.h"
#include "KeyboardTest.h"
#include "TwoStarts.h"

#include <QDir>

#include <functional>

namespace {
constexpr int points = 12;
constexpr int repeated = 4; // these points, counted from 1
constexpr int accepted = 9;

const QString jobName = QStringLiteral("Panel 7");
const QString note = QStringLiteral("known to them");

QString exportFolder()
{
    return QDir(BaseDirHelper::workDir()).filePath(QStringLiteral("exports"));
}
} // namespace

class tst_TesterKeyboard : public KeyboardTest
{
    Q_OBJECT

public:
    using KeyboardTest::KeyboardTest;

private Q_SLOTS:
    void init() {}
    void cleanup();
    void theSettingsAreMade();
    void aJobIsMade();
    void allPointsAreInspected();
    void aReportIsWritten();
    void theResultsAreSearched();
    void theShellIsReached();

private:
    void inspectPoint(int number);
    bool aim(const char *face) const;
    bool goBack() const;
    void pressUntil(Qt::Key key, const std::function<bool()> &isReached);
    int count(const char *name) const { return tester().jobs().counts().value(QString::fromUtf8(name)).toInt(); }
};

void tst_TesterKeyboard::cleanup()
{
    QVERIFY2(faults().isEmpty(), qPrintable(faults().join(QLatin1Char('\n'))));
}

/// Returns when the page below has come to rest.
bool tst_TesterKeyboard::goBack() const
{
    const int depth = evaluate(QStringLiteral("stackView.depth")).toInt();
    driver().press(Qt::Key_Escape);
    return ShellDriver::waitFor([&] { return evaluate(QStringLiteral("stackView.depth")).toInt() < depth; })
        && driver().waitForRest();
}

void tst_TesterKeyboard::theSettingsAreMade()
{
    QVERIFY(enter(TwoStarts::language() == QLatin1String("de") ? "language_de" : "language_en"));
    QCOMPARE(tester().language().current(), TwoStarts::language());

    QVERIFY(QDir().mkpath(exportFolder()));
    QVERIFY(enter("tile_108"));
    QVERIFY(waitForFocus("languageChoice"));
    QVERIFY(writeInto("exportFolder", exportFolder()));
    const bool formerly = tester().settings().goesOnAfterPass();
    QVERIFY(enter("goesOnAfterPass"));
    QCOMPARE(tester().settings().goesOnAfterPass(), !formerly);
    driver().press(Qt::Key_Return);
    QCOMPARE(tester().settings().goesOnAfterPass(), formerly);
    QVERIFY(goBack());
    QVERIFY(waitForFocus("tile_108"));
}

void tst_TesterKeyboard::aJobIsMade()
{
    QVERIFY(enter("tile_101"));
    QVERIFY(waitForFocus("jobName"));
    QVERIFY(writeInto("jobName", jobName));
    QVERIFY(writeInto("firstPoint", QStringLiteral("A01")));
    QVERIFY(writeInto("lastPoint", QStringLiteral("A12")));
    QVERIFY(writeInto("jobOperator", QStringLiteral("Ada")));

    QVERIFY(enter("createJob"));

    QVERIFY(waitForFocus("panel"));
    QCOMPARE(count("points"), points);
    driver().press(Qt::Key_Right);
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A02"));
    driver().press(Qt::Key_Left);
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A01"));
}

bool tst_TesterKeyboard::aim(const char *face) const
{
    scope()->setFace(QLatin1String(face));
    scope()->setFocus(0);
    return waitFor("analyse") && driver().waitForRest()
        && ShellDriver::waitFor([this] { return scope()->isSettled() && find("analyse")->isEnabled(); })
        && driver().waitForSharpFrame()
        && ShellDriver::waitFor([this] { return find("focusBar")->property("isSharp").toBool(); })
        && waitForFocus("analyse");
}

void tst_TesterKeyboard::inspectPoint(int number)
{
    const QString name = QStringLiteral("A%1").arg(number, 2, 10, QLatin1Char('0'));
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), name);
    QVERIFY2(aim(number == repeated || number == accepted ? "pitted" : "clean"), qPrintable(focusedName()));
    driver().press(Qt::Key_Return);
    if (number == repeated) {
        QVERIFY(waitForFocus("repeat"));
        driver().press(Qt::Key_Return);
        QVERIFY(aim("clean"));
        driver().press(Qt::Key_Return);
    }
    if (number == accepted) {
        QVERIFY(enter("accept"));
        QVERIFY(waitForFocus("note"));
        write(note);
        QVERIFY(enter("noteAccept"));
        QVERIFY(ShellDriver::waitFor([this] { return !find("noteAccept"); }));
        QVERIFY(waitForFocus("accept")); // it has it back
        QVERIFY(tabTo("nextPort"));
    }
    QVERIFY(waitForFocus("nextPort"));
    driver().press(Qt::Key_Return);
}

void tst_TesterKeyboard::allPointsAreInspected()
{
    driver().press(Qt::Key_Return);
    for (int number = 1; number <= points; ++number) {
        inspectPoint(number);
        if (QTest::currentTestFailed())
            return;
    }

    QVERIFY(goBack());
    QVERIFY(goBack());
    QVERIFY(waitForFocus("panel"));
    QCOMPARE(count("done"), points);
    QCOMPARE(count("accepted"), 1);
    QCOMPARE(count("failed"), 0);
}

void tst_TesterKeyboard::aReportIsWritten()
{
    QVERIFY(enter("actionReport"));
    QVERIFY(waitForFocus("reportFormat"));
    QVERIFY(enter("writeReport"));
    const auto path = [this] { return tester().reportWriter().outcome().value(QStringLiteral("path")).toString(); };
    QVERIFY(ShellDriver::waitFor([&path] { return !path().isEmpty(); }));

    QCOMPARE(QFileInfo(path()).path(), exportFolder());
    QVERIFY(QFile(path()).size() > 0);
    QVERIFY(path().endsWith(QLatin1String(".pdf")));
    QVERIFY(waitForFocus("writeReport"));
    QVERIFY(goBack());
    QVERIFY(waitForFocus("panel"));
    QVERIFY(goBack());
}

/// A list moves after a frame only.
void tst_TesterKeyboard::pressUntil(Qt::Key key, const std::function<bool()> &isReached)
{
    constexpr int enough = 60;
    for (int i = 0; i < enough && !isReached(); ++i) {
        driver().press(key);
        driver().waitForFrame();
    }
}

void tst_TesterKeyboard::theResultsAreSearched()
{
    QVERIFY(enter("tile_106"));
    QVERIFY(waitForFocus("search"));
    write(QStringLiteral("A04"));
    QCOMPARE(tester().jobs().results()->count(), 2);

    QVERIFY(tabTo("results"));
    driver().press(Qt::Key_Down);
    driver().press(Qt::Key_Return); // the former one
    QVERIFY(waitFor("verdict"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(tester().shownResult().property("verdict").toInt(), static_cast<int>(Records::Verdict::Failed));
    QVERIFY(waitForFocus("details"));
    driver().press(Qt::Key_Return);
    QVERIFY(waitForFocus("defects"));
    const auto isAtTop = [this] { return find("defects")->property("atYBeginning").toBool(); };
    const auto isAtEnd = [this] { return find("defects")->property("atYEnd").toBool(); };
    pressUntil(Qt::Key_Down, isAtEnd);
    QVERIFY(isAtEnd() && !isAtTop());
    pressUntil(Qt::Key_Up, isAtTop); // where the rules are
    QVERIFY(isAtTop());
    QVERIFY(goBack());
    QVERIFY(waitForFocus("details"));
    QVERIFY(goBack());
    QVERIFY(waitForFocus("results"));
    QVERIFY(tabTo("search"));
    write(QString());
    QVERIFY(goBack());
}

void tst_TesterKeyboard::theShellIsReached()
{
    QVERIFY(tabTo("statusBar"));
    driver().press(Qt::Key_Return);
    QVERIFY(ShellDriver::waitFor([this] { return evaluate(QStringLiteral("notificationArea.opened")).toBool(); }));
    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return !evaluate(QStringLiteral("notificationArea.visible")).toBool(); }));
    QVERIFY(waitForFocus("statusBar"));
}

class tst_TesterKeyboardAfterRestart : public KeyboardTest
{
    Q_OBJECT

public:
    using KeyboardTest::KeyboardTest;

private Q_SLOTS:
    void init() {}
    void cleanup() {}
    void everythingIsStillThere();
};

void tst_TesterKeyboardAfterRestart::everythingIsStillThere()
{
    QCOMPARE(tester().language().current(), TwoStarts::language());
    QCOMPARE(tester().settings().exportFolder(), exportFolder());

    QVERIFY(enter("tile_102"));
    QVERIFY(waitForFocus("panel"));
    QVERIFY(driver().find(jobName)); // the title
    QCOMPARE(tester().jobs().counts().value(QStringLiteral("done")).toInt(), points);
    for (int i = 1; i < accepted; ++i)
        driver().press(Qt::Key_Right);
    QVERIFY(enter("showResult"));

    QVERIFY(waitFor("shownNote"));
    QVERIFY(textOf("shownNote").contains(note));
    QVERIFY2(faults().isEmpty(), qPrintable(faults().join(QLatin1Char('\n'))));
}

int main(int argc, char *argv[])
{
    return TwoStarts::run<tst_TesterKeyboard, tst_TesterKeyboardAfterRestart>(argc, argv);
}

#include "tst_tester_keyboard.moc"
