// SPDX-License-Identifier: Apache-2.0
#include "StoredFaces.h"
#include "WatchedDisk.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>

using namespace Records;

namespace {
/// What reached the disk, in its order: "unfinished" and "journal" are files, "shelf" is a folder of pictures.
QStringList &diskLog()
{
    static QStringList log;
    return log;
}

/// The entry of the log that is to fail.
QString &failing()
{
    static QString entry;
    return entry;
}

QString entryOf(const QString &path)
{
    const QFileInfo info(path);
    if (info.fileName().startsWith(QStringLiteral(".unfinished")))
        return QStringLiteral("unfinished");
    if (info.fileName().endsWith(QStringLiteral("-wal")))
        return QStringLiteral("journal");
    if (!info.isDir())
        return info.fileName();
    return info.dir().dirName() == QStringLiteral("pictures") ? QStringLiteral("shelf") : info.fileName();
}

int logged(int descriptor)
{
    const QString entry = entryOf(WatchedDisk::pathOf(descriptor));
    diskLog() << entry;
    return entry == failing() ? EIO : 0;
}

QStringList filesIn(const QString &folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files << walk.next();
    return files;
}
} // namespace

class TestRecordStoreOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mStore = std::make_unique<RecordStore>();
        QCOMPARE(mStore->open(mDir->path()).how, Opened::Begun);
        Face::of(QStringLiteral("pitted"));
        failing().clear();
        diskLog().clear();
        watchedDisk().onSync = logged;
        watchedDisk().onRename = [] { diskLog() << QStringLiteral("rename"); };
    }
    void cleanup() { watchedDisk() = {}; }

    void picturesAreOnTheDiskBeforeTheirRow()
    {
        QVERIFY(Face::of(QStringLiteral("pitted")).addTo(*mStore).ok());

        const QStringList picture{QStringLiteral("pictures"), QStringLiteral("unfinished"), QStringLiteral("rename"),
            QStringLiteral("shelf")};
        const QString root = QFileInfo(mDir->path()).fileName();
        const int row = diskLog().indexOf(QStringLiteral("journal"));
        QCOMPARE(diskLog().mid(0, row), QStringList(root) + picture + picture);
        QVERIFY(row > 0);
    }

    void theFolderOfANewStoreIsOnTheDisk()
    {
        QCOMPARE(RecordStore().open(mDir->filePath(QStringLiteral("outer/store"))).how, Opened::Begun);
        const QString root = QFileInfo(mDir->path()).fileName();
        QVERIFY2(diskLog().contains(root), qPrintable(diskLog().join(QLatin1Char(' '))));
        QVERIFY(diskLog().contains(QStringLiteral("outer")));
    }

    void whatTheDiskRefusesIsNotStored_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::newRow("a picture") << QStringLiteral("unfinished");
        QTest::newRow("the name of a picture") << QStringLiteral("shelf");
        QTest::newRow("the row") << QStringLiteral("journal");
    }
    void whatTheDiskRefusesIsNotStored()
    {
        QFETCH(const QString, entry);
        const QStringList before = filesIn(mDir->path());

        failing() = entry;
        const Answer<Id> id = Face::of(QStringLiteral("pitted")).addTo(*mStore);
        failing().clear();

        QCOMPARE(id.problem.fault, Fault::Unusable);
        QVERIFY(!id.problem.text.isEmpty());
        QCOMPARE(filesIn(mDir->path()), before);
        QCOMPARE(mStore->count().value, 0);
        QVERIFY(Face::of(QStringLiteral("pitted")).addTo(*mStore).ok());
        QVERIFY(mStore->verify().value.allWell());
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<RecordStore> mStore;
};

QTEST_GUILESS_MAIN(TestRecordStoreOrder)
#include "tst_recordstore_order.moc"
