// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "Reports/ReportFile_p.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Records;
using Reports::ReportFile;

/// What is at the path of a document before it is there, and who has put it there.
class TestReportFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir.reset(new QTemporaryDir);
        QVERIFY(QDir(mDir->path()).mkpath(QStringLiteral("own")));
        QVERIFY(QDir(mDir->path()).mkpath(QStringLiteral("shared")));
        QVERIFY(chmod(QFile::encodeName(path("shared")).constData(), 01777) == 0);
        QVERIFY(put("own/letter", "letter"));
    }

    void itIsThereWholeOrNotAtAll()
    {
        QVERIFY(put("own/report", "former"));
        {
            ReportFile file(path("own/report"));
            QVERIFY(file.begin());
            QCOMPARE(file.write("half"), qint64(4));
        }
        QCOMPARE(content("own/report"), QByteArray("former"));
        QCOMPARE(filesOf("own"), QStringList({QStringLiteral("letter"), QStringLiteral("report")}));

        ReportFile file(path("own/report"));
        QVERIFY(file.begin());
        QCOMPARE(file.write("whole"), qint64(5));
        QCOMPARE(content("own/report"), QByteArray("former"));
        QVERIFY(file.commit().ok());
        QCOMPARE(content("own/report"), QByteArray("whole"));
        QCOMPARE(filesOf("own"), QStringList({QStringLiteral("letter"), QStringLiteral("report")}));
    }

    void anOwnLinkStays()
    {
        QVERIFY(link("own/letter", "own/report"));

        QVERIFY(written("own/report").ok());

        QVERIFY(QFileInfo(path("own/report")).isSymLink());
        QCOMPARE(content("own/letter"), QByteArray("report"));
    }

    void aLinkOfAnotherUserIsNotFollowed()
    {
        QVERIFY(link("own/letter", "shared/report"));
        const uid_t another = 12345;
        if (lchown(QFile::encodeName(path("shared/report")).constData(), another, another) != 0)
            QSKIP("only root can give a link to another user");

        const Problem problem = written("shared/report");

        QCOMPARE(problem.fault, Fault::Invalid);
        QCOMPARE(problem.text,
            QStringLiteral("Cannot write %1: another user has put a link there").arg(path("shared/report")));
        QCOMPARE(content("own/letter"), QByteArray("letter"));
        QCOMPARE(filesOf("shared"), QStringList{QStringLiteral("report")});
    }

    /// Nor one that a link of ours leads over.
    void aLinkOfAnotherUserBehindAnOwnOneIsNotFollowed()
    {
        QVERIFY(link("own/letter", "shared/report"));
        QVERIFY(link("shared/report", "own/report"));
        const uid_t another = 12345;
        if (lchown(QFile::encodeName(path("shared/report")).constData(), another, another) != 0)
            QSKIP("only root can give a link to another user");

        QVERIFY(!written("own/report").ok());

        QCOMPARE(content("own/letter"), QByteArray("letter"));
    }

    /// The path is looked at once: what becomes of it while the report is made leads it nowhere else.
    void anotherFolderInTheMeantimeGetsNothing()
    {
        QVERIFY(QDir(path("shared")).mkdir(QStringLiteral("dir")));
        Problem problem;
        {
            ReportFile file(path("shared/dir/letter"));
            QVERIFY(file.begin());
            QCOMPARE(file.write("report"), qint64(6));
            QVERIFY(QDir(path("shared")).rename(QStringLiteral("dir"), QStringLiteral("away")));
            QVERIFY(link("own", "shared/dir"));

            problem = file.commit();
        }

        QCOMPARE(problem.fault, Fault::NotFound);
        QVERIFY(problem.text.endsWith(QStringLiteral("its folder was moved, removed or unmounted meanwhile")));
        QCOMPARE(content("own/letter"), QByteArray("letter"));
        QVERIFY(filesOf("shared/away").isEmpty());
    }

    void whatIsNoFileStays_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << QStringLiteral("shared");
        QTest::newRow("pipe") << QStringLiteral("own/pipe");
        QTest::newRow("link to nothing") << QStringLiteral("own/nothing");
        QTest::newRow("link to a device") << QStringLiteral("own/device");
        QTest::newRow("link to itself") << QStringLiteral("own/loop");
        QTest::newRow("no name") << QString();
    }
    void whatIsNoFileStays()
    {
        QFETCH(const QString, name);
        QVERIFY(mkfifo(QFile::encodeName(path("own/pipe")).constData(), 0600) == 0);
        QVERIFY(QFile::link(path("own/nowhere"), path("own/nothing")));
        QVERIFY(QFile::link(QStringLiteral("/dev/null"), path("own/device")));
        QVERIFY(QFile::link(path("own/loop"), path("own/loop")));
        const QStringList before = filesOf("own");

        ReportFile file(name.isEmpty() ? QString() : path(name.toUtf8().constData()));
        QVERIFY(!file.begin());

        QCOMPARE(file.problem().fault, Fault::Invalid);
        QCOMPARE(file.commit().fault, Fault::Invalid);
        QCOMPARE(filesOf("own"), before);
    }

    void whatWasClosedToOthersStaysClosed()
    {
        QVERIFY(put("own/report", "secret"));
        QVERIFY(chmod(QFile::encodeName(path("own/report")).constData(), 0600) == 0);

        QVERIFY(written("own/report").ok());

        struct stat status = {};
        QVERIFY(stat(QFile::encodeName(path("own/report")).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 0777U, 0600U);
    }

    void whatIsClosedToWritingIsNotReplaced()
    {
        QVERIFY(put("own/report", "former"));
        QVERIFY(QFile::setPermissions(path("own/report"), QFile::ReadOwner));
        Problem problem;

        Faults::withoutOverride([&] { problem = written("own/report"); });

        QCOMPARE(problem.fault, Fault::ReadOnly);
        QCOMPARE(problem.text, QStringLiteral("Cannot write %1: Permission denied").arg(path("own/report")));
        QCOMPARE(content("own/report"), QByteArray("former"));
        QCOMPARE(filesOf("own").size(), 2);
    }

    /// The folder cannot be opened to have it written to the disk.
    void whatAPowerFailureMayTakeIsTold()
    {
        QVERIFY(QFile::setPermissions(path("own"), QFile::WriteOwner | QFile::ExeOwner));
        Problem problem;

        Faults::withoutOverride([&] { problem = written("own/report"); });

        QVERIFY(QFile::setPermissions(path("own"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(problem.text,
            QStringLiteral("Cannot write %1: it is there, but the disk does not confirm it: Permission denied")
                .arg(path("own/report")));
        QCOMPARE(content("own/report"), QByteArray("report"));
    }

private:
    QString path(const char *name) const { return mDir->filePath(QString::fromUtf8(name)); }
    bool link(const char *to, const char *name) const { return QFile::link(path(to), path(name)); }

    bool put(const char *name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    QByteArray content(const char *name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QStringList filesOf(const char *folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::System | QDir::Hidden, QDir::Name);
    }

    Problem written(const char *name) const
    {
        ReportFile file(path(name));
        if (file.begin())
            file.write("report");
        return file.commit();
    }

    QScopedPointer<QTemporaryDir> mDir;
};

QTEST_GUILESS_MAIN(TestReportFile)
#include "tst_reportfile.moc"
