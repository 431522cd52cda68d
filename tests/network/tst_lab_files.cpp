// SPDX-License-Identifier: Apache-2.0
// Files where a test would harm this machine: of the kernel, on full and read-only disks, in place of devices.
#include "AbstractSettings.h"
#include "Helpers/SystemHelper.h"
#include "Internal/ChildProcess.h"
#include "Lab.h"
#include "LogCapture.h"
#include "SmallDisk.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QtTest>

namespace {
const QString dropCaches = QStringLiteral("/proc/sys/vm/drop_caches");
const QString compactMemory = QStringLiteral("/proc/sys/vm/compact_memory");

class Settings : public AbstractSettings
{
public:
    explicit Settings(const QString &path)
        : AbstractSettings(path)
    {
    }

    using AbstractSettings::sync;

    void set(const QString &key, const QVariant &content) { m_settings->setValue(key, content); }
};
} // namespace

class TestLabFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program"); }

    void init()
    {
        QVERIFY(Lab::write(dropCaches, "1\n"));
        QVERIFY(Lab::write(compactMemory, "0\n"));
    }

    void memoryIsCompactedWithAndWithoutTheCaches()
    {
        SystemHelper::compactMemory(false);
        QCOMPARE(Lab::read(dropCaches), QByteArray("1\n"));
        QCOMPARE(Lab::read(compactMemory), QByteArray("1"));

        QVERIFY(Lab::write(compactMemory, "0\n"));
        SystemHelper::compactMemory(true);
        QCOMPARE(Lab::read(dropCaches), QByteArray("3"));
        QCOMPARE(Lab::read(compactMemory), QByteArray("1"));
    }

    void memoryThatCannotBeCompactedIsPassedOverInSilence()
    {
        const Lab::ReadOnly disk(QStringLiteral("/proc/sys/vm"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        SystemHelper::compactMemory(true);

        QCOMPARE(log.asText(), QStringList());
        QCOMPARE(Lab::read(dropCaches), QByteArray("1\n"));
    }

    void onlyTheBytesTellOfAFullDisk()
    {
        const FullDisk disk(QStringLiteral("/tmp"));
        QCOMPARE(disk.problem(), QString());
        const QString path = QStringLiteral("/tmp/file");
        const LogCapture log;

        QVERIFY(!SystemHelper::writeBytesToFile(path, "bytes", true));
        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("text"), true));
        QVERIFY(SystemHelper::writeIntToFile(path, 5));
        QCOMPARE(Lab::read(path), QByteArray());
        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/etc/passwd")}, QStringLiteral("/tmp/o.tar.gz")));
        QCOMPARE(SystemHelper::getFreeDiskSpace(QStringLiteral("/tmp")), qint64(0));
    }

    void nothingIsWrittenToAReadOnlyDisk()
    {
        QVERIFY(Lab::write(QStringLiteral("/tmp/file"), "before"));
        const Lab::ReadOnly disk(QStringLiteral("/tmp"));
        QVERIFY(disk.isReadOnly());
        const LogCapture log;

        QVERIFY(!SystemHelper::writeBytesToFile(QStringLiteral("/tmp/file"), "bytes", true));
        QVERIFY(!SystemHelper::writeStringToFile(QStringLiteral("/tmp/file"), QStringLiteral("text"), false));
        QVERIFY(!SystemHelper::writeIntToFile(QStringLiteral("/tmp/file"), 5));
        QVERIFY(!SystemHelper::createDirIfNotExist(QStringLiteral("/tmp/a/b")));
        SystemHelper::removeFilesFromDir(QStringLiteral("/tmp"), QString());
        QCOMPARE(Lab::read(QStringLiteral("/tmp/file")), QByteArray("before"));
    }

    void settingsBehindALinkToADeviceLeaveTheDevice()
    {
        if (!Lab::succeeds(QStringLiteral("rm -f /opt/null; mknod /opt/null c 1 3 2>/dev/null || true; "
                                          "ln -sf /opt/null /opt/settings.ini"))
            || !QFileInfo::exists(QStringLiteral("/opt/null")))
            QSKIP("there are no devices here");
        const LogCapture log;

        Settings settings(QStringLiteral("/opt/settings.ini"));
        settings.set(QStringLiteral("key"), 5);
        QVERIFY(!settings.sync());

        QVERIFY(Lab::succeeds(QStringLiteral("test -c /opt/null -a -L /opt/settings.ini")));
        QCOMPARE(settings.value(QStringLiteral("key")).toInt(), 5);
    }

    void settingsOfAnotherUserAreNotRead()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("echo key=6 >/tmp/settings.ini")));
        const LogCapture log;

        Settings settings(QStringLiteral("/tmp/settings.ini"));
        settings.set(QStringLiteral("other"), 5);
        QVERIFY(!settings.sync());

        QVERIFY(!settings.contains(QStringLiteral("key")));
        QCOMPARE(Lab::read(QStringLiteral("/tmp/settings.ini")), QByteArray("key=6\n"));
    }

    void aStartedProcessIsFoundAndItsPriorityAltered()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("cp $(type -P sleep) /run/lab-process")));
        ChildProcess process;
        process.start(QStringLiteral("/run/lab-process"), {QStringLiteral("60")});
        QVERIFY(process.waitForStarted());

        QVERIFY(SystemHelper::isProcessRunning(QStringLiteral("lab-process")));
        QVERIFY(SystemHelper::alterProcessPriority(QStringLiteral("lab-process"), 7));
        QCOMPARE(Lab::shell(QStringLiteral("ps -o ni= -C lab-process")).output.trimmed(), QByteArray("7"));

        process.kill();
        QVERIFY(process.waitForFinished());
        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("lab-process")));
    }
};

QTEST_GUILESS_MAIN(TestLabFiles)
#include "tst_lab_files.moc"
