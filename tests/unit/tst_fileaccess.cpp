// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "Internal/FileAccess.h"
#include "LogCapture.h"
#include "WatchedDisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {
QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

ino_t inodeOf(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

/// What arrives where the disk would be.
struct Disk
{
    QByteArray written; ///< what the file held when it was flushed
    QList<QByteArray> texts; ///< the same of every time
    QString watched;
    QList<QByteArray> namedTexts; ///< what was at the watched path then
    int error = 0;
    std::function<void()> onSync; ///< called once
};

Disk &disk()
{
    static Disk instance;
    return instance;
}

int noteSync(int descriptor)
{
    disk().written = read(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
    disk().texts << disk().written;
    if (const auto deed = std::exchange(disk().onSync, nullptr))
        deed();
    if (!disk().watched.isEmpty())
        disk().namedTexts << read(disk().watched);
    return disk().error;
}
} // namespace

Q_DECLARE_METATYPE(FileAccess::Found)

class TestFileAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mPath = mDir->filePath(QStringLiteral("file"));
        mElsewhere = mDir->filePath(QStringLiteral("elsewhere"));
        QVERIFY(write(mElsewhere, "precious"));
        QCOMPARE(chmod(QFile::encodeName(mElsewhere).constData(), 0644), 0);
        disk() = {};
        watchedDisk().onSync = noteSync;
    }
    void cleanup() { watchedDisk() = {}; }

    void whatLiesWithinAFolderIsKnownBehindLinks_data()
    {
        QTest::addColumn<QString>("path"); // below the folder that also holds "store"
        QTest::addColumn<bool>("isWithin");
        QTest::newRow("the folder") << QStringLiteral("store") << true;
        QTest::newRow("in it") << QStringLiteral("store/file") << true;
        QTest::newRow("not there yet") << QStringLiteral("store/new/file") << true;
        QTest::newRow("by another way") << QStringLiteral("other/../store/file") << true;
        QTest::newRow("through a link") << QStringLiteral("link/new") << true;
        QTest::newRow("beside it") << QStringLiteral("file") << false;
        QTest::newRow("with its name in front") << QStringLiteral("store2/file") << false;
        QTest::newRow("out of it again") << QStringLiteral("store/../file") << false;
        QTest::newRow("above it") << QString() << false;
    }
    void whatLiesWithinAFolderIsKnownBehindLinks()
    {
        QFETCH(const QString, path);
        QFETCH(const bool, isWithin);
        for (const char *const name : {"store", "store2", "other"})
            QVERIFY(QDir(mDir->path()).mkdir(QString::fromLatin1(name)));
        const QString store = mDir->filePath(QStringLiteral("store"));
        QVERIFY(QFile::link(store, mDir->filePath(QStringLiteral("link"))));
        QVERIFY(write(store + QStringLiteral("/file"), "text"));

        QCOMPARE(FileAccess::isWithin(mDir->filePath(path), store), isWithin);
        QCOMPARE(FileAccess::isWithin(mDir->filePath(path), mDir->filePath(QStringLiteral("link"))), isWithin);
        QVERIFY(FileAccess::isWithin(mDir->filePath(path), QDir::rootPath()));
        QVERIFY(!FileAccess::isWithin(mDir->filePath(path), mDir->filePath(QStringLiteral("nothing"))));
    }

    void aFolderIsOpenToItsOwnerAndToWhomItsModeLetsIn_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<uint>("owner");
        QTest::addColumn<uint>("group");
        QTest::addColumn<bool>("isOpen");
        QTest::newRow("ours") << 0755 << 0U << 1000U << false;
        QTest::newRow("theirs") << 0755 << 1000U << 1000U << true;
        QTest::newRow("theirs, closed to them") << 0500 << 1000U << 1000U << true;
        QTest::newRow("a group's") << 0775 << 0U << 1000U << true;
        QTest::newRow("the group's of root") << 0775 << 0U << 0U << false;
        QTest::newRow("everybody's") << 0757 << 0U << 0U << true;
        QTest::newRow("sticky") << 01777 << 0U << 0U << true;
    }
    void aFolderIsOpenToItsOwnerAndToWhomItsModeLetsIn()
    {
        QFETCH(const int, mode);
        QFETCH(const uint, owner);
        QFETCH(const uint, group);
        QFETCH(const bool, isOpen);
        if (geteuid() != 0)
            QSKIP("only root gives a folder away");
        const QTemporaryDir dir;
        const QByteArray path = QFile::encodeName(dir.path());
        QVERIFY(chown(path.constData(), owner, group) == 0 && chmod(path.constData(), static_cast<mode_t>(mode)) == 0);

        struct stat status = {};
        QCOMPARE(stat(path.constData(), &status), 0);
        QCOMPARE(FileAccess::isOpenToOthers(status), isOpen);
    }

    void aPlaceIsWhereAPathLeads_data()
    {
        QTest::addColumn<QString>("path"); // below a folder with "in/file", and links
        QTest::addColumn<QString>("folder"); // empty: the walk does not get there
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<bool>("isLinked");
        const auto row = [](const char *path, const char *folder, const char *name, bool isThere, bool isLinked) {
            QTest::newRow(path) << QString::fromLatin1(path) << QString::fromLatin1(folder) << QString::fromLatin1(name)
                                << isThere << isLinked;
        };
        row("in/file", "in", "file", true, false);
        row("in/new", "in", "new", false, false);
        row("in", ".", "in", true, false);
        row("in/", "in", ".", true, false);
        row("in/..", "in", "..", true, false);
        row("in/.././/in/file", "in", "file", true, false);
        row("to-folder/file", "in", "file", true, false);
        row("to-folder/new", "in", "new", false, false);
        row("to-folder", ".", "in", true, true);
        row("to-file", "in", "file", true, true);
        row("to-new", "in", "new", false, true);
        row("relative", "in", "file", true, true);
        row("two", "in", "file", true, true);
        row("loop", "", "", false, true);
        row("none/file", "", "", false, false);
        row("to-none", "", "", false, true);
        row("in/file/file", "", "", false, false);
        row("in/file/", "", "", false, false);
        row("in/new/", "", "", false, false);
    }
    void aPlaceIsWhereAPathLeads()
    {
        QFETCH(const QString, path);
        QFETCH(const QString, folder);
        QFETCH(const QString, name);
        QFETCH(const bool, isThere);
        QFETCH(const bool, isLinked);
        makeWays();

        const FileAccess::Place place(mDir->path() + QLatin1Char('/') + path);

        QCOMPARE(place.isThere(), isThere);
        QCOMPARE(place.isLinked(), isLinked);
        QCOMPARE(QFile::decodeName(place.name()), name);
        QVERIFY(!place.isPlanted());
        QCOMPARE(place.folder() >= 0, !folder.isEmpty());
        QCOMPARE(place.error() == 0, !folder.isEmpty());
        if (!folder.isEmpty())
            QVERIFY(isOneFolder(place.folder(), mDir->path() + QLatin1Char('/') + folder));
    }

    void whereALinkLedIsHeldWhenItLeadsElsewhere()
    {
        makeWays();
        const QString link = mDir->filePath(QStringLiteral("to-file"));

        const FileAccess::Place place(link);
        QVERIFY(QFile::remove(link));
        QVERIFY(QFile::link(mElsewhere, link));
        QVERIFY(QDir(mDir->path()).rename(QStringLiteral("in"), QStringLiteral("moved")));

        QCOMPARE(read(place.throughDescriptor()), QByteArray("text"));
        QCOMPARE(place.path(), mDir->filePath(QStringLiteral("moved/file")));
    }

    void aPlaceIsNotSoughtBehindAPlantedLink_data()
    {
        QTest::addColumn<int>("mode"); // of the folder that has the link
        QTest::addColumn<uint>("folderOwner");
        QTest::addColumn<uint>("owner"); // of the link
        QTest::addColumn<bool>("isPlanted");
        QTest::addColumn<bool>("isHeld");
        const auto row = [](const char *name, int mode, uint folderOwner, uint owner, bool isPlanted, bool isHeld) {
            QTest::newRow(name) << mode << folderOwner << owner << isPlanted << isHeld;
        };
        row("theirs in a sticky folder", 01777, 0, 1000, true, false);
        row("theirs in their folder", 0755, 1000, 1000, true, false);
        row("theirs where only we can write", 0755, 0, 1000, false, true);
        row("ours in a sticky folder", 01777, 0, 0, false, true);
        row("ours in a folder that is open to all", 0777, 0, 0, false, false);
        row("ours in their sticky folder", 01777, 1000, 0, false, false);
    }
    void aPlaceIsNotSoughtBehindAPlantedLink()
    {
        QFETCH(const int, mode);
        QFETCH(const uint, folderOwner);
        QFETCH(const uint, owner);
        QFETCH(const bool, isPlanted);
        QFETCH(const bool, isHeld);
        if (geteuid() != 0)
            QSKIP("only root gives a link away");
        makeWays();
        const QByteArray folder = QFile::encodeName(mDir->filePath(QStringLiteral("open")));
        QVERIFY(QDir().mkdir(QFile::decodeName(folder)));
        for (const char *const link : {"way", "last"}) {
            const QString target = mDir->filePath(QLatin1String(qstrcmp(link, "way") == 0 ? "in" : "in/file"));
            const QString path = QFile::decodeName(folder + '/' + link);
            QVERIFY(QFile::link(target, path));
            QCOMPARE(lchown(QFile::encodeName(path).constData(), owner, owner), 0);
        }
        QVERIFY(chown(folder.constData(), folderOwner, folderOwner) == 0
            && chmod(folder.constData(), static_cast<mode_t>(mode)) == 0);

        for (const char *const path : {"/way/file", "/way/new", "/last"}) {
            const FileAccess::Place place(QFile::decodeName(folder + path));
            QCOMPARE(place.isPlanted(), isPlanted);
            QCOMPARE(place.folder() < 0, isPlanted);
            QCOMPARE(place.isWayHeld(), isHeld);
            QCOMPARE(place.whyNoFile().isEmpty(), !isPlanted);
        }
        const FileAccess::Place made(QFile::decodeName(folder + "/way/a/b"), FileAccess::Place::Missing::MakeFolders);
        QCOMPARE(made.isPlanted(), isPlanted);
        QCOMPARE(QFileInfo::exists(mDir->filePath(QStringLiteral("in/a/b"))), !isPlanted);
        if (!isPlanted)
            QVERIFY(isOneFolder(made.folder(), mDir->filePath(QStringLiteral("in/a/b"))));
    }

    void whatIsNoPathLeadsNowhere()
    {
        QVERIFY(FileAccess::Place(QString()).folder() < 0);
        QVERIFY(FileAccess::Place(mElsewhere + QChar::Null + QStringLiteral("x")).folder() < 0);
        int ends[2] = {};
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        const FileAccess::Place place(QStringLiteral("/proc/self/fd/%1").arg(ends[0]));
        QVERIFY(place.isThere() && !place.isFile() && !place.whyNoFile().isEmpty());
        close(ends[0]);
        close(ends[1]);
        QVERIFY(FileAccess::Place(QStringLiteral("/")).isFolder());
    }

    void aNewFileTakesThePlaceOfALink()
    {
        QVERIFY(QFile::link(mElsewhere, mPath));
        QFile file;

        QVERIFY(FileAccess::createNew(mPath, &file));
        QVERIFY(FileAccess::writeThrough(&file, "text\n"));
        file.close();

        QVERIFY(!QFileInfo(mPath).isSymLink());
        QCOMPARE(read(mPath), QByteArray("text\n"));
        QCOMPARE(read(mElsewhere), QByteArray("precious"));
    }

    void aNewFileTakesThePlaceOfAPipe()
    {
        QCOMPARE(mkfifo(QFile::encodeName(mPath).constData(), 0600), 0);
        QFile file;

        QVERIFY(FileAccess::createNew(mPath, &file));
        QVERIFY(QFileInfo(mPath).isFile());
    }

    void aFolderIsInTheWay()
    {
        QVERIFY(QDir().mkdir(mPath));
        QFile file;

        QVERIFY(!FileAccess::createNew(mPath, &file));
        QVERIFY(!FileAccess::openForWriting(mPath, FileAccess::Existing::Overwrite, &file));
        QVERIFY(!FileAccess::openRegular(mPath, &file));
        QCOMPARE(FileAccess::openOurs(mPath, &file), FileAccess::Found::Unusable);
        QVERIFY(!FileAccess::isOwnFile(mPath));
        const LogCapture log;
        QVERIFY(!FileAccess::replace(mPath, "text"));
        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to replace %1: Is a directory").arg(mPath)));
        QCOMPARE(QDir(mDir->path()).entryList(QDir::Files), QStringList(QStringLiteral("elsewhere")));
    }

    void aFileOfAnotherUserIsNotOpenedAsOurs()
    {
        constexpr uid_t nobody = 65534;
        if (chown(QFile::encodeName(mElsewhere).constData(), nobody, gid_t(-1)) != 0)
            QSKIP("only root gives a file away");
        const LogCapture log;
        QFile file;

        QCOMPARE(FileAccess::openOurs(mElsewhere, &file), FileAccess::Found::Planted);
        QVERIFY(!file.isOpen());
        QVERIFY(!FileAccess::isOwnFile(mElsewhere));
    }

    void allMayReadANewFileWhateverTheUmask()
    {
        const mode_t former = umask(077);
        QFile file;
        const bool ok = FileAccess::createNew(mPath, &file);
        umask(former);

        QVERIFY(ok);
        QCOMPARE(modeOf(mPath), mode_t(0644));
    }

    void onlyAFileOfOursAloneIsOpenedAsOurs_data()
    {
        QTest::addColumn<mode_t>("mode");
        QTest::addColumn<int>("group");
        QTest::addColumn<FileAccess::Found>("found");
        const auto row = [](mode_t mode, int group, FileAccess::Found found) {
            QTest::newRow(qPrintable(QStringLiteral("%1 of group %2").arg(mode, 0, 8).arg(group)))
                << mode << group << found;
        };
        for (const mode_t mode : {0600U, 0644U, 0444U, 0755U})
            row(mode, 1, FileAccess::Found::Ours);
        for (const mode_t mode : {0666U, 0664U, 0622U, 0602U, 0620U})
            row(mode, 1, FileAccess::Found::Planted);
        for (const mode_t mode : {0644U, 0664U, 0620U})
            row(mode, 0, FileAccess::Found::Ours);
        for (const mode_t mode : {0666U, 0622U, 0602U})
            row(mode, 0, FileAccess::Found::Planted);
    }

    void onlyAFileOfOursAloneIsOpenedAsOurs()
    {
        QFETCH(mode_t, mode);
        QFETCH(int, group);
        QFETCH(FileAccess::Found, found);
        if (chown(QFile::encodeName(mElsewhere).constData(), uid_t(-1), static_cast<gid_t>(group)) != 0)
            QSKIP("only root gives a file to another group");
        QCOMPARE(chmod(QFile::encodeName(mElsewhere).constData(), mode), 0);
        const LogCapture log;
        QFile file;

        QCOMPARE(FileAccess::openOurs(mElsewhere, &file), found);

        const bool isOurs = found == FileAccess::Found::Ours;
        QCOMPARE(file.isOpen(), isOurs);
        QCOMPARE(log.warnings(),
            isOurs ? QStringList() : QStringList(QStringLiteral("Others could have written ") + mElsewhere));
        QVERIFY(FileAccess::isOwnFile(mElsewhere));
    }

    void whatAReplacementHasLeftIsRemoved()
    {
        const QStringList stay{QStringLiteral("elsewhere"), QStringLiteral("file"), QStringLiteral("file.backup"),
            QStringLiteral("file.unfinished.7letter"), QStringLiteral("other.unfinished.aB3dE6")};
        for (const QString &name : stay)
            QVERIFY(write(mDir->filePath(name), "text"));
        QVERIFY(write(mPath + QStringLiteral(".unfinished.aB3dE6"), "half"));
        QVERIFY(write(mPath + QStringLiteral(".unfinished.000000"), "half"));

        FileAccess::removeUnfinished(mPath);

        QCOMPARE(QDir(mDir->path()).entryList(QDir::Files), stay);
    }

    void aReplacementUsesANameThatIsRemoved()
    {
        QVERIFY(write(mPath, "old"));
        QStringList names;
        disk().onSync = [&] { names = QDir(mDir->path()).entryList({QStringLiteral("file.*")}, QDir::Files); };

        QVERIFY(FileAccess::replace(mPath, "new"));

        QCOMPARE(names.size(), 1);
        QVERIFY(write(mDir->filePath(names.constFirst()), "half"));
        FileAccess::removeUnfinished(mPath);
        QCOMPARE(
            QDir(mDir->path()).entryList({QStringLiteral("file*")}, QDir::Files), QStringList(QStringLiteral("file")));
    }

    void aLinkOrASecondNameIsNotOursAlone()
    {
        const LogCapture log;
        QFile file;

        QCOMPARE(FileAccess::openOurs(mPath, &file), FileAccess::Found::Nothing);
        QVERIFY(FileAccess::isNothing(mPath));
        QVERIFY(QFile::link(mElsewhere, mPath));
        QCOMPARE(FileAccess::openOurs(mPath, &file), FileAccess::Found::Planted);
        QVERIFY(!FileAccess::isNothing(mPath) && !FileAccess::isOwnFile(mPath));
        QVERIFY(QFile::remove(mPath));
        QCOMPARE(link(QFile::encodeName(mElsewhere).constData(), QFile::encodeName(mPath).constData()), 0);
        QCOMPARE(FileAccess::openOurs(mPath, &file), FileAccess::Found::Planted);
        QCOMPARE(FileAccess::openOurs(mElsewhere, &file), FileAccess::Found::Planted);
        QVERIFY(!file.isOpen());
    }

    void whatIsReplacedIsReplacedWhole()
    {
        QVERIFY(write(mPath, "old"));
        QFile reader(mPath);
        QVERIFY(reader.open(QIODevice::ReadOnly));
        const mode_t former = umask(077);
        const bool ok = FileAccess::replace(mPath, "new\r\n");
        umask(former);

        QVERIFY(ok);
        QCOMPARE(reader.readAll(), QByteArray("old")); // who has it open goes on reading it
        QCOMPARE(read(mPath), QByteArray("new\r\n"));
        QCOMPARE(modeOf(mPath), mode_t(0644));
        QCOMPARE(QDir(mDir->path()).entryList(QDir::Files).size(), 2);
    }

    void linksPipesAndSecondNamesAreReplacedThemselves_data()
    {
        QTest::addColumn<QString>("what");
        for (const char *what : {"link", "dangling link", "pipe", "second name"})
            QTest::newRow(what) << QString::fromUtf8(what);
    }

    void linksPipesAndSecondNamesAreReplacedThemselves()
    {
        QFETCH(QString, what);
        const QByteArray path = QFile::encodeName(mPath);
        const QByteArray target =
            what.startsWith(QLatin1String("dangling")) ? path + "-none" : QFile::encodeName(mElsewhere);
        QCOMPARE(what == QLatin1String("pipe")         ? mkfifo(path.constData(), 0644)
                : what == QLatin1String("second name") ? link(target.constData(), path.constData())
                                                       : symlink(target.constData(), path.constData()),
            0);

        QVERIFY(FileAccess::replace(mPath, "precious"));

        struct stat status = {};
        QCOMPARE(lstat(path.constData(), &status), 0);
        QVERIFY(S_ISREG(status.st_mode) && status.st_nlink == 1);
        QCOMPARE(read(mPath), QByteArray("precious"));
        QCOMPARE(read(mElsewhere), QByteArray("precious"));
        QVERIFY(!QFile::exists(QFile::decodeName(path + "-none")));
    }

    void whatIsTheSameIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<mode_t>("mode");
        QTest::addColumn<bool>("isLeft");
        QTest::newRow("the same") << QByteArray("precious") << mode_t(0644) << true;
        QTest::newRow("another mode") << QByteArray("precious") << mode_t(0600) << false;
        QTest::newRow("more") << QByteArray("precious!") << mode_t(0644) << false;
        QTest::newRow("less") << QByteArray("precio") << mode_t(0644) << false;
        QTest::newRow("nothing") << QByteArray() << mode_t(0644) << false;
        QTest::newRow("another line end") << QByteArray("precious\r\n") << mode_t(0644) << false;
    }

    void whatIsTheSameIsLeftAlone()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(mode_t, mode);
        QFETCH(bool, isLeft);
        QCOMPARE(chmod(QFile::encodeName(mElsewhere).constData(), 0644), 0);
        QFile open(mElsewhere); // keeps the number of the old file from being given to the new one
        QVERIFY(open.open(QIODevice::ReadOnly));
        const ino_t before = inodeOf(mElsewhere);

        QVERIFY(FileAccess::replace(mElsewhere, bytes, mode));

        QCOMPARE(inodeOf(mElsewhere) == before, isLeft);
        QCOMPARE(read(mElsewhere), bytes);
        QCOMPARE(modeOf(mElsewhere), mode);
    }

    void aReplacementThatDoesNotFitLeavesTheOldFile()
    {
        const LogCapture log;
        const Faults::FileSizeLimit limit(100000);

        QVERIFY(!FileAccess::replace(mElsewhere, QByteArray(200000, 'x')));

        QCOMPARE(read(mElsewhere), QByteArray("precious"));
        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Failed to replace %1: File too large").arg(mElsewhere)));
        QCOMPARE(QDir(mDir->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void aReplacementReachesTheDiskAndThenItsName()
    {
        disk().watched = mElsewhere;

        QVERIFY(FileAccess::replace(mElsewhere, "text\n"));

        QCOMPARE(disk().texts, (QList<QByteArray>{"text\n", "no such file"})); // the second is the folder
        QCOMPARE(disk().namedTexts, (QList<QByteArray>{"precious", "text\n"}));
    }

    void aReplacementThatDoesNotReachTheDiskIsNone()
    {
        disk().error = EIO;
        const LogCapture log;

        QVERIFY(!FileAccess::replace(mElsewhere, "text\n"));

        QCOMPARE(read(mElsewhere), QByteArray("precious"));
        QCOMPARE(QDir(mDir->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void nothingIsReplacedInAFolderThatIsMissing()
    {
        const LogCapture log;

        QVERIFY(!FileAccess::replace(mPath + QStringLiteral("/file"), "text"));
        QCOMPARE(log.warnings().size(), 1);
    }

    void noMoreIsReadThanTheLimit_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("limit");
        QTest::addColumn<bool>("ok");
        QTest::newRow("as much as the limit") << QString() << qint64(8) << true;
        QTest::newRow("one more") << QString() << qint64(7) << false;
        QTest::newRow("of the kernel, its size is 0") << QStringLiteral("/proc/version") << qint64(4096) << true;
        QTest::newRow("megabytes of the kernel") << QStringLiteral("/proc/kallsyms") << qint64(4096) << false;
    }

    void noMoreIsReadThanTheLimit()
    {
        QFETCH(QString, path);
        QFETCH(qint64, limit);
        QFETCH(bool, ok);
        QFile file;
        QByteArray bytes;
        QVERIFY(FileAccess::openRegular(path.isEmpty() ? mElsewhere : path, &file));

        QCOMPARE(FileAccess::readAll(&file, limit, &bytes), ok);
        QVERIFY(bytes.size() <= limit + 1);
        QVERIFY(!bytes.isEmpty());
    }

    void aPipeDoesNotBlock()
    {
        QCOMPARE(mkfifo(QFile::encodeName(mPath).constData(), 0600), 0);
        QFile file;

        QVERIFY(!FileAccess::openRegular(mPath, &file));
        QCOMPARE(FileAccess::openOurs(mPath, &file), FileAccess::Found::Unusable);
        QVERIFY(!FileAccess::openForWriting(mPath, FileAccess::Existing::Overwrite, &file));
    }

    void aPipeThatIsReadTakesWhatFits()
    {
        QCOMPARE(mkfifo(QFile::encodeName(mPath).constData(), 0600), 0);
        const int reader = open(QFile::encodeName(mPath).constData(), O_RDONLY | O_NONBLOCK);
        QVERIFY(reader >= 0);
        QFile file;

        QVERIFY(FileAccess::openForWriting(mPath, FileAccess::Existing::Overwrite, &file));
        QCOMPARE(file.write("text"), qint64(4));
        QVERIFY(file.flush());
        QVERIFY(file.write(QByteArray(10000000, 'x')) < 10000000 || !file.flush());
        file.close();

        char text[4] = {};
        QCOMPARE(::read(reader, text, sizeof text), ssize_t(4));
        QCOMPARE(QByteArray(text, 4), QByteArray("text"));
        close(reader);
    }

    void aFullDiskIsNoticed()
    {
        QFile file;
        QVERIFY(FileAccess::createNew(mPath, &file));
        const Faults::FileSizeLimit limit(4);

        QVERIFY(!FileAccess::writeThrough(&file, "12345"));
    }

    void allOfAFileIsOnTheDiskBeforeItIsMoved()
    {
        QFile file;
        QVERIFY(FileAccess::createNew(mPath, &file));
        QVERIFY(FileAccess::writeThrough(&file, "text\n"));
        QCOMPARE(disk().written, QByteArray("text\n"));
    }

    void aDiskThatFailsIsNoticed()
    {
        disk().error = EIO;
        QFile file;
        QVERIFY(FileAccess::createNew(mPath, &file));

        QVERIFY(!FileAccess::writeThrough(&file, "text\n"));
    }

    // As a file server has it, which is asked to give it up.
    void aLeaseOfAnotherIsWaitedFor_data()
    {
        QTest::addColumn<bool>("isWritten");
        QTest::newRow("reading") << false;
        QTest::newRow("writing") << true;
    }
    void aLeaseOfAnotherIsWaitedFor()
    {
        QFETCH(bool, isWritten);
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("leased"));
        QVERIFY(write(path, "photograph"));
        const auto former = std::signal(SIGIO, SIG_IGN); // tells the holder
        const auto restore = qScopeGuard([former] { std::signal(SIGIO, former); });
        const int holder = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
        QVERIFY(holder >= 0);
        if (fcntl(holder, F_SETLEASE, F_WRLCK) != 0)
            QSKIP("the file system has no leases");
        std::thread thread([holder] {
            while (fcntl(holder, F_GETLEASE) == F_WRLCK) // until somebody opens the file
                QThread::msleep(1);
            QThread::msleep(20);
            fcntl(holder, F_SETLEASE, F_UNLCK);
        });

        QFile file;
        const bool isOpen = isWritten ? FileAccess::openForWriting(path, FileAccess::Existing::Append, &file)
                                      : FileAccess::openRegular(path, &file);
        thread.join();
        ::close(holder);

        QVERIFY(isOpen);
        QVERIFY(isWritten || file.readAll() == "photograph");
    }

    void aLeaseThatIsKeptIsNotWaitedForLong()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("leased"));
        QVERIFY(write(path, "photograph"));
        const auto former = std::signal(SIGIO, SIG_IGN);
        const auto restore = qScopeGuard([former] { std::signal(SIGIO, former); });
        const int holder = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
        if (fcntl(holder, F_SETLEASE, F_WRLCK) != 0)
            QSKIP("the file system has no leases");
        QElapsedTimer timer;
        timer.start();

        QFile file;
        const bool isOpen = FileAccess::openRegular(path, &file);
        const int error = errno;
        const qint64 elapsed = timer.elapsed();
        ::close(holder);

        QVERIFY(!isOpen);
        QCOMPARE(error, EWOULDBLOCK);
        QVERIFY2(elapsed < 20000, qPrintable(QString::number(elapsed))); // the kernel waits for 45 seconds
    }

private:
    static bool isOneFolder(int descriptor, const QString &path)
    {
        struct stat one = {};
        struct stat other = {};
        return fstat(descriptor, &one) == 0 && stat(QFile::encodeName(path).constData(), &other) == 0
            && one.st_dev == other.st_dev && one.st_ino == other.st_ino;
    }

    void makeWays() const
    {
        const auto link = [this](const QString &to, const char *name) {
            QVERIFY(QFile::link(to, mDir->filePath(QLatin1String(name))));
        };
        const QString file = mDir->filePath(QStringLiteral("in/file"));
        QVERIFY(QDir(mDir->path()).mkdir(QStringLiteral("in")) && write(file, "text"));
        link(mDir->filePath(QStringLiteral("in")), "to-folder");
        link(file, "to-file");
        link(mDir->filePath(QStringLiteral("in/new")), "to-new");
        link(QStringLiteral("in/../in/file"), "relative");
        link(mDir->filePath(QStringLiteral("to-file")), "two");
        link(mDir->filePath(QStringLiteral("loop")), "loop");
        link(mDir->filePath(QStringLiteral("none/file")), "to-none");
    }

    std::unique_ptr<QTemporaryDir> mDir;
    QString mPath;
    QString mElsewhere;
};

QTEST_GUILESS_MAIN(TestFileAccess)
#include "tst_fileaccess.moc"
