// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "Internal/OutputFile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <memory>
#include <sys/stat.h>

/// What is at the path of a file that a user wants to be written, and what becomes of it.
class TestOutputFile : public QObject
{
    Q_OBJECT

private:
    QString pathOf(const char *name) const { return mDir->filePath(QString::fromLatin1(name)); }

    void put(const char *name, const QByteArray &bytes) const
    {
        QFile file(pathOf(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }

    QByteArray content(const char *name) const
    {
        QFile file(pathOf(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }

    QStringList files(const char *folder) const
    {
        return QDir(pathOf(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    /// What is told; empty when all is well.
    QString written(const char *name) const
    {
        QString problem;
        return OutputFile::write(pathOf(name), "new", &problem) ? QString() : problem;
    }

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(mDir->path()).mkdir(QStringLiteral("own")));
    }

    void cleanup() { QFile::setPermissions(pathOf("own"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner); }

    void itIsThereWholeOrNotAtAll()
    {
        put("own/file", "former");
        {
            OutputFile file(pathOf("own/file"));
            QVERIFY(file.write("half"));
        }
        QCOMPARE(content("own/file"), QByteArray("former"));
        QCOMPARE(files("own").size(), 1);

        OutputFile file(pathOf("own/file"));
        QVERIFY(file.write("who") && file.write("le") && file.commit());
        QCOMPARE(content("own/file"), QByteArray("whole"));
        QCOMPARE(files("own").size(), 1);
    }

    void aLinkStays()
    {
        QVERIFY(QFile::link(pathOf("own/file"), pathOf("link"))); // which leads to nothing yet

        QCOMPARE(written("link"), QString());

        QVERIFY(QFileInfo(pathOf("link")).isSymLink());
        QCOMPARE(content("own/file"), QByteArray("new"));
    }

    void whatIsNoFileStays_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << QStringLiteral("own");
        QTest::newRow("pipe") << QStringLiteral("pipe");
        QTest::newRow("link to a pipe") << QStringLiteral("link");
    }
    void whatIsNoFileStays()
    {
        QFETCH(const QString, name);
        QCOMPARE(mkfifo(QFile::encodeName(pathOf("pipe")).constData(), 0600), 0);
        QVERIFY(QFile::link(pathOf("pipe"), pathOf("link")));

        OutputFile file(mDir->filePath(name));

        QVERIFY(!file.open());
        QCOMPARE(file.problem(), QStringLiteral("it is not a file"));
        QCOMPARE(file.error(), 0);
        QVERIFY(!file.commit());
        QCOMPARE(files(".").size(), 3);
    }

    void aFolderThatIsNotThereIsTold()
    {
        QCOMPARE(written("nowhere/file"), QStringLiteral("No such file or directory"));
        QCOMPARE(OutputFile(pathOf("nowhere/file")).target(), QString());
    }

    void whatIsClosedToWritingIsNotReplaced()
    {
        put("own/file", "former");
        QVERIFY(QFile::setPermissions(pathOf("own/file"), QFile::ReadOwner));

        Faults::withoutOverride([&] { QCOMPARE(written("own/file"), QStringLiteral("Permission denied")); });

        QCOMPARE(content("own/file"), QByteArray("former"));
        QCOMPARE(files("own").size(), 1);
    }

    void whatWasClosedToOthersStaysClosed()
    {
        put("own/file", "former");
        QVERIFY(QFile::setPermissions(pathOf("own/file"), QFile::ReadOwner | QFile::WriteOwner));

        QCOMPARE(written("own/file"), QString());

        struct stat status = {};
        QCOMPARE(stat(QFile::encodeName(pathOf("own/file")).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0600U);
    }

    /// The folder cannot be opened to have it written to the disk.
    void whatAPowerFailureMayTakeIsTold()
    {
        QVERIFY(QFile::setPermissions(pathOf("own"), QFile::WriteOwner | QFile::ExeOwner));
        bool isCommitted = true;
        QString problem;
        int error = 0;

        Faults::withoutOverride([&] {
            OutputFile file(pathOf("own/file"));
            isCommitted = file.write("new") && file.commit();
            problem = file.problem();
            error = file.error();
        });

        QVERIFY(!isCommitted);
        QCOMPARE(problem, QStringLiteral("it is there, but the disk does not confirm it: Permission denied"));
        QCOMPARE(error, EACCES);
        QCOMPARE(content("own/file"), QByteArray("new"));
    }

    void aFolderThatIsGoneMeanwhileIsTold()
    {
        OutputFile file(pathOf("own/file"));
        QVERIFY(file.write("new"));
        QVERIFY(QDir(mDir->path()).rename(QStringLiteral("own"), QStringLiteral("away")));
        QVERIFY(QDir(mDir->path()).mkdir(QStringLiteral("own")));

        QVERIFY(!file.commit());

        QCOMPARE(file.problem(), QStringLiteral("its folder was moved, removed or unmounted meanwhile"));
        QCOMPARE(file.error(), ENOENT);
        QCOMPARE(files("own"), QStringList());
    }

    void foldersAreMade()
    {
        QString problem;
        QVERIFY(OutputFile::makeFolder(pathOf("own/a/b"), &problem));
        QVERIFY(QFileInfo(pathOf("own/a/b")).isDir());
        put("own/file", "former");

        QVERIFY(!OutputFile::makeFolder(pathOf("own/file/c"), &problem));
        QCOMPARE(problem, QStringLiteral("Not a directory"));
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
};

QTEST_GUILESS_MAIN(TestOutputFile)
#include "tst_outputfile.moc"
