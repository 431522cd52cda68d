// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "Helpers/FileAccess_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

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

/// What arrives where the disk would be.
struct Disk
{
    QByteArray written; ///< what the file held when it was flushed
    int error = 0;
};

Disk &disk()
{
    static Disk instance;
    return instance;
}
} // namespace

// Called in place of libc's.
extern "C" int fsync(int fd)
{
    disk().written = read(QStringLiteral("/proc/self/fd/%1").arg(fd));
    errno = disk().error;
    return disk().error ? -1 : 0;
}

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
        disk() = {};
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
        QVERIFY(!FileAccess::openForUpdate(mPath, &file));
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

    void aCopyHasTheModeOfItsSource()
    {
        QVERIFY(write(mElsewhere, QByteArray(200000, 'x')));
        QVERIFY(QFile::setPermissions(mElsewhere, QFile::ReadOwner | QFile::ReadOther));
        QVERIFY(QFile::link(mElsewhere, mPath));
        QFile source;

        QVERIFY(FileAccess::openRegular(mElsewhere, &source));
        QVERIFY(FileAccess::copyToNew(&source, mPath));

        QVERIFY(!QFileInfo(mPath).isSymLink());
        QCOMPARE(read(mPath).size(), 200000);
        QCOMPARE(modeOf(mPath), mode_t(0404));
    }

    void aCopyThatDoesNotFitIsNone()
    {
        QVERIFY(write(mElsewhere, QByteArray(200000, 'x')));
        QFile source;
        QVERIFY(FileAccess::openRegular(mElsewhere, &source));
        const Faults::FileSizeLimit limit(100000);

        QVERIFY(!FileAccess::copyToNew(&source, mPath));
    }

    void anUpdateFollowsNoLinkAndCreatesNothing()
    {
        QFile file;
        QVERIFY(!FileAccess::openForUpdate(mPath, &file));
        QVERIFY(!QFile::exists(mPath));

        QVERIFY(QFile::link(mElsewhere, mPath));
        QVERIFY(!FileAccess::openForUpdate(mPath, &file));

        QVERIFY(QFile::remove(mPath));
        QVERIFY(write(mPath, "one\n"));
        QVERIFY(FileAccess::openForUpdate(mPath, &file));
        QCOMPARE(file.readAll(), QByteArray("one\n"));
        QVERIFY(FileAccess::writeThrough(&file, "two\n"));
        file.close();
        QCOMPARE(read(mPath), QByteArray("one\ntwo\n"));
    }

    void aPipeDoesNotBlock()
    {
        QCOMPARE(mkfifo(QFile::encodeName(mPath).constData(), 0600), 0);
        QFile file;

        QVERIFY(!FileAccess::openRegular(mPath, &file));
        QVERIFY(!FileAccess::openForUpdate(mPath, &file));
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

        QFile source;
        QVERIFY(FileAccess::openRegular(mElsewhere, &source));
        QVERIFY(FileAccess::copyToNew(&source, mDir->filePath(QStringLiteral("copy"))));
        QCOMPARE(disk().written, QByteArray("precious"));
    }

    void aDiskThatFailsIsNoticed()
    {
        disk().error = EIO;
        QFile file;
        QVERIFY(FileAccess::createNew(mPath, &file));

        QVERIFY(!FileAccess::writeThrough(&file, "text\n"));
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
    QString mPath;
    QString mElsewhere;
};

QTEST_GUILESS_MAIN(TestFileAccess)
#include "tst_fileaccess.moc"
