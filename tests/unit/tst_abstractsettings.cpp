// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"
#include "Faults.h"
#include "ForkedChild.h"
#include "LogCapture.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextCodec>
#include <QtTest>

#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace {
constexpr uid_t anotherUser = 65534; // and group
constexpr rlim_t writtenAtMost = 4096; // bytes of a file

QString tooLong()
{
    return QStringLiteral("x").repeated(2 * static_cast<int>(writtenAtMost));
}
} // namespace

#ifdef __SANITIZE_ADDRESS__
/// What cannot be had throws, as without the sanitizer.
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier): its name
{
    return "allocator_may_return_null=1";
}
#endif

class Settings : public AbstractSettings
{
public:
    explicit Settings(const QString &filePath)
        : AbstractSettings(filePath)
    {
    }

    using AbstractSettings::hasBeenIniFileCreated;
    using AbstractSettings::init; // declared only; a call would not link
    using AbstractSettings::sync;

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

    static void plant(const QString &what, const QString &path)
    {
        const QByteArray name = QFile::encodeName(path);
        const QByteArray target = name + ".target";
        if (what.endsWith(QLatin1String("to a file")))
            write(QFile::decodeName(target), "key=theirs\n");
        if (what.endsWith(QLatin1String("to a folder")))
            QVERIFY(QDir().mkdir(QFile::decodeName(target)));
        if (what.endsWith(QLatin1String("to a pipe")))
            QCOMPARE(mkfifo(target.constData(), 0600), 0);
        if (what.startsWith(QLatin1String("a link")))
            QCOMPARE(symlink(target.constData(), name.constData()), 0);
        else if (what == QLatin1String("a pipe"))
            QCOMPARE(mkfifo(name.constData(), 0600), 0);
        else
            QVERIFY(QDir().mkdir(path));
    }

    static bool giveAway(const QString &path, uint mode)
    {
        const QByteArray name = QFile::encodeName(path);
        return chown(name.constData(), anotherUser, anotherUser) == 0 && chmod(name.constData(), mode) == 0;
    }

    static bool isFile(const QString &path)
    {
        struct stat status = {};
        return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
    }

    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Everything in the folder, with the kind, number and size of each.
    QStringList inventory() const
    {
        QStringList lines;
        const QStringList names = QDir(mDir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
        for (const QString &name : names) {
            struct stat status = {};
            lstat(QFile::encodeName(mDir.filePath(name)).constData(), &status);
            lines << QStringLiteral("%1 %2 %3 %4").arg(name).arg(status.st_mode).arg(status.st_ino).arg(status.st_size);
        }
        return lines;
    }

private Q_SLOTS:
    void whatIsNoFileOfOursIsLeftAlone_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<bool>("isNew");
        QTest::newRow("dangling link") << QStringLiteral("a link to nothing") << true;
        QTest::newRow("link to a folder") << QStringLiteral("a link to a folder") << false;
        QTest::newRow("link to a pipe") << QStringLiteral("a link to a pipe") << false;
        QTest::newRow("pipe") << QStringLiteral("a pipe") << false;
        QTest::newRow("folder") << QStringLiteral("a folder") << false;
    }

    void whatIsNoFileOfOursIsLeftAlone()
    {
        QFETCH(const QString, what);
        QFETCH(const bool, isNew);
        const QString path = newPath();
        plant(what, path);
        const QStringList before = inventory();
        const LogCapture log;

        Settings settings(path);
        QCOMPARE(
            log.warnings(), QStringList(QStringLiteral("Settings stay in memory, this is no file of ours: ") + path));
        QVERIFY(!settings.contains(QStringLiteral("key")));
        settings.setAndSync(QStringLiteral("key"), 5);
        QVERIFY(!settings.sync());
        settings.store()->setValue(QStringLiteral("other"), 6);
        QCoreApplication::sendPostedEvents();

        QCOMPARE(settings.hasBeenIniFileCreated(), isNew);
        QCOMPARE(settings.value(QStringLiteral("key")).toInt(), 5);
        QCOMPARE(settings.value(QStringLiteral("other")).toInt(), 6);
        QCOMPARE(inventory(), before);
    }

