// SPDX-License-Identifier: Apache-2.0
#include "Internal/WholeFile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int hour = 3600; // seconds
} // namespace

class TestWholeFile : public QObject
{
    Q_OBJECT

private:
    QString pathOf(const char *name) const { return mDir->filePath(QString::fromLatin1(name)); }

    QStringList names() const
    {
        return QDir(mDir->path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    void write(const char *name, int age) const
    {
        QFile file(pathOf(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        makeOld(name, age);
    }

    /// Also a link.
    void makeOld(const char *name, int age) const
    {
        const timespec then = {time(nullptr) - age, 0};
        const timespec times[] = {then, then};
        QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(pathOf(name)).constData(), times, AT_SYMLINK_NOFOLLOW), 0);
    }

private Q_SLOTS:
    void init() { mDir = std::make_unique<QTemporaryDir>(); }

    void whatADeadWriterHasLeftIsSwept()
    {
        write(".unfinished-3w5e11264sgsf", hour + 60);
        write(".unfinished-1", 30 * 24 * hour);

        QCOMPARE(WholeFile::sweep(mDir->path()), 2);

        QCOMPARE(names(), QStringList());
    }

    void whatMayStillBeWrittenStays()
    {
        write(".unfinished-1", hour - 60);
        write(".unfinished-2", -hour); // the clock was set back

        QCOMPARE(WholeFile::sweep(mDir->path()), 0);

        QCOMPARE(names().size(), 2);
    }

    void whatIsNoFileOfAWriterStays()
    {
        const int old = 2 * hour;
        write("unfinished-1", old);
        write("picture.jpg", old);
        for (const char *const name : {".unfinished-", ".unfinished-my notes.txt", ".unfinished-A1",
                 ".unfinished-3w5e11264sgsf0", ".unfinished-1\n"})
            write(name, old);
        QVERIFY(QDir(mDir->path()).mkdir(QStringLiteral(".unfinished-2")));
        makeOld(".unfinished-2", old);
        QVERIFY(QFile::link(pathOf("picture.jpg"), pathOf(".unfinished-3")));
        makeOld(".unfinished-3", old);
        QCOMPARE(mkfifo(QFile::encodeName(pathOf(".unfinished-4")).constData(), 0600), 0);
        makeOld(".unfinished-4", old);

        QCOMPARE(WholeFile::sweep(mDir->path()), 0);

        QCOMPARE(names().size(), 10);
    }

    void whatIsOfAnotherUserStays()
    {
        if (geteuid() != 0)
            QSKIP("only root can give a file away");
        constexpr uid_t other = 65534;
        write(".unfinished-1", 2 * hour);
        QCOMPARE(chown(QFile::encodeName(pathOf(".unfinished-1")).constData(), other, other), 0);

        QCOMPARE(WholeFile::sweep(mDir->path()), 0);

        QCOMPARE(names().size(), 1);
    }

    void aFolderThatIsNotThereHasNothing() { QCOMPARE(WholeFile::sweep(pathOf("nowhere")), 0); }

private:
    std::unique_ptr<QTemporaryDir> mDir;
};

QTEST_GUILESS_MAIN(TestWholeFile)
#include "tst_wholefile.moc"
