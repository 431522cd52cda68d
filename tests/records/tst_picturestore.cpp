// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "Records/PictureStore.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Records;

namespace {
QStringList filesIn(const QString &folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files << QFileInfo(walk.next()).fileName();
    files.sort();
    return files;
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}
} // namespace

class TestPictureStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mPictures = std::make_unique<PictureStore>(mDir->filePath(QStringLiteral("pictures")));
    }

    void aPictureComesBackByItsSum()
    {
        const auto kept = mPictures->put("abc");

        QVERIFY2(kept.ok(), qPrintable(kept.problem.text));
        QCOMPARE(kept.value.hash,
            QByteArray("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")); // FIPS 180-2
        QVERIFY(kept.value.isNew);
        QCOMPARE(mPictures->read(kept.value.hash).value, QByteArray("abc"));
        QVERIFY(mPictures->contains(kept.value.hash));
    }

    void theSamePictureIsKeptOnce()
    {
        mPictures->put("abc");

        QVERIFY(!mPictures->put("abc").value.isNew);
        QCOMPARE(filesIn(mDir->path()).size(), 1);
    }

    void aDamagedPictureIsFoundOutAndMended()
    {
        const QByteArray hash = mPictures->put("abc").value.hash;
        write(mPictures->path(hash), "abd");

        QCOMPARE(mPictures->read(hash).problem.fault, Fault::PictureDamaged);
        QVERIFY(!mPictures->put("abc").value.isNew);
        QCOMPARE(mPictures->read(hash).value, QByteArray("abc"));
    }

    void aPictureThatIsNotThereSaysSo()
    {
        QCOMPARE(mPictures->read(PictureStore::hashOf("abc")).problem.fault, Fault::PictureMissing);
    }

    void whatIsNoNameLeadsNowhere_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a way out") << QByteArray("../../etc/passwd");
        QTest::newRow("a way out as long as a name") << QByteArray("../").repeated(21) + 'x';
        QTest::newRow("upper case") << PictureStore::hashOf("abc").toUpper();
        QTest::newRow("too long") << PictureStore::hashOf("abc") + '0';
    }
    void whatIsNoNameLeadsNowhere()
    {
        QFETCH(const QByteArray, name);
        mPictures->put("abc");

        QCOMPARE(mPictures->path(name), QString());
        QVERIFY(!mPictures->contains(name));
        QVERIFY(!mPictures->remove(name));
        QCOMPARE(mPictures->read(name).problem.fault, Fault::PictureMissing);
    }

    void whatIsNoFileIsNeitherReadNorWaitedFor_data()
    {
        QTest::addColumn<QString>("target"); // of a link; empty: a pipe
        QTest::newRow("pipe") << QString();
        QTest::newRow("device without end") << QStringLiteral("/dev/zero");
        QTest::newRow("folder") << QStringLiteral("/");
    }
    void whatIsNoFileIsNeitherReadNorWaitedFor()
    {
        QFETCH(const QString, target);
        const QByteArray hash = mPictures->put("abc").value.hash;
        const QByteArray path = QFile::encodeName(mPictures->path(hash));
        QCOMPARE(unlink(path.constData()), 0);
        QCOMPARE(target.isEmpty() ? mkfifo(path.constData(), 0600)
                                  : symlink(QFile::encodeName(target).constData(), path.constData()),
            0);

        const Answer<QByteArray> bytes = mPictures->read(hash);

        QCOMPARE(bytes.problem.fault, Fault::Unusable);
        QVERIFY2(bytes.problem.text.endsWith(QLatin1String(": it is not a file")), qPrintable(bytes.problem.text));
        QVERIFY(mPictures->put("abc").ok()); // which mends it
        QCOMPARE(mPictures->read(hash).value, QByteArray("abc"));
    }

    void whatLiesBehindALinkIsNotKept_data()
    {
        QTest::addColumn<int>("levels"); // that the link stands above the picture
        QTest::newRow("picture") << 0;
        QTest::newRow("shelf") << 1;
        QTest::newRow("folder") << 2;
    }
    void whatLiesBehindALinkIsNotKept()
    {
        QFETCH(const int, levels);
        const PictureStore others(mDir->filePath(QStringLiteral("others")));
        const QByteArray hash = others.put("abc").value.hash;
        const auto at = [&](const PictureStore &store) {
            return store.path(hash).section(QLatin1Char('/'), 0, -1 - levels);
        };
        QVERIFY(QDir().mkpath(QFileInfo(at(*mPictures)).path()));
        QVERIFY(QFile::link(at(others), at(*mPictures)));
        QVERIFY(!mPictures->keeps(hash));

        const Answer<PictureStore::Kept> kept = mPictures->put("abc");

        QCOMPARE(kept.ok(), levels == 0); // in place of the link
        QCOMPARE(kept.value.isNew, levels == 0);
        QCOMPARE(mPictures->keeps(hash), levels == 0);
        QVERIFY(others.keeps(hash));
        QVERIFY(QFile::remove(others.path(hash)));
        QCOMPARE(mPictures->read(hash).ok(), levels == 0);
    }

    void noBytesAreNoPicture() { QCOMPARE(mPictures->put({}).problem.fault, Fault::Invalid); }

    void sweepingTakesWhatNobodyWantsAndWhatWritersLeft()
    {
        const QByteArray wanted = mPictures->put("abc").value.hash;
        const QByteArray unwanted = mPictures->put("abd").value.hash;
        const QDir shelf = QFileInfo(mPictures->path(wanted)).dir();
        write(shelf.filePath(QStringLiteral(".unfinished-3w5e11264sgsf")), "ab");
        write(shelf.filePath(QStringLiteral("notes.txt")), "of somebody else");

        QCOMPARE(mPictures->sweep([&](const QByteArray &hash) { return hash == wanted; }), 2);

        QCOMPARE(filesIn(mDir->path()), QStringList({QString::fromLatin1(wanted), QStringLiteral("notes.txt")}));
        QVERIFY(!mPictures->contains(unwanted));
    }

    void aFullDiskIsToldAndNothingIsLeft()
    {
        const QString folder = mDir->filePath(QStringLiteral("disk"));
        QVERIFY(QDir().mkpath(folder));
        const bool hasRun = Faults::withSmallDisk(folder, 256, [&] {
            const PictureStore pictures(folder);
            const QByteArray small(1000, 'a');
            QVERIFY(pictures.put(small).ok());
            const Answer<PictureStore::Kept> large = pictures.put(QByteArray(1024 * 1024, 'b'));
            QCOMPARE(large.problem.fault, Fault::DiskFull);
            QCOMPARE(filesIn(folder), QStringList(QString::fromLatin1(PictureStore::hashOf(small))));
            QVERIFY(pictures.put(QByteArray(2000, 'c')).ok());
        });
        QVERIFY(hasRun);
    }

    void aReadOnlyFolderIsTold()
    {
        QFile::setPermissions(mDir->path(), QFile::ReadOwner | QFile::ExeOwner);
        Answer<PictureStore::Kept> kept;
        Faults::withoutOverride([&] { kept = mPictures->put("abc"); });
        QFile::setPermissions(mDir->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        QCOMPARE(kept.problem.fault, Fault::ReadOnly);
        QVERIFY(kept.problem.text.contains(QStringLiteral("pictures")));
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<PictureStore> mPictures;
};

QTEST_GUILESS_MAIN(TestPictureStore)
#include "tst_picturestore.moc"