    void aFileBehindALinkIsReadAndNeverWritten()
    {
        const QString path = newPath();
        write(path + QStringLiteral(".target"), "top=1\n[network]\nname=tester 7\n");
        QVERIFY(QFile::link(path + QStringLiteral(".target"), path));
        const QStringList before = inventory();
        const LogCapture log;

        Settings settings(path);
        QCOMPARE(
            log.warnings(), QStringList(QStringLiteral("Settings stay in memory, this is no file of ours: ") + path));
        QVERIFY(!settings.hasBeenIniFileCreated());
        QCOMPARE(settings.value(QStringLiteral("top")).toInt(), 1);
        QCOMPARE(settings.value(QStringLiteral("network/name")).toString(), QStringLiteral("tester 7"));

        settings.setAndSync(QStringLiteral("network/name"), QStringLiteral("tester 8"));
        QCoreApplication::sendPostedEvents();
        QVERIFY(!settings.sync());
        QCOMPARE(settings.value(QStringLiteral("network/name")).toString(), QStringLiteral("tester 8"));
        QCOMPARE(inventory(), before);
    }

    void aFileOfAnotherUserIsReadAndNeverWritten_data()
    {
        QTest::addColumn<uint>("mode");
        QTest::newRow("readable for all") << 0644U;
        QTest::newRow("of its user alone") << 0600U;
    }

    void aFileOfAnotherUserIsReadAndNeverWritten()
    {
        QFETCH(const uint, mode);
        const QString path = newPath();
        write(path, "top=1\n[network]\nname=tester 7\n");
        if (!giveAway(path, mode))
            QSKIP("only root can give a file away");
        const QStringList before = inventory();
        const LogCapture log;

        Settings settings(path);
        QVERIFY(!settings.hasBeenIniFileCreated());
        QCOMPARE(settings.value(QStringLiteral("top")).toInt(), 1);
        QCOMPARE(settings.value(QStringLiteral("network/name")).toString(), QStringLiteral("tester 7"));

        settings.store()->setValue(QStringLiteral("network/name"), QStringLiteral("tester 8"));
        for (int i = 0; i < 3; ++i)
            QCoreApplication::postEvent(settings.store(), new QEvent(QEvent::UpdateRequest));
        QCoreApplication::sendPostedEvents();
        settings.setAndSync(QStringLiteral("other"), 5);
        QCOMPARE(
            log.warnings(), QStringList(QStringLiteral("Settings stay in memory, this is no file of ours: ") + path));
        QVERIFY(!settings.sync());
        QCOMPARE(settings.value(QStringLiteral("network/name")).toString(), QStringLiteral("tester 8"));
        QCOMPARE(settings.value(QStringLiteral("other")).toInt(), 5);
        QCOMPARE(inventory(), before);
        QCOMPARE(content(path), QByteArray("top=1\n[network]\nname=tester 7\n"));
    }

    void whatSomebodyElseCouldHaveWrittenIsNotRead_data()
    {
        QTest::addColumn<uint>("folderMode");
        QTest::addColumn<uint>("folderOwner");
        QTest::addColumn<uint>("folderGroup");
        QTest::addColumn<uint>("fileMode");
        const uint ours = geteuid();
        const uint group = getegid();
        QTest::newRow("file for all") << 0755U << ours << group << 0666U;
        QTest::newRow("file of a group") << 0755U << ours << group << 0664U;
        QTest::newRow("folder for all") << 0777U << ours << group << 0644U;
        QTest::newRow("sticky folder for all") << 01777U << ours << group << 0644U;
        QTest::newRow("folder of a group") << 0775U << ours << uint(anotherUser) << 0644U;
        QTest::newRow("sticky folder of a group") << 01775U << ours << uint(anotherUser) << 0644U;
        QTest::newRow("folder of that user") << 0755U << uint(anotherUser) << group << 0644U;
        QTest::newRow("folder of a third user") << 0755U << uint(anotherUser - 1) << group << 0644U;
    }

