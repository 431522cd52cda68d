// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "inspect/ImageList.h"
#include "inspect/OutputFolder.h"
#include "inspect/Pictures.h"

#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sys/stat.h>

using Inspect::OutputFolder;

namespace {
constexpr qint64 plenty = 1000; // bytes
} // namespace

/// How a picture gets from the folder of a worker, who may have put anything there, to that of the user.
class TestVantorInspectOutput : public QObject
{
    Q_OBJECT

private:
    QString pathOf(const char *name) const { return mDir->filePath(QString::fromLatin1(name)); }
    QString out() const { return pathOf("out"); }
    QString target() const { return pathOf("out/face_result.jpg"); }

    void put(const char *name, const QByteArray &bytes) const
    {
        QFile file(pathOf(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }

    QByteArray content() const
    {
        QFile file(target());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }

    int files() const
    {
        return QDir(out()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot).size();
    }

    /// What is told; empty when it was taken.
    QString take(qint64 most = plenty) const
    {
        OutputFolder folder(out());
        QString problem;
        if (!folder.prepare(&problem))
            return problem;
        const QString path = folder.take(pathOf("kept"), QStringLiteral("face_result.jpg"), most, &problem);
        return path == (problem.isEmpty() ? target() : QString()) ? problem : QStringLiteral("another path");
    }

    QString refusal(const char *reason) const
    {
        return QStringLiteral("cannot write %1: %2").arg(target(), QLatin1String(reason));
    }

private Q_SLOTS:
    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkdir(out()));
        put("kept", "picture");
    }

    void cleanup() { QFile::setPermissions(out(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner); }

    void aPictureIsMoved()
    {
        QCOMPARE(take(), QString());

        QCOMPARE(content(), QByteArray("picture"));
        QVERIFY(!QFile::exists(pathOf("kept")));
        QCOMPARE(files(), 1);
    }

    void itTakesThePlaceOfAFile()
    {
        put("out/face_result.jpg", "former");

        QCOMPARE(take(), QString());

        QCOMPARE(content(), QByteArray("picture"));
        QCOMPARE(files(), 1);
    }

    void whatIsTooLargeIsNotTaken()
    {
        QCOMPARE(take(6), refusal("File too large"));

        QCOMPARE(files(), 0);
        QVERIFY(!QFile::exists(pathOf("kept")));
    }

    void whatThePathDoesNotLeadToIsTold()
    {
        OutputFolder folder(out());
        QString problem;
        QVERIFY(folder.prepare(&problem));
        QVERIFY(QDir().rename(out(), pathOf("moved")));
        QVERIFY(QDir().mkdir(out()));

        QCOMPARE(folder.take(pathOf("kept"), QStringLiteral("face_result.jpg"), plenty, &problem), QString());

        QCOMPARE(problem, refusal("its folder was moved, removed or unmounted meanwhile"));
    }

    void aStepImageIsThereAsAWholeOrNotAtAll()
    {
        const Inspect::Pictures pictures(pathOf("worker"));
        QVERIFY(pictures.prepare());
        QImage step(100, 100, QImage::Format_Grayscale8);
        step.fill(7);
        const auto keep = [&] {
            pictures.keep({}, {{QStringLiteral("01_gray"), step}});
            int kept = 0;
            QDirIterator file(pathOf("worker"), {QStringLiteral("*.png")}, QDir::Files, QDirIterator::Subdirectories);
            for (; file.hasNext(); ++kept)
                file.next();
            return kept;
        };
        QCOMPARE(keep(), 1);
        const Faults::FileSizeLimit disk(20); // bytes

        QCOMPARE(keep(), 0);
    }

    void aPipeIsNoPicture()
    {
        QVERIFY(QFile::remove(pathOf("kept")));
        QCOMPARE(mkfifo(QFile::encodeName(pathOf("kept")).constData(), 0600), 0);

        QCOMPARE(take(), refusal("what was painted is not a file"));

        QCOMPARE(files(), 0);
    }

    void whatIsClosedToWritingIsNotReplaced()
    {
        put("out/face_result.jpg", "former");
        QVERIFY(QFile::setPermissions(target(), QFile::ReadOwner));

        Faults::withoutOverride([&] { QCOMPARE(take(), refusal("Permission denied")); });

        QCOMPARE(content(), QByteArray("former"));
        QCOMPARE(files(), 1);
    }

    /// The folder cannot be opened to have it written to the disk.
    void aPictureThatAPowerFailureMayTakeIsTold()
    {
        QVERIFY(QFile::setPermissions(out(), QFile::WriteOwner | QFile::ExeOwner));

        Faults::withoutOverride(
            [&] { QCOMPARE(take(), refusal("it is there, but the disk does not confirm it: Permission denied")); });

        QCOMPARE(content(), QByteArray("picture"));
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
};

QTEST_GUILESS_MAIN(TestVantorInspectOutput)
#include "tst_vantor_inspect_output.moc"
