// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"
#include "ForkedChild.h"

#include <QFile>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <type_traits>

class Settings : public AbstractSettings
{
public:
    explicit Settings(const QString &filePath)
        : AbstractSettings(filePath)
    {
    }

    using AbstractSettings::hasBeenIniFileCreated;
    using AbstractSettings::init; // declared only; a call would not link

    QSettings *store() const { return m_settings; }
    void setAndSync(const QString &key, const QVariant &content)
    {
        m_settings->setValue(key, content);
        m_settings->sync();
    }
};

static_assert(std::is_same_v<decltype(&Settings::init), void (AbstractSettings::*)()>);

class TestAbstractSettings : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mDir;

    QString newPath() const
    {
        static int count = 0;
        return mDir.filePath(QStringLiteral("settings%1.ini").arg(++count));
    }

    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }

private Q_SLOTS:
    void onlyASubclassCanBeConstructed()
    {
        QVERIFY(!(std::is_constructible_v<AbstractSettings, QString>));
        QVERIFY(std::has_virtual_destructor_v<AbstractSettings>);
    }

    void thereIsNoMetaObjectOfItsOwn()
    {
        const Settings settings(newPath());

        QCOMPARE(settings.metaObject(), &QObject::staticMetaObject);
        QVERIFY(!settings.parent());
        QVERIFY(!settings.store()->parent());
    }

    void aMissingFileIsNewAndEmpty()
    {
        const QString path = newPath();

        const Settings settings(path);

        QVERIFY(settings.hasBeenIniFileCreated());
        QVERIFY(!settings.contains(QStringLiteral("key")));
        QVERIFY(!settings.contains(QString()));
        QVERIFY(!settings.value(QStringLiteral("key")).isValid());
        QVERIFY(!settings.value(QStringLiteral("section/key")).isValid());
        QVERIFY2(!QFile::exists(path), "nothing is written before a value is stored");
    }

    void anExistingFileIsRead()
    {
        const QString path = newPath();
        write(path, "top=1\n[network]\nname=tester 7\nlist=a, b\nempty=\n[sub]\nnested\\key=x\n");

        const Settings settings(path);

        QVERIFY(!settings.hasBeenIniFileCreated());
        QVERIFY(settings.contains(QStringLiteral("network/name")));
        QVERIFY(!settings.contains(QStringLiteral("network")));
        QVERIFY(!settings.contains(QStringLiteral("name")));
        QCOMPARE(settings.value(QStringLiteral("top")), QVariant(QStringLiteral("1")));
        QCOMPARE(settings.value(QStringLiteral("network/name")), QVariant(QStringLiteral("tester 7")));
        QCOMPARE(settings.value(QStringLiteral("network/list")),
            QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")}));
        QVERIFY(settings.value(QStringLiteral("network/empty")).isValid());
        QCOMPARE(settings.value(QStringLiteral("sub/nested/key")), QVariant(QStringLiteral("x")));
    }

    void filesThatAreNoSettingsAreNotNew_data()
    {
        QTest::addColumn<QByteArray>("bytes");

        QTest::newRow("empty") << QByteArray();
        QTest::newRow("zero bytes") << QByteArray(1000, '\0');
        QTest::newRow("a section that does not end") << QByteArray("[network");
        QTest::newRow("invalid UTF-8") << QByteArray("\xff\xfe=\xc3\x28");
    }

    void filesThatAreNoSettingsAreNotNew()
    {
        QFETCH(const QByteArray, bytes);
        const QString path = newPath();
        write(path, bytes);

        const Settings settings(path);

        QVERIFY(!settings.hasBeenIniFileCreated());
        QVERIFY(!settings.value(QStringLiteral("network/name")).isValid());
    }

    void aFolderIsNotANewFile()
    {
        const Settings settings(mDir.path());

        QVERIFY(!settings.hasBeenIniFileCreated());
        QVERIFY(!settings.contains(QStringLiteral("key")));
    }

    void aFileIsNewOnce()
    {
        const QString path = newPath();
        Settings first(path);
        first.setAndSync(QStringLiteral("section/key"), 5);

        const Settings second(path);

        QVERIFY2(first.hasBeenIniFileCreated(), "what was found at construction stays");
        QVERIFY(!second.hasBeenIniFileCreated());
        QCOMPARE(second.value(QStringLiteral("section/key")).toInt(), 5);
    }

    void theStoreOutlivesTheSettings()
    {
        QPointer<QSettings> store;
        {
            const Settings settings(newPath());
            store = settings.store();
        }

        QVERIFY(store);
        store->setValue(QStringLiteral("key"), 1);
        QCOMPARE(store->value(QStringLiteral("key")).toInt(), 1);
    }

    void onlySyncWritesWithoutAnEventLoop_data()
    {
        QTest::addColumn<bool>("syncs");

        QTest::newRow("with sync()") << true;
        QTest::newRow("without") << false;
    }

    void onlySyncWritesWithoutAnEventLoop()
    {
        QFETCH(const bool, syncs);
        const QString path = newPath();

        const ForkedChild child = ForkedChild::run([&] {
            const Settings settings(path);
            settings.store()->setValue(QStringLiteral("key"), 1);
            if (syncs)
                settings.store()->sync();
            return 0;
        });

        QCOMPARE(child.exitCode, 0);
        QCOMPARE(QFile::exists(path), syncs);
    }
};

QTEST_GUILESS_MAIN(TestAbstractSettings)
#include "tst_abstractsettings.moc"