    void whatSomebodyElseCouldHaveWrittenIsNotRead()
    {
        QFETCH(const uint, folderMode);
        QFETCH(const uint, folderOwner);
        QFETCH(const uint, folderGroup);
        QFETCH(const uint, fileMode);
        const QTemporaryDir dir;
        const QByteArray folder = QFile::encodeName(dir.path());
        const QString path = dir.filePath(QStringLiteral("settings.ini"));
        write(path, "key=1\n");
        if (!giveAway(path, fileMode))
            QSKIP("only root can give a file away");
        QCOMPARE(chown(folder.constData(), folderOwner, folderGroup), 0);
        QCOMPARE(chmod(folder.constData(), folderMode), 0);
        const LogCapture log;

        Settings settings(path);
        settings.setAndSync(QStringLiteral("other"), 5);

        QVERIFY(!settings.hasBeenIniFileCreated());
        QVERIFY(!settings.contains(QStringLiteral("key")));
        QCOMPARE(
            log.warnings(), QStringList(QStringLiteral("Settings stay in memory, this is no file of ours: ") + path));
        QCOMPARE(content(path), QByteArray("key=1\n"));
    }

    void aLinkIsNotFollowedWhereAnotherUserOwnsAnEndOfIt_data()
    {
        QTest::addColumn<bool>("isTheirs");
        QTest::newRow("link of ours to a file of theirs") << true;
        QTest::newRow("link of theirs to a file of ours") << false;
    }

    void aLinkIsNotFollowedWhereAnotherUserOwnsAnEndOfIt()
    {
        QFETCH(const bool, isTheirs);
        const QString path = newPath();
        const QString target = path + QStringLiteral(".target");
        write(target, "key=1\n");
        QVERIFY(QFile::link(target, path));
        const QString planted = isTheirs ? target : path;
        if (lchown(QFile::encodeName(planted).constData(), anotherUser, anotherUser) != 0)
            QSKIP("only root can give a file away");
        const QStringList before = inventory();
        const LogCapture log;

        Settings settings(path);
        settings.setAndSync(QStringLiteral("other"), 5);

        QVERIFY(!settings.contains(QStringLiteral("key")));
        QCOMPARE(inventory(), before);
    }

    void aFileThatIsNotOursIsReadToALimit_data()
    {
        QTest::addColumn<bool>("isLink");
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("behind a link, at the limit") << true << (1 << 20) << true;
        QTest::newRow("behind a link, one byte more") << true << (1 << 20) + 1 << false;
        QTest::newRow("of another user, at the limit") << false << (1 << 20) << true;
        QTest::newRow("of another user, one byte more") << false << (1 << 20) + 1 << false;
    }

    void aFileThatIsNotOursIsReadToALimit()
    {
        QFETCH(const bool, isLink);
        QFETCH(const int, size);
        QFETCH(const bool, isRead);
        const QString path = newPath();
        const QString target = isLink ? path + QStringLiteral(".target") : path;
        write(target, QByteArray("key=1\n;").leftJustified(size, '-'));
        if (isLink)
            QVERIFY(QFile::link(target, path));
        else if (!giveAway(path, 0644))
            QSKIP("only root can give a file away");
        const LogCapture log;

        const Settings settings(path);

        QCOMPARE(settings.contains(QStringLiteral("key")), isRead);
        QCOMPARE(log.warnings().contains(QStringLiteral("Failed to read settings from ") + path), !isRead);
    }

    void aFileWhoseValuesCannotBeReadIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("isTheirs");
        const auto row = [](const char *name, const QByteArray &value) {
            QTest::addRow("%s", name) << value << false;
            QTest::addRow("%s, of another user", name) << value << true;
        };
        row("a list of two thousand million values", "@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)");
        row("as many texts", "@Variant(\\0\\0\\0\\v\\x7f\\xff\\xff\\xff)");
        row("as many values of a date", "@DateTime(\\0\\0\\0\\t\\0\\x7f\\xff\\xff\\xff)");
        row("spelt otherwise, in a list", "a, \"\\x40\"Vari\\141nt(\\x0\\00\\0\\x9\\x7f\\377\\xff\\xff)");
        row("a value within values", "@Variant(" + QByteArray("\\0\\0\\0\\t\\0\\0\\0\\x1").repeated(40000) + ')');
        row("a value within values, by the name of its type",
            "@Variant(" + QByteArray("\\0\\0\\0\\x7f\\0\\0\\0\\rQVariantList\\0\\0\\0\\0\\x1").repeated(40000) + ')');
        row("the same in other words",
            "\"@Variant(" + QByteArray("\\x0\" \"\\00\\0\\11\\0\\0\\0\\x1").repeated(40000) + ")\"");
    }

    void aFileWhoseValuesCannotBeReadIsLeftAlone()
    {
        QFETCH(const QByteArray, value);
        QFETCH(const bool, isTheirs);
        const QString path = newPath();
        const QByteArray before = "[General]\nkey=1\nother=" + value + "\nother=2\n";
        write(path, before);
        if (isTheirs && !giveAway(path, 0644))
            QSKIP("only root can give a file away");

        const ForkedChild child = ForkedChild::run([&] {
            Settings settings(path);
            const bool isEmpty = !settings.contains(QStringLiteral("key")) && !settings.hasBeenIniFileCreated();
            settings.store()->setValue(QStringLiteral("key"), 3);
            return isEmpty && !settings.sync() && settings.value(QStringLiteral("key")) == 3 ? 0 : 1;
        });

        QVERIFY2(child.signal == 0 && child.exitCode == 0, child.standardError.constData());
        QVERIFY2(child.standardError.contains("Settings stay in memory, "), child.standardError.constData());
        QCOMPARE(content(path), before);
    }

    void aFileThatComesToHoldSuchAValueIsNotReplaced()
    {
        const QString path = newPath();
        const QByteArray planted = "[General]\nother=@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n";

        const ForkedChild child = ForkedChild::run([&] {
            Settings settings(path);
            settings.setAndSync(QStringLiteral("key"), 1);
            write(path, planted);
            settings.store()->setValue(QStringLiteral("key"), 2);
            return !settings.sync() && settings.value(QStringLiteral("key")) == 2 ? 0 : 1;
        });

        QVERIFY2(child.signal == 0 && child.exitCode == 0, child.standardError.constData());
        QCOMPARE(content(path), planted);
    }

    void honestValuesOfAllKindsAreRead_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::newRow("with escapes") << QByteArray();
        QTest::newRow("in UTF-8") << QByteArray("UTF-8");
    }

    void honestValuesOfAllKindsAreRead()
    {
        QFETCH(const QByteArray, codec);
        const QString path = newPath();
        qRegisterMetaTypeStreamOperators<QVector<int>>("QVector<int>");
        QVariantList rows;
        for (int i = 0; i < 2000; ++i)
            rows << QVariant(QVariantList{i, QVariantMap{{QStringLiteral("5 µm, é"), i}}});
        const QVariantMap values{{QStringLiteral("rows"), rows}, {QStringLiteral("zeros"), QByteArray(100000, '\0')},
            {QStringLiteral("numbers"), QVariant::fromValue(QVector<int>{1, 2})},
            {QStringLiteral("tabs"), QStringLiteral("@\t\b").repeated(20000)},
            {QStringLiteral("time"), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5, 6))}};
        {
            QSettings writer(path, QSettings::IniFormat);
            writer.setIniCodec(codec.isEmpty() ? nullptr : QTextCodec::codecForName(codec));
            for (auto value = values.begin(); value != values.end(); ++value)
                writer.setValue(value.key(), *value);
        }
        const LogCapture log;

        Settings settings(path);
        settings.store()->setIniCodec(codec.isEmpty() ? nullptr : QTextCodec::codecForName(codec));

        for (auto value = values.begin(); value != values.end(); ++value)
            QVERIFY2(settings.value(value.key()) == *value, qPrintable(value.key()));
        QCOMPARE(log.warnings().filter(path), QStringList());
    }

    void refusedFilesShareNothing()
    {
        const QString one = newPath();
        const QString two = newPath();
        plant(QStringLiteral("a link to nothing"), one);
        plant(QStringLiteral("a link to nothing"), two);
        const LogCapture log;
        Settings first(one);
        const Settings second(two);

        first.setAndSync(QStringLiteral("key"), 5);

        QVERIFY(!second.contains(QStringLiteral("key")));
    }

    void aLockThatIsNoneIsNotWaitedFor_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("folder") << QStringLiteral("a folder");
        QTest::newRow("pipe") << QStringLiteral("a pipe");
        QTest::newRow("link") << QStringLiteral("a link to a file");
    }

    void aLockThatIsNoneIsNotWaitedFor()
    {
        QFETCH(const QString, what);
        const QString path = newPath();
        plant(what, path + QStringLiteral(".lock"));
        const LogCapture log;

        const ForkedChild child = ForkedChild::run(
            [&] {
                Settings settings(path);
                settings.store()->setValue(QStringLiteral("key"), 1);
                QCoreApplication::sendPostedEvents();
                return settings.sync() || settings.value(QStringLiteral("key")).toInt() != 1 ? 1 : 0;
            },
            10);

        QCOMPARE(child.exitCode, 0);
        QVERIFY(!QFile::exists(path));
    }

    void aFileThatBecomesALinkIsNotReplaced()
    {
        const QString path = newPath();
        Settings settings(path);
        settings.setAndSync(QStringLiteral("key"), 1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(QFile::remove(path));
        plant(QStringLiteral("a link to a file"), path);
        const QStringList before = inventory();
        const LogCapture log;

        settings.store()->setValue(QStringLiteral("key"), 2);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!settings.sync());

        const QString told = QStringLiteral("Failed to store settings, this is no file of ours: ") + path;
        QCOMPARE(log.warnings().filter(path), (QStringList{told, told})); // stores of other tests may write as well
        QCOMPARE(inventory(), before);
        QCOMPARE(settings.value(QStringLiteral("key")).toInt(), 2);
    }

    void whenTheCauseOfARefusalGoesTheNextValueIsStored_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("the lock") << QStringLiteral(".lock");
        QTest::newRow("the file") << QString();
    }

    void whenTheCauseOfARefusalGoesTheNextValueIsStored()
    {
        QFETCH(const QString, suffix);
        const QString path = newPath();
        const QString cause = path + suffix;
        Settings settings(path);
        const LogCapture log;
        plant(QStringLiteral("a link to nothing"), cause);
        settings.store()->setValue(QStringLiteral("key"), 1);
        QCoreApplication::sendPostedEvents();
        for (int i = 0; i < 3; ++i) // still there
            QCoreApplication::postEvent(settings.store(), new QEvent(QEvent::UpdateRequest));
        QCoreApplication::sendPostedEvents();
        QVERIFY(!isFile(path));

        QVERIFY(QFile::remove(cause));
        settings.store()->setValue(QStringLiteral("key"), 2);

        QTRY_COMPARE(content(path), QByteArray("[General]\nkey=2\n"));
        const QString told = QStringLiteral("Failed to store settings, this is no file of ours: ") + cause;
        QCOMPARE(log.warnings().filter(path), QStringList(told));
        QVERIFY(QFile::rename(path, path + QStringLiteral(".aside")));
        plant(QStringLiteral("a link to nothing"), cause);
        settings.store()->setValue(QStringLiteral("key"), 3);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(log.warnings().filter(path), (QStringList{told, told})); // it is another refusal
    }

    void theFileIsWhereItWasAtConstruction()
    {
        const QTemporaryDir here;
        const QTemporaryDir elsewhere;
        QVERIFY(QFile::link(here.filePath(QStringLiteral("nothing")), elsewhere.filePath(QStringLiteral("a.ini"))));

        const ForkedChild child = ForkedChild::run([&] {
            if (!QDir::setCurrent(here.path()))
                return 2;
            Settings settings(QStringLiteral("a.ini"));
            if (!QDir::setCurrent(elsewhere.path()))
                return 3;
            settings.store()->setValue(QStringLiteral("key"), 1);
            return settings.sync() ? 0 : 1;
        });

        QCOMPARE(child.exitCode, 0);
        QCOMPARE(content(here.filePath(QStringLiteral("a.ini"))), QByteArray("[General]\nkey=1\n"));
    }

    void aFailureIsOverWhenTheNextWriteSucceeds()
    {
        const QString path = newPath();
        Settings settings(path);
        const LogCapture log;
        {
            const Faults::FileSizeLimit limit(10);
            settings.store()->setValue(QStringLiteral("key"), QString(100, QLatin1Char('x')));
            QVERIFY(!settings.sync());
        }
        const int told = log.warnings().filter(path).size();

        settings.store()->setValue(QStringLiteral("key"), 1);
        QCoreApplication::sendPostedEvents();
        settings.store()->setValue(QStringLiteral("key"), 2);

        QVERIFY(settings.sync());
        QCOMPARE(log.warnings().filter(path).size(), told);
        QCOMPARE(content(path), QByteArray("[General]\nkey=2\n"));
    }

    // The status that QSettings keeps is its first, which is that of the line then.
    void aMalformedLineHidesNoFailure_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::newRow("in a section") << QByteArray("[General]\nkey=1\nnonsense\n");
        QTest::newRow("in another one") << QByteArray("[General]\nkey=1\n\n[other]\nnonsense\n");
        QTest::newRow("the section") << QByteArray("[General\nkey=1\n");
    }

    void aMalformedLineHidesNoFailure()
    {
        QFETCH(const QByteArray, before);
        const QString path = newPath();
        write(path, before);
        Settings settings(path);
        const QString told = QStringLiteral("Failed to store settings in ") + path;
        const LogCapture log;
        {
            const Faults::FileSizeLimit limit(writtenAtMost);

            settings.store()->setValue(QStringLiteral("key"), tooLong());
            QVERIFY(!settings.sync());
            QCOMPARE(log.warnings().filter(path), QStringList(told));
            settings.store()->setValue(QStringLiteral("key"), tooLong());
            QVERIFY(!settings.sync());
            QCOMPARE(content(path), before);
        }

        const int toldBefore = log.warnings().filter(path).size();
        settings.store()->setValue(QStringLiteral("key"), 2);
        QVERIFY(settings.sync());
        QCOMPARE(Settings(path).value(QStringLiteral("key")).toInt(), 2);
        QVERIFY(content(path).contains("key=2\n"));
        QVERIFY(settings.sync()); // there is nothing to write
        QCOMPARE(log.warnings().filter(path).size(), toldBefore);
    }

    void afterAFailureEveryKindOfValueIsFoundStored()
    {
        const QString path = newPath();
        write(path, "nonsense\n");
        Settings settings(path);
        const LogCapture log;
        const QVariant values[] = {{}, true, -7, 0.1, 0.1F, qInf(), QChar(u'x'), QString(),
            QStringLiteral("a, \"b\"; %1\n"), QByteArray("\0\x01\xff", 3), QStringList(),
            QStringList{QStringLiteral("one")}, QStringList{QString(), QStringLiteral("@two")},
            QVariantList{1, QStringLiteral("2"), QVariant()}, QVariantMap{{QStringLiteral("a"), 1}}, QSize(1, 2),
            QRect(1, 2, 3, 4), QDate(2026, 1, 2), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5, 6)),
            QUrl(QStringLiteral("http://a/b?c"))};

        for (const QVariant &value : values) {
            settings.store()->setValue(QStringLiteral("group/a key"), value);
            QVERIFY2(settings.sync(), value.typeName());
            QVERIFY2(settings.sync(), value.typeName());
        }
        settings.store()->remove(QStringLiteral("group"));
        QVERIFY(settings.sync());

        QCOMPARE(log.warnings().filter(path), QStringList());
        const Faults::FileSizeLimit limit(0);
        for (const QVariant &value : values) { // which is not there now
            settings.store()->setValue(QStringLiteral("group/a key"), value);
            QVERIFY2(!settings.sync(), value.typeName());
        }
    }

    void whereTheStatusTellsNothingAllValuesAreLookedFor_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::newRow("as it should be") << QByteArray("[General]\nkey=1\n");
        QTest::newRow("with a malformed line") << QByteArray("[General]\nkey=1\nnonsense\n");
    }

    void whereTheStatusTellsNothingAllValuesAreLookedFor()
    {
        QFETCH(const QByteArray, before);
        const QString path = newPath();
        write(path, before);
        Settings settings(path);
        const LogCapture log;
        const auto store = [&settings](const char *key, const QVariant &value) {
            settings.store()->setValue(QLatin1String(key), value);
            return settings.sync();
        };

        QVERIFY(store("number", qQNaN()));
        qRegisterMetaTypeStreamOperators<QVector<int>>("QVector<int>");
        QVERIFY(store("numbers", QVariant::fromValue(QVector<int>{1, 2})));
        const auto pair = [](int first, int second) {
            return QVariantList{QVariantMap{{QStringLiteral("a"), first}}, QVariantMap{{QStringLiteral("a"), second}}};
        };
        QVERIFY(store("maps", pair(1, 2)));
        settings.store()->beginGroup(QStringLiteral("group"));
        QVERIFY(store("inside", 7));
        settings.store()->endGroup();
        settings.store()->setIniCodec("UTF-8");
        QVERIFY(store("text", QStringLiteral("5 µm")));
        QCOMPARE(log.warnings().filter(path), QStringList());
        {
            const Faults::FileSizeLimit limit(0);
            QVERIFY(!store("maps", pair(3, 4)));
        }
        QVERIFY(content(path).contains("µm"));
    }

    void whatCouldNotBeWrittenIsTriedAgain_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::newRow("as it should be") << QByteArray("[General]\nkey=1\n");
        QTest::newRow("with a malformed line") << QByteArray("[General]\nkey=1\nnonsense\n");
    }

    void whatCouldNotBeWrittenIsTriedAgain()
    {
        QFETCH(const QByteArray, before);
        const QString path = newPath();
        write(path, before);
        Settings settings(path);
        const QString told = QStringLiteral("Failed to store settings in ") + path;
        const LogCapture log;
        {
            const Faults::FileSizeLimit limit(writtenAtMost);
            settings.store()->setValue(QStringLiteral("key"), tooLong());
            QCoreApplication::sendPostedEvents();
            for (int i = 0; i < 3; ++i) // no better
                QCoreApplication::postEvent(settings.store(), new QEvent(QEvent::UpdateRequest));
            QCoreApplication::sendPostedEvents();
            QCOMPARE(content(path), before);
            QCOMPARE(log.warnings().filter(path), QStringList(told));
        }

        QTRY_COMPARE(content(path), "[General]\nkey=" + tooLong().toUtf8() + '\n');
        const Faults::FileSizeLimit limit(writtenAtMost);
        settings.store()->setValue(QStringLiteral("key"), tooLong() + tooLong());
        QCoreApplication::sendPostedEvents();
        QCOMPARE(log.warnings().filter(path), (QStringList{told, told})); // it is another failure
    }

    void settingsThatAreStoredAreNotTold()
    {
        const QString path = newPath();
        Settings settings(path);
        const LogCapture log;

        settings.store()->setValue(QStringLiteral("key"), 1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(QFile::exists(path));
        settings.store()->setValue(QStringLiteral("key"), 2);
        QVERIFY(settings.sync());

        QCOMPARE(log.asText(), QStringList());
        QVERIFY(!QFile::exists(path + QStringLiteral(".lock")));
    }

    void settingsThatAreNotStoredAreTold()
    {
        const QString path = newPath();
        Settings settings(path);
        settings.setAndSync(QStringLiteral("key"), 1);
        QCoreApplication::sendPostedEvents();
        const Faults::FileSizeLimit limit(10);
        const LogCapture log;

        settings.store()->setValue(QStringLiteral("key"), QString(100, QLatin1Char('x')));
        QCoreApplication::sendPostedEvents();
        const QString told = QStringLiteral("Failed to store settings in ") + path;
        QCOMPARE(log.warnings().filter(path), QStringList(told));
        QVERIFY(!settings.sync());

        QCOMPARE(log.warnings().filter(path), (QStringList{told, told})); // stores of other tests may write as well
        QCOMPARE(settings.value(QStringLiteral("key")).toString().size(), 100);
        QCOMPARE(content(path), QByteArray("[General]\nkey=1\n")); // as it was
    }

    void aFileThatMayNotGrowIsToldOfAndNoSignal_data()
    {
        QTest::addColumn<int>("sizeBefore");
        QTest::addColumn<bool>("isLinked");
        const auto twice = 2 * static_cast<int>(writtenAtMost);
        QTest::newRow("a new file") << 0 << false;
        QTest::newRow("a file that is too long already") << twice << false;
        QTest::newRow("a link to one") << twice << true;
    }

    void aFileThatMayNotGrowIsToldOfAndNoSignal()
    {
        QFETCH(const int, sizeBefore);
        QFETCH(const bool, isLinked);
        const QString file = newPath();
        const QString path = isLinked ? newPath() : file;
        const QByteArray before = sizeBefore == 0 ? QByteArray() : "key=" + QByteArray(sizeBefore, 'y') + '\n';
        if (sizeBefore != 0)
            write(file, before);
        if (isLinked)
            QVERIFY(QFile::link(file, path));

        const ForkedChild child = ForkedChild::run([&path] {
            std::signal(SIGXFSZ, SIG_DFL);
            const rlimit limit{writtenAtMost, writtenAtMost};
            setrlimit(RLIMIT_FSIZE, &limit);
            Settings settings(path);
            settings.store()->setValue(QStringLiteral("key"), tooLong());
            const bool isStored = settings.sync();
            return isStored || std::signal(SIGXFSZ, SIG_DFL) != SIG_DFL ? 1 : 0;
        });

        QCOMPARE(child.signal, 0);
        QCOMPARE(child.exitCode, 0);
        QVERIFY2(child.standardError.contains("Failed to store settings"), child.standardError.constData());
        QCOMPARE(content(file), before);
    }

    void aLimitForFilesThatIsNotReachedIsNoHindrance()
    {
        const QString path = newPath();

        const ForkedChild child = ForkedChild::run([&path] {
            const rlimit limit{writtenAtMost, writtenAtMost};
            setrlimit(RLIMIT_FSIZE, &limit);
            Settings settings(path);
            settings.store()->setValue(QStringLiteral("key"), QStringLiteral("short"));
            return settings.sync() ? 0 : 1;
        });

        QCOMPARE(child.exitCode, 0);
        QVERIFY2(child.standardError.isEmpty(), child.standardError.constData());
        QVERIFY(content(path).contains("key=short"));
    }

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
        const LogCapture log;
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
