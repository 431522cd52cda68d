// SPDX-License-Identifier: Apache-2.0
// The start-up in processes of its own, each with an environment that the test prepares.
#include "OrvelApplication.h"
#include "ProgramRun.h"

#include <QMap>
#include <QProcessEnvironment>
#include <QtTest>

#include <type_traits>

namespace {
using Variables = QMap<QByteArray, QByteArray>;

Variables with(Variables variables, const Variables &more)
{
    for (auto variable = more.cbegin(); variable != more.cend(); ++variable)
        variables[variable.key()] = variable.value();
    return variables;
}

struct Outcome
{
    Variables variables;
    QByteArray log;
};

/// What the probe prints when it does these steps in this environment and no other.
Outcome outcomeOf(const QStringList &steps, const Variables &environment)
{
    QProcessEnvironment prepared;
    prepared.insert(QStringLiteral("LC_ALL"), QStringLiteral("C")); // without any variable the process inherits ours
    for (auto variable = environment.cbegin(); variable != environment.cend(); ++variable)
        prepared.insert(QString::fromUtf8(variable.key()), QString::fromUtf8(variable.value()));
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    for (const auto &name : {QStringLiteral("ASAN_OPTIONS"), QStringLiteral("LSAN_OPTIONS")}) {
        if (own.contains(name))
            prepared.insert(name, own.value(name));
    }

    const ProgramRun run = ProgramRun::of(QStringLiteral(VANTOR_STARTUP_PROBE), steps,
        [&prepared](ChildProcess &probe) { probe.setProcessEnvironment(prepared); });
    if (run.exitCode != 0)
        return {};

    Outcome outcome{{}, run.errors};
    const QList<QByteArray> lines = run.output.split('\n');
    for (const QByteArray &line : lines) {
        const int equals = line.indexOf('=');
        if (equals > 0 && !line.startsWith("ASAN_") && !line.startsWith("LSAN_") && !line.startsWith("LC_"))
            outcome.variables[line.left(equals)] = line.mid(equals + 1);
    }
    return outcome;
}
} // namespace

Q_DECLARE_METATYPE(Variables)

class TestOrvelApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thereAreNoInstances() { QVERIFY(!std::is_default_constructible_v<OrvelApplication>); }

    void stepsSetTheirVariablesAndNoOthers_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<Variables>("before");
        QTest::addColumn<Variables>("after");

        const auto row = [](const char *name, const char *steps, const Variables &before, const Variables &after) {
            QTest::newRow(name) << QString::fromUtf8(steps).split(QLatin1Char(' '), Qt::SkipEmptyParts) << before
                                << with(before, after);
        };
        const Variables nothingDone{{"(attribute 20)", "0"}, {"(XInitThreads)", "0 times, display "}};
        const Variables guiDone{
            {"DISPLAY", ":0.0"},
            {"XAUTHORITY", "/home/x_user/.Xauthority"},
            {"XDG_SESSION_TYPE", "x11"},
            {"QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox"},
            {"QTWEBENGINEPROCESS_PATH", "/opt/qt5.11.3/libexec/QtWebEngineProcess"},
            {"QT_IM_MODULE", "qtvirtualkeyboard"},
            {"QT_VIRTUALKEYBOARD_STYLE", "orvel"},
            {"QT_VIRTUALKEYBOARD_LAYOUT_PATH", "qrc:/QtQuick/VirtualKeyboard/content/layouts"},
            {"(attribute 20)", "1"},
            {"(XInitThreads)", "1 times, display (none)"},
        };
        const Variables coreDone{
            {"QML2_IMPORT_PATH", "/opt/x/lib/qt5/qml/"}, {"QT_PLUGIN_PATH", "/opt/x/lib/qt5/plugins/"}};
        const Variables softwareDone{{"QMLSCENE_DEVICE", "softwarecontext"}};

        row("nothing", "", {}, nothingDone);
        row("core", "folder=x core", {}, with(nothingDone, coreDone));
        row("core, with other paths inherited", "folder=x core",
            {{"QML2_IMPORT_PATH", "/elsewhere"}, {"QT_PLUGIN_PATH", "/elsewhere"}, {"HOME", "/nowhere"}},
            with(nothingDone, coreDone));
        row("gui", "gui", {}, guiDone);
        row("gui, everything inherited", "gui",
            {{"DISPLAY", ":7"}, {"XAUTHORITY", "/mine"}, {"XDG_SESSION_TYPE", "wayland"},
                {"QTWEBENGINE_CHROMIUM_FLAGS", "--mine"}, {"QTWEBENGINEPROCESS_PATH", "/mine"},
                {"QT_IM_MODULE", "ibus"}, {"QT_VIRTUALKEYBOARD_STYLE", "mine"},
                {"QT_VIRTUALKEYBOARD_LAYOUT_PATH", "/mine"}},
            with(guiDone, {{"(XInitThreads)", "1 times, display :7"}})); // before anything else
        row("gui, DISABLE_XAUTHORITY=1, inherited", "gui", {{"DISABLE_XAUTHORITY", "1"}, {"XAUTHORITY", "/mine"}},
            with(guiDone, {{"XAUTHORITY", "/mine"}}));
        row("gui, DISABLE_XAUTHORITY=0", "gui", {{"DISABLE_XAUTHORITY", "0"}, {"XAUTHORITY", "/mine"}},
            with(guiDone, {{"XAUTHORITY", "/mine"}}));
        row("gui, DISABLE_XAUTHORITY empty", "gui", {{"DISABLE_XAUTHORITY", ""}, {"XAUTHORITY", "/mine"}}, guiDone);
        row("software", "software", {}, with(nothingDone, softwareDone));
        row("software, inherited", "software", {{"QMLSCENE_DEVICE", "mine"}}, with(nothingDone, softwareDone));
        row("all of it", "folder=x core gui software", {}, with(with(guiDone, coreDone), softwareDone));
        row("all of it twice", "folder=x core gui software core gui software", {},
            with(with(with(guiDone, coreDone), softwareDone), {{"(XInitThreads)", "2 times, display :0.0"}}));
    }

    void stepsSetTheirVariablesAndNoOthers()
    {
        QFETCH(const QStringList, steps);
        QFETCH(const Variables, before);

        const Outcome outcome = outcomeOf(steps, before);

        QTEST(outcome.variables, "after");
        QCOMPARE(outcome.log, QByteArray());
    }

    void aDisabledAuthorityStaysUnset()
    {
        const Variables after = outcomeOf({QStringLiteral("gui")}, {{"DISABLE_XAUTHORITY", "1"}}).variables;

        QCOMPARE(after.value("DISPLAY"), QByteArray(":0.0"));
        QVERIFY(!after.contains("XAUTHORITY"));
    }

    void pathsAreLatin1()
    {
        const Variables after = outcomeOf({QStringLiteral("folder=ä世"), QStringLiteral("core")}, {}).variables;

        QCOMPARE(after.value("QML2_IMPORT_PATH"), QByteArray("/opt/\xe4?/lib/qt5/qml/"));
    }

    void withoutAFolderThereIsAWarning()
    {
        const Outcome outcome = outcomeOf({QStringLiteral("core")}, {});

        QCOMPARE(outcome.variables.value("QT_PLUGIN_PATH"), QByteArray("/opt//lib/qt5/plugins/"));
        QCOMPARE(outcome.log.trimmed(),
            QByteArray("No BaseDirHelper has been constructed, so the application's folder has no name"));
    }
};

QTEST_GUILESS_MAIN(TestOrvelApplication)
#include "tst_orvelapplication.moc"
