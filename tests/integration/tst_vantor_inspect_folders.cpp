// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "JsonOutput.h"
#include "PaintedFaces.h"
#include "common/FileNameCodec.h"

#include <QtTest>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr char latin1Name[] = "St\xF6rung.jpg";
constexpr char evilName[] = "a\033[2J\xE2\x80\xAEgnp\xC2\x9B\n.png";

bool makeSocket(const QByteArray &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy_n(path.constData(), qMin<std::size_t>(std::size_t(path.size()), sizeof address.sun_path - 1),
        static_cast<char *>(address.sun_path));
    const int end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isMade = bind(end, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    close(end);
    return isMade;
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isHarmless(const QByteArray &output)
{
    return !output.contains('\033') && !output.contains("\xE2\x80\xAE") && !output.contains("\xC2\x9B");
}
} // namespace

class TestVantorInspectFolders : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;

    QString newFolder(const char *name) const
    {
        QDir().mkpath(mFolder.filePath(QLatin1String(name)));
        return mFolder.filePath(QLatin1String(name));
    }

    static bool save(const QImage &image, const QString &folder, const QByteArray &name)
    {
        return image.save(folder + QLatin1Char('/') + QFile::decodeName(name), name.endsWith("jpg") ? "jpg" : "png");
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(mFolder.isValid()); }

    void aFailingFaceWhoseNameIsNotTextFails_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<bool>("byName");
        for (const char *const locale : {"C", "C.UTF-8", "POSIX", "de_DE.ISO-8859-1", ""}) {
            QTest::addRow("in a folder, locale \"%s\"", locale) << QString::fromLatin1(locale) << false;
            QTest::addRow("by name, locale \"%s\"", locale) << QString::fromLatin1(locale) << true;
        }
    }

    void aFailingFaceWhoseNameIsNotTextFails()
    {
        QFETCH(QString, locale);
        QFETCH(bool, byName);
        const QString folder = newFolder("latin1");
        QVERIFY(save(goodFace(), folder, "good.png"));
        QVERIFY(save(badFace(), folder, latin1Name));
        const QString bad = folder + QLatin1Char('/') + QFile::decodeName(latin1Name);
        QTemporaryDir out;

        InspectProgram program;
        program.setVariable("LC_ALL", locale);
        program.begin({QStringLiteral("--json"), QStringLiteral("--steps"), QStringLiteral("--out"), out.path(),
            byName ? bad : folder});
        QVERIFY(program.waitForEnd());

        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.exitCode(), 1);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), byName ? std::size_t(1) : std::size_t(2));
        const QJsonObject &object = objects.front();
        QCOMPARE(schemaViolation(object), QString());
        QCOMPARE(object[QStringLiteral("passed")].toBool(true), false);
        QCOMPARE(object[QStringLiteral("image")].toString(), folder + QStringLiteral("/St\uFFFDrung.jpg"));
        const auto bytesOf = [&object](const char *key) {
            return QByteArray::fromPercentEncoding(object[QLatin1String(key)].toString().toLatin1());
        };
        QCOMPARE(bytesOf("imageBytes"), QFile::encodeName(bad));
        QVERIFY(QFile::exists(QFile::decodeName(bytesOf("resultImageBytes"))));
        QVERIFY(QFile::exists(out.path() + QFile::decodeName("/St\xF6rung_01_gray.png")));
        if (!byName)
            QVERIFY(!objects.back().contains(QStringLiteral("imageBytes")));
    }

    void filesOfEveryFormatAreFound_data()
    {
        QTest::addColumn<QString>("suffix");
        for (const char *const suffix :
            {"bmp", "jpeg", "jpg", "JPG", "pbm", "pgm", "png", "pnm", "ppm", "tif", "tiff", "webp"})
            QTest::newRow(suffix) << QString::fromLatin1(suffix);
    }
    void filesOfEveryFormatAreFound()
    {
        QFETCH(QString, suffix);
        const QString folder = newFolder(QByteArray("format-" + suffix.toLatin1()).constData());
        QVERIFY(goodFace().save(folder + QStringLiteral("/face.") + suffix, "PNG")); // the content decides

        const InspectRun run = runInspect({folder});

        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(run.exitCode, 0);
    }

    void everyEntryIsGradedOrTold()
    {
        const QString folder = newFolder("mixed");
        const QByteArray path = QFile::encodeName(folder) + '/';
        const auto in = [&path](const char *name) { return path + name; };
        QVERIFY(save(goodFace(), folder, "good.png"));
        QVERIFY(save(goodFace(), folder, ".hidden.png"));
        QVERIFY(QFile::copy(folder + QStringLiteral("/good.png"), folder + QStringLiteral("/good.png.bak")));
        QVERIFY(QFile::copy(folder + QStringLiteral("/good.png"), folder + QStringLiteral("/good")));
        QCOMPARE(symlink("good.png", in("link.PNG").constData()), 0);
        QCOMPARE(symlink("nowhere", in("dangling.png").constData()), 0);
        QCOMPARE(symlink("loop.png", in("loop.png").constData()), 0);
        QCOMPARE(symlink("/dev/null", in("device.png").constData()), 0);
        QCOMPARE(symlink("/", in("folder.png").constData()), 0);
        QCOMPARE(mkfifo(in("pipe.png").constData(), 0600), 0);
        QVERIFY(makeSocket(in("socket.png")));
        newFolder("mixed/sub");
        QVERIFY(save(badFace(), folder, "sub/bad.png"));
        QVERIFY(save(goodFace(), folder, QByteArray(evilName) + ".txt"));

        for (const char *const option : {"--json", "--csv", "--quiet", "--jobs=2"}) {
            const InspectRun run = runInspect({QLatin1String(option), QStringLiteral("mixed")}, mFolder.path());

            QCOMPARE(run.exitCode, 2);
            QStringList lines = run.messageLines();
            lines.sort();
            const QString start = QStringLiteral("vantor-inspect: mixed/");
            QCOMPARE(lines,
                (QStringList{start + QStringLiteral(".hidden.png: left out: a hidden file"),
                    start
                        + QStringLiteral("a\\x1b[2J\\xe2\\x80\\xaegnp\\xc2\\x9b\\x0a.png.txt: left out: no known image "
                                         "suffix"),
                    start + QStringLiteral("dangling.png: left out: a link that leads nowhere"),
                    start + QStringLiteral("device.png: left out: a device"),
                    start + QStringLiteral("folder.png: left out: a subfolder, which is not searched"),
                    start + QStringLiteral("good.png.bak: left out: no known image suffix"),
                    start + QStringLiteral("good: left out: no known image suffix"),
                    start + QStringLiteral("loop.png: left out: Too many levels of symbolic links"),
                    start + QStringLiteral("pipe.png: left out: a pipe"),
                    start + QStringLiteral("socket.png: left out: a socket"),
                    start + QStringLiteral("sub: left out: a subfolder, which is not searched")}));
        }

        const InspectRun forPerson = runInspect({QStringLiteral("mixed")}, mFolder.path());
        QCOMPARE(forPerson.output.count("PASSED"), 2); // good.png and the link to it
        QCOMPARE(forPerson.outputLines().constLast(),
            QStringLiteral("2 inspections: 2 passed, 0 failed, 0 not analysed, 11 left out"));
    }

    void aNameControlsNeitherTheTerminalNorTheTable_data()
    {
        QTest::addColumn<QString>("option");
        QTest::newRow("text") << QStringLiteral("--standard=sm-rl45");
        QTest::newRow("CSV") << QStringLiteral("--csv");
        QTest::newRow("JSON") << QStringLiteral("--json");
    }

    void aNameControlsNeitherTheTerminalNorTheTable()
    {
        QFETCH(QString, option);
        const QString folder = newFolder("evil");
        QVERIFY(save(badFace(), folder, evilName));
        QVERIFY(QFile(folder + QLatin1Char('/') + QFile::decodeName(QByteArray(evilName) + "2.png"))
                    .open(QIODevice::WriteOnly));
        QTemporaryDir out;

        const InspectRun run = runInspect({option, QStringLiteral("--out"), out.path(), folder});

        QCOMPARE(run.exitCode, 2);
        QVERIFY(isHarmless(run.output));
        QVERIFY(isHarmless(run.messages));
        QVERIFY(run.output.contains("FAILED") || run.output.contains("false"));
        if (option == QStringLiteral("--json"))
            QCOMPARE(jsonLines(run.output).at(0)[QStringLiteral("image")].toString(),
                folder + QLatin1Char('/') + QString::fromUtf8(evilName));
        else
            QVERIFY(run.output.contains("a\\x1b[2J\\xe2\\x80\\xaegnp\\xc2\\x9b\\x0a.png"));
    }

    void aPhotographThatIsNamedLikeAPictureIsNotOverwritten_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("ending");
        const auto row = [](const char *title, const char *name) {
            QTest::addRow("%s, as a result", title) << QByteArray(name) << QByteArray("_result.jpg");
            QTest::addRow("%s, as a step", title) << QByteArray(name) << QByteArray("_01_gray.png");
        };
        row("plain", "face");
        row("Latin-1", "St\xF6rung");
        row("a line break", "two\nlines");
        row("a line break at the end", "face\n");
        row("numbers", "face_01_02_x");
    }

    void aPhotographThatIsNamedLikeAPictureIsNotOverwritten()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, ending);
        const QTemporaryDir folder;
        QVERIFY(save(goodFace(), folder.path(), name + ".png"));
        QVERIFY(save(badFace(), folder.path(), name + ending));
        const QString photograph = folder.path() + QLatin1Char('/') + QFile::decodeName(name + ending);
        const QByteArray before = bytesOf(photograph);

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--steps"), QStringLiteral("--out"),
            folder.path(), folder.path()});

        QCOMPARE(bytesOf(photograph), before);
        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(run.exitCode, 1);
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[0][QStringLiteral("passed")].toBool(), true);
        QCOMPARE(objects[1][QStringLiteral("passed")].toBool(true), false);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2 + 2 * 15);
    }

    void aPhotographInTheOutputFolderIsSparedHoweverItIsReached_data()
    {
        QTest::addColumn<bool>("isSymbolic");
        QTest::newRow("by a symbolic link") << true;
        QTest::newRow("by another name") << false;
    }

    void aPhotographInTheOutputFolderIsSparedHoweverItIsReached()
    {
        QFETCH(bool, isSymbolic);
        const QTemporaryDir in;
        const QTemporaryDir out;
        const QString photograph = out.filePath(QStringLiteral("a_result.jpg"));
        QVERIFY(save(goodFace(), in.path(), "a.png"));
        QVERIFY(save(badFace(), out.path(), "a_result.jpg"));
        const QByteArray before = bytesOf(photograph);
        const QByteArray other = QFile::encodeName(in.filePath(QStringLiteral("b.jpg")));
        QCOMPARE((isSymbolic ? symlink : link)(QFile::encodeName(photograph).constData(), other.constData()), 0);

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out.path(), in.path()});

        QCOMPARE(bytesOf(photograph), before);
        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(jsonLines(run.output).size(), std::size_t(2));
        QCOMPARE(jsonLines(run.output)[1][QStringLiteral("passed")].toBool(true), false);
        QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 3);
    }

    void noPictureOfTheRunIsGradedAsAPhotograph_data()
    {
        QTest::addColumn<bool>("isLink");
        QTest::newRow("by its name") << false;
        QTest::newRow("by a link that led nowhere") << true;
    }

    void noPictureOfTheRunIsGradedAsAPhotograph()
    {
        QFETCH(bool, isLink);
        const QTemporaryDir in;
        const QTemporaryDir out;
        QVERIFY(save(goodFace(), in.path(), "a.png"));
        QString missing = out.filePath(QStringLiteral("a_result.jpg"));
        if (isLink) {
            QVERIFY(QFile::link(missing, in.filePath(QStringLiteral("b.jpg"))));
            missing = in.filePath(QStringLiteral("b.jpg"));
        }

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out.path(),
            in.filePath(QStringLiteral("a.png")), missing});

        QCOMPARE(run.exitCode, 2);
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[1][QStringLiteral("reason")].toString(), QStringLiteral("Failed to load image: no such file"));
    }

    // To Qt such a name is that of a resource.
    void picturesStayInTheirFolderWhateverTheNameBeginsWith()
    {
        const QTemporaryDir in;
        const QTemporaryDir out;
        const QTemporaryDir working;
        QVERIFY(save(goodFace(), in.path(), ":a.png"));
        QFile mine(working.filePath(QStringLiteral("./:a_result.jpg")));
        QVERIFY(mine.open(QIODevice::WriteOnly) && mine.write("mine") == 4);
        mine.close();

        const InspectRun run = runInspect(
            {QStringLiteral("--json"), QStringLiteral("--steps"), QStringLiteral("--out"), out.path(), in.path()},
            working.path());

        QCOMPARE(bytesOf(mine.fileName()), QByteArray("mine"));
        QCOMPARE(listing(working.path()).size(), 1);
        QCOMPARE(listing(out.path()).size(), 15);
        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(jsonLines(run.output)[0][QStringLiteral("resultImage")].toString(),
            out.path() + QStringLiteral("/:a_result.jpg"));
    }

    void argumentsMayBeginWithAColon()
    {
        const QTemporaryDir working;
        QVERIFY(QDir().mkdir(working.path() + QStringLiteral("/:photos")));
        QVERIFY(save(goodFace(), working.path() + QStringLiteral("/:photos"), "x.png"));
        QVERIFY(save(goodFace(), working.path(), ":y.png"));

        QVERIFY(QDir().mkdir(working.path() + QStringLiteral("/:tmp")));
        InspectProgram program;
        program.setWorkingDirectory(working.path());
        program.setVariable("TMPDIR", QStringLiteral(":tmp"));
        program.begin({QStringLiteral("--json"), QStringLiteral("--out"), QStringLiteral(":out"),
            QStringLiteral(":photos"), QStringLiteral(":y.png")});

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(jsonLines(program.readAllStandardOutput()).size(), std::size_t(2));
        QCOMPARE(listing(working.path() + QStringLiteral("/:tmp")), QStringList());
        QCOMPARE(listing(working.path() + QStringLiteral("/:out")).size(), 2);
    }

    void whatVanishesMeanwhileIsTold()
    {
        const QString folder = newFolder("vanishing");
        for (int i = 0; i < 12; ++i)
            QVERIFY(save(goodFace(), folder, QByteArray::number(10 + i) + ".png"));
        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--repeat=10"), folder});
        QVERIFY(program.waitForLine());
        QVERIFY(QFile::remove(folder + QStringLiteral("/21.png")));

        QVERIFY(program.waitForEnd());

        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), std::size_t(12));
        QCOMPARE(
            objects.back()[QStringLiteral("reason")].toString(), QStringLiteral("Failed to load image: no such file"));
    }

    // Root without its capabilities is bound to permissions like everybody else.
    void aFolderThatCannotBeReadIsTold()
    {
        const QString folder = newFolder("locked");
        const QString halfOpen = newFolder("halfopen");
        QVERIFY(save(goodFace(), folder, "good.png"));
        QVERIFY(save(goodFace(), halfOpen, "good.png"));
        QVERIFY(QFile::setPermissions(folder, {}));
        QVERIFY(QFile::setPermissions(halfOpen, QFile::ReadOwner)); // names can be read, files cannot be reached
        const QStringList ordinary = geteuid() == 0 ? QStringList{QStringLiteral("setpriv"),
                                         QStringLiteral("--bounding-set=-all"), QStringLiteral("--inh-caps=-all")}
                                                    : QStringList{QStringLiteral("env")};

        InspectProgram program;
        program.beginThrough(ordinary, {folder, halfOpen});
        QVERIFY(program.waitForEnd());
        for (const QString &each : {folder, halfOpen})
            QVERIFY(QFile::setPermissions(each, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        QCOMPARE(program.exitCode(), 2);
        const QString messages = QString::fromUtf8(program.readAllStandardError());
        QVERIFY2(messages.contains(folder + QStringLiteral(": the folder cannot be read: Permission denied\n")),
            qPrintable(messages));
        QVERIFY2(messages.contains(halfOpen + QStringLiteral("/good.png: left out: Permission denied\n")),
            qPrintable(messages));
    }
};

int main(int argc, char **argv)
{
    Tools::FileNameCodec::install();
    QCoreApplication application(argc, argv);
    TestVantorInspectFolders test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_vantor_inspect_folders.moc"
