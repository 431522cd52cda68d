// SPDX-License-Identifier: Apache-2.0
#include "Helpers/AbsoluteBaseDir.h"
#include "Helpers/BaseDirHelper.h"
#include "LogCapture.h"
#include "WorkDir.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {
class NamedBaseDir : public BaseDirHelper
{
public:
    explicit NamedBaseDir(const QString &name)
        : mName(name)
    {
    }
    void rename(const QString &name) { mName = name; }
    QString applicationDirName() override { return mName; }

private:
    QString mName;
};

using PathFunction = QString (*)();

const QString uuid = QStringLiteral("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");

bool writeFile(const QString &path, int size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(size, 'x')) == size;
}

/// What the iterator yields at this very moment, added up.
qint64 sizeByIterator(const QString &path)
{
    qint64 total = 0;
    for (QDirIterator entry(path, QDirIterator::Subdirectories); entry.hasNext();) {
        entry.next();
        total += entry.fileInfo().size();
    }
    return total;
}
} // namespace

Q_DECLARE_METATYPE(PathFunction)

class TestBaseDirHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsRegisteredBeforeTheFirstObject() { QVERIFY(!BaseDirHelper::instance()); }

    void constantsNeedNoObject()
    {
        QVERIFY(!BaseDirHelper::instance());

        QCOMPARE(BaseDirHelper::wiremapImageFilePrefix(), QStringLiteral("wiremap_"));
        QCOMPARE(BaseDirHelper::usbMountDir(), QStringLiteral("/mnt/usb/"));
        QCOMPARE(BaseDirHelper::usbRepositoryDir(),
            QStringLiteral("/mnt/usb//debs/armhf/dists/vantor-offline/main/binary-armhf/"));
        QCOMPARE(BaseDirHelper::usbDiagFileName(), QStringLiteral("/mnt/usb//diag.txt"));
        QCOMPARE(BaseDirHelper::applicationPath(), QCoreApplication::applicationDirPath());
    }

    void theFirstObjectIsRegisteredAndNeverReplaced()
    {
        {
            NamedBaseDir first(QStringLiteral("first"));
            QCOMPARE(BaseDirHelper::instance(), static_cast<BaseDirHelper *>(&first));
            {
                NamedBaseDir second(QStringLiteral("second"));
                QCOMPARE(BaseDirHelper::instance(), static_cast<BaseDirHelper *>(&first));
                QCOMPARE(BaseDirHelper::workDir(), QStringLiteral("/opt/first/"));
            }
            QCOMPARE(BaseDirHelper::instance(), static_cast<BaseDirHelper *>(&first));
        }
        QVERIFY(!BaseDirHelper::instance());
    }

    void anObjectCanBeRegisteredAfterTheLastOneIsGone()
    {
        auto first = std::make_unique<NamedBaseDir>(QStringLiteral("first"));
        first.reset();
        QVERIFY(!BaseDirHelper::instance());

        const NamedBaseDir next(QStringLiteral("next"));

        QCOMPARE(BaseDirHelper::workDir(), QStringLiteral("/opt/next/"));
    }

    void deletingThroughTheBaseClassUnregisters()
    {
        std::unique_ptr<BaseDirHelper> helper = std::make_unique<NamedBaseDir>(QStringLiteral("app"));
        QCOMPARE(BaseDirHelper::instance(), helper.get());

        helper.reset();

        QVERIFY(!BaseDirHelper::instance());
    }

    void pathsHangOnTheApplicationsFolder_data()
    {
        QTest::addColumn<PathFunction>("function");
        QTest::addColumn<QString>("path");
        const auto row = [](const char *name, PathFunction function, const char *path) {
            QTest::newRow(name) << function << QString::fromUtf8(path);
        };
        row("workDir", BaseDirHelper::workDir, "/opt/app/");
        row("dataDir", BaseDirHelper::dataDir, "/opt/app/data/");
        row("libDir", BaseDirHelper::libDir, "/opt/app/lib/");
        row("scriptDir", BaseDirHelper::scriptDir, "/opt/app/scripts/");
        row("ccmbScriptDir", BaseDirHelper::ccmbScriptDir, "/opt/app/scripts/ccmb/");
        row("tmpDir", BaseDirHelper::tmpDir, "/opt/app/tmp/");
        row("resourcesDir", BaseDirHelper::resourcesDir, "/opt/app/resources/");
        row("staticLimitsDir", BaseDirHelper::staticLimitsDir, "/opt/app/resources/static_limits/");
        row("testingDir", BaseDirHelper::testingDir, "/opt/app/resources/testing/");
        row("fontsDir", BaseDirHelper::fontsDir, "/opt/app/fonts/");
        row("pdfReportsDir", BaseDirHelper::pdfReportsDir, "/opt/app/data/reports/");
        row("pdfResourcesDir", BaseDirHelper::pdfResourcesDir, "/opt/app/reports/resources/");
        row("soundDir", BaseDirHelper::soundDir, "/opt/app/sound/");
        row("wiremapResultImagesDir", BaseDirHelper::wiremapResultImagesDir, "/opt/app/data/wiremap_results/");
        row("wiremapImageFilePrefix", BaseDirHelper::wiremapImageFilePrefix, "wiremap_");
        row("reportsDir", BaseDirHelper::reportsDir, "/opt/app/reports/");
        row("firmwareDir", BaseDirHelper::firmwareDir, "/opt/app/firmware/");
        row("resultsDir", BaseDirHelper::resultsDir, "/opt/app/data/results/");
        row("driversDir", BaseDirHelper::driversDir, "/opt/app/drivers/");
        row("certificatesDir", BaseDirHelper::certificatesDir, "/opt/app/data/certificates/");
        row("fiberInspectionDir", BaseDirHelper::fiberInspectionDir, "/opt/app/data/fiber_inspection/");
        row("tmpFiberInspectionImagePath", BaseDirHelper::tmpFiberInspectionImagePath, "/opt/app/tmp/fiber_image.jpg");
        row("tmpFiberInspectionResultImagePath", BaseDirHelper::tmpFiberInspectionResultImagePath,
            "/opt/app/tmp/fiber_result_image.jpg");
        row("syncDir", BaseDirHelper::syncDir, "/opt/app/sync/");
        row("syncUploadDbFileName", BaseDirHelper::syncUploadDbFileName, "/opt/app/tmp//sync.db");
        row("tmpLastSyncTarFileName", BaseDirHelper::tmpLastSyncTarFileName, "/opt/app/tmp//last_sync.tar.gz");
        row("usbMountDir", BaseDirHelper::usbMountDir, "/mnt/usb/");
        row("usbRepositoryDir", BaseDirHelper::usbRepositoryDir,
            "/mnt/usb//debs/armhf/dists/vantor-offline/main/binary-armhf/");
        row("usbDiagFileName", BaseDirHelper::usbDiagFileName, "/mnt/usb//diag.txt");
        row("certificateDatabaseFileName", BaseDirHelper::certificateDatabaseFileName, "/opt/app/tmp/certificate.db");
        row("certificateTemplateFileName", BaseDirHelper::certificateTemplateFileName,
            "/opt/app/resources/certificate_template.lrxml");
        row("certificatePropertiesFileName", BaseDirHelper::certificatePropertiesFileName,
            "/opt/app/tmp/report_parameters.ini");
        row("lastTestResultBlobFileName", BaseDirHelper::lastTestResultBlobFileName,
            "/opt/app/tmp/last_test_result.bin");
    }

    void pathsHangOnTheApplicationsFolder()
    {
        QFETCH(PathFunction, function);
        QFETCH(QString, path);
        const LogCapture log;
        const NamedBaseDir app(QStringLiteral("app"));

        QCOMPARE(function(), path);
        QVERIFY(log.lines().isEmpty());
    }

    void theNameIsAskedForEveryTime()
    {
        NamedBaseDir app(QStringLiteral("one"));
        QCOMPARE(BaseDirHelper::tmpDir(), QStringLiteral("/opt/one/tmp/"));

        app.rename(QStringLiteral("two"));

        QCOMPARE(BaseDirHelper::tmpDir(), QStringLiteral("/opt/two/tmp/"));
    }

    void aNameIsTakenAsItIs_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("workDir");
        QTest::newRow("empty") << QString() << QStringLiteral("/opt//");
        QTest::newRow("placeholder") << QStringLiteral("%1") << QStringLiteral("/opt/%1/");
        QTest::newRow("somewhere else") << QStringLiteral("../tmp/x") << QStringLiteral("/opt/../tmp/x/");
        QTest::newRow("not ASCII") << QString::fromUtf8("Prüfer ≥") << QString::fromUtf8("/opt/Prüfer ≥/");
    }

    void aNameIsTakenAsItIs()
    {
        QFETCH(QString, name);
        QFETCH(QString, workDir);
        const NamedBaseDir app(name);

        QCOMPARE(BaseDirHelper::workDir(), workDir);
    }

    void aFolderMayLieAnywhere_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("workDir");
        const auto row = [](const char *name, const char *folder, const char *workDir) {
            QTest::newRow(name) << QString::fromUtf8(folder) << QString::fromUtf8(workDir);
        };
        row("plain", "/srv/unit", "/srv/unit/");
        row("with a slash", "/srv/unit/", "/srv/unit/");
        row("where units have it", "/opt/app", "/opt/app/");
        row("roundabout", "/srv//other/../unit/.", "/srv/unit/");
        row("the root", "/", "/");
        row("placeholder", "/srv/%1", "/srv/%1/");
        row("not ASCII", "/srv/Prüfer ≥", "/srv/Prüfer ≥/");
    }

    void aFolderMayLieAnywhere()
    {
        QFETCH(QString, folder);
        QFETCH(QString, workDir);
        const LogCapture log;
        AbsoluteBaseDir dir(folder);

        QCOMPARE(BaseDirHelper::instance(), static_cast<BaseDirHelper *>(&dir));
        QCOMPARE(BaseDirHelper::workDir(), workDir);
        QCOMPARE(BaseDirHelper::tmpDir(), workDir + QStringLiteral("tmp/"));
        QCOMPARE(BaseDirHelper::tmpLastSyncTarFileName(), workDir + QStringLiteral("tmp//last_sync.tar.gz"));
        QCOMPARE(QDir::cleanPath(QStringLiteral("/opt/") + dir.applicationDirName()), QDir::cleanPath(workDir));
        QVERIFY(log.lines().isEmpty());
    }

    void aRelativeFolderStaysWhereItWas()
    {
        const QString before = QDir::currentPath();
        const QTemporaryDir here;
        QVERIFY(QDir::setCurrent(here.path()));
        const QString expected = QDir::currentPath() + QStringLiteral("/unit/");

        const AbsoluteBaseDir dir(QStringLiteral("unit"));
        QVERIFY(QDir::setCurrent(before));

        QCOMPARE(BaseDirHelper::workDir(), expected);
        QVERIFY(!QFileInfo::exists(expected));
    }

    void aSecondFolderChangesNothing()
    {
        const NamedBaseDir app(QStringLiteral("app"));
        AbsoluteBaseDir second(QStringLiteral("/srv/unit"));

        QCOMPARE(BaseDirHelper::workDir(), QStringLiteral("/opt/app/"));
        QCOMPARE(second.applicationDirName(), QStringLiteral("../srv/unit"));
    }

    void binDirWarnsOfAMissingFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::newRow("plain") << QStringLiteral("x") << QStringLiteral("/opt/no such application//bin/x");
        QTest::newRow("placeholder") << QStringLiteral("%1%2") << QStringLiteral("/opt/no such application//bin/%1%2");
        QTest::newRow("upward") << QStringLiteral("../secret")
                                << QStringLiteral("/opt/no such application//bin/../secret");
    }

    void binDirWarnsOfAMissingFile()
    {
        QFETCH(QString, name);
        QFETCH(QString, path);
        const NamedBaseDir app(QStringLiteral("no such application"));
        const LogCapture log;

        QCOMPARE(BaseDirHelper::binDir(name), path);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: file \"%1\" doesn't exists").arg(path)});
    }

    void binDirIsSilentAboutAFileThatExists()
    {
        const TemporaryWorkDir workDir;
        QVERIFY(QDir(workDir.path()).mkdir(QStringLiteral("bin")));
        QVERIFY(writeFile(workDir.filePath(QStringLiteral("bin/tool")), 1));
        const LogCapture log;

        const QString path = BaseDirHelper::binDir(QStringLiteral("tool"));

        QCOMPARE(path, BaseDirHelper::workDir() + QStringLiteral("/bin/tool"));
        QVERIFY(QFileInfo::exists(path));
        QVERIFY(log.lines().isEmpty());
    }

    void pathsAreOnlyText()
    {
        const TemporaryWorkDir workDir;
        const QStringList before =
            QDir(workDir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);

        BaseDirHelper::fiberInspectionDir();
        BaseDirHelper::syncDir();
        BaseDirHelper::tmpSyncFileName();

        QCOMPARE(QDir(workDir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), before);
        QVERIFY(QDir(BaseDirHelper::tmpDir()).isEmpty());
    }

    void everySyncFileNameIsFresh()
    {
        const NamedBaseDir app(QStringLiteral("app"));
        const auto verify = [](PathFunction function, const QString &suffix) {
            const QRegularExpression form(
                QStringLiteral("^/opt/app/tmp//sync_") + uuid + QRegularExpression::escape(suffix) + QLatin1Char('$'));
            QSet<QString> names;
            for (int i = 0; i < 100; ++i) {
                const QString name = function();
                QVERIFY2(form.match(name).hasMatch(), qPrintable(name));
                names.insert(name);
            }
            QCOMPARE(names.size(), 100);
        };

        verify(BaseDirHelper::tmpSyncFileName, QString());
        verify(BaseDirHelper::tmpSyncTarFileName, QStringLiteral(".tar.gz"));
        verify(BaseDirHelper::tmpSyncDatabaseFileName, QStringLiteral(".db"));
        QCOMPARE(BaseDirHelper::tmpSyncFileName().size(), int(qstrlen("/opt/app/tmp//sync_")) + 36);
    }

    void archiveAndDatabaseDoNotShareAName()
    {
        const NamedBaseDir app(QStringLiteral("app"));
        const QString archive = BaseDirHelper::tmpSyncTarFileName();
        const QString database = BaseDirHelper::tmpSyncDatabaseFileName();

        QVERIFY(archive.section(QLatin1Char('.'), 0, 0) != database.section(QLatin1Char('.'), 0, 0));
    }

    void aMissingDirectoryHasNoSize_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("not there") << QStringLiteral("missing");
        QTest::newRow("a file") << QStringLiteral("file");
        QTest::newRow("a dangling link") << QStringLiteral("dangling");
    }

    void aMissingDirectoryHasNoSize()
    {
        QFETCH(QString, name);
        const QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(QStringLiteral("file")), 10));
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("nowhere")), dir.filePath(QStringLiteral("dangling"))));
        const QString path = dir.filePath(name);
        const LogCapture log;

        QCOMPARE(BaseDirHelper::getDirSize(path), qint64(-1));
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Dir path  \"%1\"  not found").arg(path)});
    }

    void theSizeIsToldInTheLog()
    {
        const QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(QStringLiteral("file")), 1234));
        const LogCapture log;

        const qint64 size = BaseDirHelper::getDirSize(dir.path());

        QCOMPARE(log.asText(),
            QStringList{QStringLiteral("debug: Size of  \"%1\"  is  %2  bytes").arg(dir.path()).arg(size)});
    }

    void anEmptyDirectoryHasTheSizeOfWhatIsListed()
    {
        const LogCapture silence;
        const QTemporaryDir dir;

        // "." and ".." are listed and count with what the file system says of them.
        const qint64 expected =
            QFileInfo(dir.filePath(QStringLiteral("."))).size() + QFileInfo(dir.filePath(QStringLiteral(".."))).size();

        QCOMPARE(BaseDirHelper::getDirSize(dir.path()), sizeByIterator(dir.path()));
        QCOMPARE(BaseDirHelper::getDirSize(dir.path()), expected);
    }

    void filesOfAllDepthsCount()
    {
        const LogCapture silence;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a/b/c")));
        const qint64 directories = BaseDirHelper::getDirSize(dir.path());
        QVERIFY(writeFile(dir.filePath(QStringLiteral("top")), 10));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("a/one")), 200));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("a/b/c/three")), 3000));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("a/b/empty")), 0));

        const qint64 size = BaseDirHelper::getDirSize(dir.path());

        QCOMPARE(size, sizeByIterator(dir.path()));
        QCOMPARE(size - directories, qint64(10 + 200 + 3000));
        QCOMPARE(BaseDirHelper::getDirSize(dir.path() + QLatin1Char('/')), size);
    }

    void hiddenFilesAreNotListed()
    {
        const LogCapture silence;
        const QTemporaryDir dir;
        const qint64 before = BaseDirHelper::getDirSize(dir.path());
        QVERIFY(writeFile(dir.filePath(QStringLiteral(".hidden")), 5000));

        QCOMPARE(BaseDirHelper::getDirSize(dir.path()), before);
        QCOMPARE(BaseDirHelper::getDirSize(dir.path()), sizeByIterator(dir.path()));
    }

    void aLinkedFileCountsWithTheSizeOfItsTarget()
    {
        const LogCapture silence;
        const QTemporaryDir dir;
        const QTemporaryDir elsewhere;
        QVERIFY(writeFile(elsewhere.filePath(QStringLiteral("target")), 4321));
        const qint64 before = BaseDirHelper::getDirSize(dir.path());
        QVERIFY(QFile::link(elsewhere.filePath(QStringLiteral("target")), dir.filePath(QStringLiteral("link"))));

        QCOMPARE(BaseDirHelper::getDirSize(dir.path()) - before, qint64(4321));
    }

    void aLinkedDirectoryIsNotEntered()
    {
        const LogCapture silence;
        const QTemporaryDir dir;
        const QTemporaryDir elsewhere;
        QVERIFY(writeFile(elsewhere.filePath(QStringLiteral("large")), 100000));
        const qint64 before = BaseDirHelper::getDirSize(dir.path());
        QVERIFY(QFile::link(elsewhere.path(), dir.filePath(QStringLiteral("link"))));

        const qint64 size = BaseDirHelper::getDirSize(dir.path());

        QCOMPARE(size, sizeByIterator(dir.path()));
        QCOMPARE(size - before, QFileInfo(elsewhere.path()).size());
        QVERIFY(size - before < 100000);
    }

    void aLinkToItsOwnParentEnds()
    {
        const LogCapture silence;
        const QTemporaryDir dir;
        QVERIFY(QFile::link(dir.path(), dir.filePath(QStringLiteral("loop"))));

        QCOMPARE(BaseDirHelper::getDirSize(dir.path()), sizeByIterator(dir.path()));
    }
};

QTEST_GUILESS_MAIN(TestBaseDirHelper)
#include "tst_basedirhelper.moc"
