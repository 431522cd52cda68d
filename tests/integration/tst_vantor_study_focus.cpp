// SPDX-License-Identifier: Apache-2.0
#include "ProgramRun.h"
#include "StandInPrograms.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <optional>

namespace {
struct Run
{
    int exitCode = -1;
    QByteArray output;
    QByteArray messages;
};

Run run(const QStringList &arguments)
{
    constexpr int longest = 300000; // milliseconds
    const ProgramRun run = ProgramRun::of(QStringLiteral(VANTOR_STUDY_PROGRAM), arguments, {}, longest);
    return {run.exitCode, run.output, run.errors};
}

Run quickStudy(const QString &folder)
{
    return run({QStringLiteral("focus"), QStringLiteral("--quick"), folder});
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// -1 for what is no XML.
int countElements(const QString &path, const char *name)
{
    QXmlStreamReader reader(read(path));
    int count = 0;
    while (!reader.atEnd())
        count += reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String(name) ? 1 : 0;
    return reader.hasError() ? -1 : count;
}
} // namespace

/// The study of the focus value, and what the commands of vantor-study have in common.
class TestVantorStudyFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(mFolder.emplace().isValid()); }

    void aStudyFillsItsTablesIntoTheTextAndIsTheSameEachTime()
    {
        const QTemporaryDir other;
        for (const QString &folder : {mFolder->path(), other.path()}) {
            QVERIFY(writeFile(folder + QStringLiteral("/focus.md"),
                "Before.\n\n<!-- table: peaks -->\nold\n<!-- end -->\n\nAfter "
                "<!-- value: stacks -->0<!-- end --> stacks.\n"));
            const Run result = quickStudy(folder);
            QVERIFY2(result.exitCode == 0, result.messages.constData());
            QVERIFY(result.output.isEmpty());
        }

        const QString text = QString::fromUtf8(read(path("focus.md")));
        QVERIFY(text.startsWith(QStringLiteral("Before.")));
        QVERIFY(text.contains(QStringLiteral("| noise 0.9 | 2 |")));
        QVERIFY(!text.contains(QStringLiteral("old")));
        QVERIFY(text.endsWith(QStringLiteral("<!-- value: stacks -->12<!-- end --> stacks.\n")));
        for (const char *const name : {"focus-curve", "focus-found", "focus-noise", "focus-place"})
            QVERIFY2(countElements(path("images/") + QLatin1String(name) + QStringLiteral(".svg"), "path") > 0, name);
        for (const char *const name : {"focus.md", "images/focus-curve.svg", "images/focus-found.svg"})
            QVERIFY2(read(other.filePath(QLatin1String(name))) == read(path(name)), name);
    }

    void aStudyThatCannotBeWrittenIsReported()
    {
        QVERIFY(writeFile(path("file"), "in the way"));

        const Run result = quickStudy(path("file"));

        QCOMPARE(result.exitCode, 74);
        QVERIFY(result.messages.contains("cannot be created"));
    }

    void withoutGnuplotNoStudyBeginsThatDraws_data()
    {
        QTest::addColumn<QStringList>("arguments");

        QTest::newRow("accuracy") << QStringList{QStringLiteral("accuracy"), QStringLiteral("--out")};
        QTest::newRow("focus") << QStringList{QStringLiteral("focus"), QStringLiteral("--quick")};
    }

    void withoutGnuplotNoStudyBeginsThatDraws()
    {
        QFETCH(QStringList, arguments);
        StandInPrograms programs;
        programs.hideOthers();

        const Run result = run(arguments + QStringList{mFolder->path()});

        QCOMPARE(result.exitCode, 69);
        QVERIFY(result.messages.contains("gnuplot-nox"));
        QVERIFY(QDir(mFolder->path()).isEmpty());
    }

    void everyCommandTellsItsHelpAndVersion_data()
    {
        QTest::addColumn<QStringList>("command");

        QTest::newRow("none") << QStringList();
        for (const char *const command : {"accuracy", "focus", "formatting"})
            QTest::newRow(command) << QStringList{QString::fromLatin1(command)};
    }

    void everyCommandTellsItsHelpAndVersion()
    {
        QFETCH(QStringList, command);

        const Run help = run(command + QStringList{QStringLiteral("--help")});
        const Run version = run(command + QStringList{QStringLiteral("--version")});

        QCOMPARE(help.exitCode, 0);
        QVERIFY(help.output.contains("Usage: ") && help.messages.isEmpty());
        QCOMPARE(version.exitCode, 0);
        QVERIFY(version.output.startsWith("vantor-study ") && version.messages.isEmpty());
    }

    void wrongUsageIsRefused_data()
    {
        QTest::addColumn<QString>("arguments");

        for (const char *const arguments : {"", "colour", "--faces", "--faces 10", "focus", "focus a b",
                 "focus --seldom a", "accuracy face.jpg", "formatting a"})
            QTest::newRow(arguments) << QString::fromLatin1(arguments);
    }

    void wrongUsageIsRefused()
    {
        QFETCH(QString, arguments);

        const Run result = run(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));

        QCOMPARE(result.exitCode, 64);
        QVERIFY(result.output.isEmpty());
        QCOMPARE(result.messages.count('\n'), 1);
        QVERIFY(result.messages.startsWith("vantor-study: "));
    }

private:
    QString path(const char *name) const { return mFolder->filePath(QString::fromUtf8(name)); }

    std::optional<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(TestVantorStudyFocus)
#include "tst_vantor_study_focus.moc"
