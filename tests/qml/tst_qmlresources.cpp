// SPDX-License-Identifier: Apache-2.0
#include "QmlResources.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QtTest>

#include <algorithm>

/// The module as a part of a static library.
class TestQmlResources : public QObject
{
    Q_OBJECT

private:
    static QStringList filesBelow(const QString &folder)
    {
        QStringList files;
        QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext())
            files << QDir(folder).relativeFilePath(walk.next());
        std::sort(files.begin(), files.end());
        return files;
    }

private Q_SLOTS:
    // Without this call the linker leaves the resources out.
    void initTestCase() { initVantorQmlResources(); }

    void everyFileOfTheModuleIsThere()
    {
        const QStringList files = filesBelow(QStringLiteral(VANTOR_QML_FOLDER "/Vantor"));

        QVERIFY(files.contains(QStringLiteral("Pages/FiberInspectionPage.qml")));
        QCOMPARE(filesBelow(QStringLiteral(":/Vantor")), files);
    }

    void theStyleIsASingleton()
    {
        QFile file(QStringLiteral(":/Vantor/Style/qmldir"));

        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().trimmed(), QByteArray("singleton GlobalStyles 1.0 GlobalStyles.qml"));
    }

    void aSecondCallChangesNothing()
    {
        initVantorQmlResources();

        QVERIFY(QFile::exists(QStringLiteral(":/Vantor/Style/qmldir")));
    }
};

QTEST_GUILESS_MAIN(TestQmlResources)

#include "tst_qmlresources.moc"
