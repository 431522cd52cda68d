// SPDX-License-Identifier: Apache-2.0
#include "JsonOutput.h"
#include "PaintedFaces.h"
#include "ProgramRun.h"
#include "StandInPrograms.h"
#include "common/FileNameCodec.h"
#include "simulation/EndfaceScenes.h"

#include <QDir>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <optional>
#include <sys/stat.h>

namespace {
constexpr int patience = 300000; // milliseconds

struct Run
{
    int exitCode = -1; ///< -1: crashed, or did not end
    QByteArray output;
    QByteArray messages;

    QStringList lines() const { return QString::fromUtf8(output).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
    QStringList messageLines() const
    {
        return QString::fromUtf8(messages).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

Run run(const QStringList &arguments, const QString &workingFolder = {})
{
    const ProgramRun run = ProgramRun::of(
        QStringLiteral(VANTOR_FOCUS_PROGRAM), arguments,
        [&workingFolder](ChildProcess &process) { process.setWorkingDirectory(workingFolder); }, patience);
    return {run.exitCode, run.output, run.errors};
}

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// A frame of a clean fibre; blur in micrometres.
QImage fibre(double blur)
{
    return exposeEndface(paintEndfaceSurface(endfacePreset(QStringLiteral("clean"))), blur, 0.9, 1);
}

/// The picture as a camera delivers it: NV12 with padded rows.
QByteArray rawFrame(const QImage &picture, int stride)
{
    const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
    QByteArray bytes;
    for (int y = 0; y < gray.height(); ++y) {
        bytes.append(reinterpret_cast<const char *>(gray.constScanLine(y)), gray.width());
        bytes.append(stride - gray.width(), '\xff');
    }
    return bytes + QByteArray(stride * gray.height() / 2, '\x80');
}

QString withoutTimes(const QByteArray &output)
{
    static const QRegularExpression time(QStringLiteral("\"elapsedMs\":[^,}]*"));
    return QString::fromUtf8(output).remove(time);
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// How often an element occurs in the picture; -1 if that is not well-formed.
int countElements(const QString &path, const char *name, QStringList *texts = nullptr)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    int count = 0;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        count += reader.name() == QLatin1String(name) ? 1 : 0;
        if (texts && reader.name() == QLatin1String("text"))
            texts->append(reader.readElementText());
    }
    return reader.hasError() ? -1 : count;
}

/// How high the dots of that colour lie, pixels from the top.
QVector<double> dotsOf(const QString &path, const char *color)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression place(QStringLiteral("translate\\([^,]+,([^)]+)\\)"));
    QVector<double> heights;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == QLatin1String("use")
            && reader.attributes().value(QLatin1String("color")) == QLatin1String(color))
            heights.append(place.match(reader.attributes().value(QLatin1String("transform"))).captured(1).toDouble());
    }
    return heights;
}
} // namespace

class TestVantorFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(mFolder.emplace().isValid()); }
    void cleanup() { mFolder.reset(); }

    void aTableHasOneLineAFrame()
    {
        QVERIFY(fibre(1.2).save(path("a.png")));
        QVERIFY(noFace().save(path("b.jpg")));
        QVERIFY(fibre(3).save(path("c.png")));

        const Run result = run({mFolder->path()});

        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.messages.isEmpty(), result.messages.constData());
        const QStringList lines = result.lines();
        QCOMPARE(lines.size(), 1 + 3 + 2);
        QCOMPARE(lines[0].simplified(), QStringLiteral("frame focus found x/px y/px ms"));
        QVERIFY(lines[1].startsWith(path("a.png")));
        QVERIFY(lines[1].contains(QStringLiteral(" yes ")));
        QVERIFY(lines[2].startsWith(path("b.jpg")));
        QVERIFY(lines[2].contains(QStringLiteral(" no ")));
        QVERIFY(lines[2].endsWith(QStringLiteral("no circle")));
        QVERIFY(lines[3].startsWith(path("c.png")));
        QVERIFY(
            lines[4].startsWith(QStringLiteral("3 frames, the fibre found in 2 (67 %); sharpest: ") + path("a.png")));
        QVERIFY(lines[5].startsWith(QStringLiteral("1 can be captured")));
    }

    void csvHasOneLineAFrame()
    {
        QVERIFY(fibre(1.2).save(path("a, b.png")));
        QVERIFY(noFace().save(path("c.png")));

        const QStringList lines = run({QStringLiteral("--csv"), mFolder->path()}).lines();

        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], QStringLiteral("frame,focus,found,x,y,elapsedMs,remark"));
        QVERIFY(lines[1].startsWith(QStringLiteral("\"%1\",").arg(path("a, b.png"))));
        const QStringList found = lines[1].section(QLatin1String("\","), 1).split(QLatin1Char(','));
        QCOMPARE(found.size(), 6);
        QVERIFY(found[0].toDouble() > 2.5);
        QCOMPARE(found[1], QStringLiteral("true"));
        const QStringList missed = lines[2].split(QLatin1Char(','));
        QCOMPARE(missed.mid(1, 4), QStringList({QString(), QStringLiteral("false"), QString(), QString()}));
        QCOMPARE(missed.last(), QStringLiteral("no circle"));
    }

    void jsonHasOneObjectALine()
    {
        QVERIFY(fibre(1.2).save(path("a.png")));
        QVERIFY(noFace().save(path("b.png")));
        const QPointF center = endfaceFibreCenters(endfacePreset(QStringLiteral("clean"))).constFirst();

        const std::vector<QJsonObject> objects = jsonLines(run({QStringLiteral("--json"), mFolder->path()}).output);

        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[0].keys(), words("elapsedMs focus found frame x y"));
        QCOMPARE(objects[0][QLatin1String("frame")].toString(), path("a.png"));
        QCOMPARE(objects[0][QLatin1String("found")].toBool(), true);
        QVERIFY(objects[0][QLatin1String("focus")].toDouble() > 2.5);
        QVERIFY(objects[0][QLatin1String("elapsedMs")].toDouble() > 0);
        QVERIFY(qAbs(objects[0][QLatin1String("x")].toDouble() - center.x()) < 12);
        QVERIFY(qAbs(objects[0][QLatin1String("y")].toDouble() - center.y()) < 12);
        QCOMPARE(objects[1].keys(), words("elapsedMs found frame remark"));
        QCOMPARE(objects[1][QLatin1String("found")].toBool(), false);
    }

    void theExitCodeTellsWhetherTheFibreWasFound_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("found") << words("fibre.png") << 0;
        QTest::newRow("found in one of two") << words("none.png fibre.png") << 0;
        QTest::newRow("found beside a bad frame") << words("missing.png fibre.png bad.png") << 2;
        QTest::newRow("never found") << words("none.png none.png") << 1;
        QTest::newRow("no such file") << words("missing.png") << 66;
        QTest::newRow("no picture") << words("bad.png") << 66;
        QTest::newRow("not found beside a bad frame") << words("none.png bad.png") << 66;
        QTest::newRow("empty folder") << words("empty") << 66;
    }

    void theExitCodeTellsWhetherTheFibreWasFound()
    {
        QFETCH(QStringList, names);
        QVERIFY(fibre(1.2).save(path("fibre.png")));
        QVERIFY(noFace().save(path("none.png")));
        QVERIFY(write("bad.png", "no picture"));
        QVERIFY(QDir(mFolder->path()).mkdir(QStringLiteral("empty")));
        QStringList paths;
        for (const QString &name : names)
            paths.append(mFolder->filePath(name));

        QTEST(run(paths).exitCode, "exitCode");
    }

    void wrongUsageIsRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("nothing") << QStringList();
        const auto row = [](const char *arguments) { QTest::newRow(arguments) << words(arguments); };
        row("--nonsense x.png");
        row("--csv --json x.png");
        row("--sweep x.png");
        row("--sweep=1");
        row("--sweep=10001");
        row("--sweep=many");
        row("--sweep --seed -1");
        row("--sweep --seed 4294967296");
        row("--sweep --noise nan");
        row("--sweep --noise -1");
        row("--sweep --illumination 2");
        row("--sweep --max-blur 0.1");
        row("--sweep --max-blur inf");
        row("--sweep --size 800x600");
        row("--seed 1 x.png");
        row("--size 800 x.nv12");
        row("--size 801x600 x.nv12");
        row("--size 0x0 x.nv12");
        row("--size 99998x2 x.nv12");
        row("--stride 832 x.nv12");
        row("--study out");
        row("--size 800x600 --stride 799 x.nv12");
        row("--plot= x.png");
        row("--plot x.png x.png");
    }

    void wrongUsageIsRefused()
    {
        QFETCH(QStringList, arguments);

        const Run result = run(arguments);

        QCOMPARE(result.exitCode, 64);
        QVERIFY(result.output.isEmpty());
        QCOMPARE(result.messageLines().size(), 1);
        QVERIFY(result.messages.startsWith("vantor-focus: "));
    }

    void helpAndVersionAreShown()
    {
        QCOMPARE(run({QStringLiteral("--help")}).exitCode, 0);
        QVERIFY(run({QStringLiteral("--help")}).output.contains("--sweep"));
        QCOMPARE(run({QStringLiteral("--version")}).exitCode, 0);
        QVERIFY(run({QStringLiteral("--version")}).output.startsWith("vantor-focus "));
    }

    void badFramesGiveOneLineEachAndTheOthersAreMeasured()
    {
        QVERIFY(fibre(1.2).save(path("1.png")));
        QVERIFY(write("2.png", ""));
        QVERIFY(write("3.jpg", "no picture"));
        QFile whole(path("1.png"));
        QVERIFY(whole.open(QIODevice::ReadOnly));
        QVERIFY(write("4.png", whole.read(whole.size() / 2)));
        QVERIFY(write("5.nv12", "raw"));
        QVERIFY(QImage(1, 1, QImage::Format_Grayscale8).save(path("6.png")));
        QVERIFY(fibre(1.5).save(path("7.png")));
        QVERIFY(write("notes.txt", "not a frame"));

        const Run result = run({QStringLiteral("--json"), mFolder->path()});

        QCOMPARE(result.exitCode, 2);
        QCOMPARE(jsonLines(result.output).size(), std::size_t(2));
        const QStringList messages = result.messageLines();
        QCOMPARE(messages.size(), 6);
        const QStringList bad = words("2.png 3.jpg 4.png 5.nv12 6.png notes.txt");
        for (int i = 0; i < bad.size(); ++i)
            QVERIFY2(messages[i].startsWith(QStringLiteral("vantor-focus: %1: ").arg(mFolder->filePath(bad[i]))),
                qPrintable(messages[i]));
    }

    void aPipeIsRefusedWithoutWaiting()
    {
        QCOMPARE(mkfifo(QFile::encodeName(path("pipe.png")).constData(), 0600), 0);

        QCOMPARE(run({path("pipe.png")}).exitCode, 66);
    }

    void framesComeInTheOrderOfTheirNumbers()
    {
        for (const char *const name : {"f10.png", "f9.png", "f1.png"})
            QVERIFY(noFace().save(path(name)));

        QStringList names;
        for (const QJsonObject &object : jsonLines(run({QStringLiteral("--json"), mFolder->path()}).output))
            names.append(QFileInfo(object[QLatin1String("frame")].toString()).fileName());

        QCOMPARE(names, words("f1.png f9.png f10.png"));
    }

    void rawFramesAreReadByTheirStride_data()
    {
        QTest::addColumn<int>("stride");
        QTest::newRow("no padding") << 800;
        QTest::newRow("padded rows") << 832;
        QTest::newRow("odd stride") << 1001;
    }

    void rawFramesAreReadByTheirStride()
    {
        QFETCH(int, stride);
        const QImage picture = fibre(1.2);
        QVERIFY(picture.save(path("a.png")));
        QVERIFY(write("b.nv12", rawFrame(picture, stride)));

        const std::vector<QJsonObject> objects =
            jsonLines(run({QStringLiteral("--json"), QStringLiteral("--size"), QStringLiteral("800x600"),
                              QStringLiteral("--stride"), QString::number(stride), mFolder->path()})
                          .output);

        QCOMPARE(objects.size(), std::size_t(2));
        QVERIFY(objects[0][QLatin1String("found")].toBool());
        for (const char *const key : {"found", "focus", "x", "y"})
            QCOMPARE(objects[1][QLatin1String(key)], objects[0][QLatin1String(key)]);
    }

    void aRawFileMayHoldSeveralFrames()
    {
        QVERIFY(write("a.yuv", rawFrame(fibre(1.2), 800) + rawFrame(noFace(), 800) + rawFrame(fibre(3), 800) + "rest"));

        const Run result = run({QStringLiteral("--json"), QStringLiteral("--size=800x600"), path("a.yuv")});

        QCOMPARE(result.exitCode, 2);
        const std::vector<QJsonObject> objects = jsonLines(result.output);
        QCOMPARE(objects.size(), std::size_t(3));
        for (int i = 0; i < 3; ++i)
            QCOMPARE(objects[std::size_t(i)][QLatin1String("frame")].toString(),
                QStringLiteral("%1#%2").arg(path("a.yuv")).arg(i + 1));
        QVERIFY(objects[0][QLatin1String("found")].toBool());
        QVERIFY(!objects[1][QLatin1String("found")].toBool());
        QVERIFY(objects[2][QLatin1String("focus")].toDouble() < objects[0][QLatin1String("focus")].toDouble());
        QCOMPARE(result.messageLines().size(), 1);
        QVERIFY(result.messages.contains("a.yuv#4: 4 bytes"));
    }

    void severalFibresAreNoFibre()
    {
        EndfaceScene scene = endfacePreset(QStringLiteral("clean"));
        scene.offset = {-215, 0};
        QImage both = exposeEndface(paintEndfaceSurface(scene), 1.5, 0.9, 1);
        scene.offset = {215, 0};
        const QImage right = exposeEndface(paintEndfaceSurface(scene), 1.5, 0.9, 1);
        for (int y = 0; y < both.height(); ++y)
            std::copy_n(right.constScanLine(y) + 400, 400, both.scanLine(y) + 400);
        QVERIFY(both.save(path("a.png")));

        const Run result = run({QStringLiteral("--csv"), path("a.png")});

        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.output.endsWith(",more than one circle\n"), result.output.constData());
    }

    void aFibreAtTheBorderHasNoFocusValue()
    {
        EndfaceScene scene = endfacePreset(QStringLiteral("clean"));
        scene.offset = {0, -261}; // its rim touches the border
        QVERIFY(exposeEndface(paintEndfaceSurface(scene), 1.5, 0.9, 1).save(path("a.png")));

        const Run result = run({QStringLiteral("--csv"), path("a.png")});

        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.output.endsWith(",too close to the border for a focus value\n"), result.output.constData());
        QCOMPARE(result.lines().constLast().section(QLatin1Char(','), 1, 1), QStringLiteral("0"));
    }

    void aFrameWithoutAFibreDoesNotRepeatTheOneBefore()
    {
        QVERIFY(fibre(1.2).save(path("1.png")));
        QVERIFY(noFace().save(path("2.png")));
        QVERIFY(fibre(1.2).save(path("3.png")));

        const std::vector<QJsonObject> objects = jsonLines(run({QStringLiteral("--json"), mFolder->path()}).output);

        QCOMPARE(objects.size(), std::size_t(3));
        QVERIFY(!objects[1].contains(QLatin1String("focus")));
        QCOMPARE(objects[2][QLatin1String("focus")], objects[0][QLatin1String("focus")]); // though nothing has changed
        QVERIFY(objects[2][QLatin1String("found")].toBool());
    }

    void aSweepPeaksNearTheSharpestFrame_data()
    {
        QTest::addColumn<QString>("seed");
        for (const char *const seed : {"1", "2", "3", "4"})
            QTest::newRow(seed) << QString::fromUtf8(seed);
    }

    void aSweepPeaksNearTheSharpestFrame()
    {
        QFETCH(QString, seed);

        const Run result = run(words("--json --sweep 31 --noise 1 --illumination 0.2 --max-blur 5 --seed") << seed);

        QCOMPARE(result.exitCode, 0);
        const std::vector<QJsonObject> objects = jsonLines(result.output);
        QCOMPARE(objects.size(), std::size_t(31));
        std::size_t sharpest = 0;
        std::size_t peak = 0;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            if (objects[i][QLatin1String("blur")].toDouble() < objects[sharpest][QLatin1String("blur")].toDouble())
                sharpest = i;
            if (objects[i][QLatin1String("focus")].toDouble() > objects[peak][QLatin1String("focus")].toDouble())
                peak = i;
        }
        QCOMPARE(sharpest, std::size_t(15));
        QCOMPARE(objects[0][QLatin1String("blur")].toDouble(), 5.0);
        QVERIFY2(std::llabs(qint64(peak) - qint64(sharpest)) <= 2, qPrintable(QString::number(peak)));
        QVERIFY(objects[peak][QLatin1String("focus")].toDouble() > 2.5);
        QVERIFY(objects[0][QLatin1String("focus")].toDouble() <= 1.0);
        QVERIFY(objects[30][QLatin1String("focus")].toDouble() <= 1.0);
    }

    void aSweepIsTheSameEachTime()
    {
        const QStringList arguments = words("--sweep 5 --seed 7 --json");
        const QString first = withoutTimes(run(arguments).output);

        QCOMPARE(withoutTimes(run(arguments).output), first);
        QVERIFY(withoutTimes(run(words("--sweep 5 --seed 8 --json")).output) != first);
        QCOMPARE(run(words("--sweep --csv")).lines().size(), 1 + 31);
    }

    void thePlotShowsTheCurveAndTheThresholds()
    {
        const QString plot = path("plot.svg");

        const Run result = run(words("--sweep 11 --json --plot") << plot);
        QCOMPARE(result.exitCode, 0);

        QVector<double> focus; // of the frames with a fibre
        const QByteArrayList lines = result.output.split('\n');
        for (const QByteArray &line : lines) {
            const QJsonObject frame = QJsonDocument::fromJson(line).object();
            if (frame.value(QLatin1String("found")).toBool())
                focus.append(frame.value(QLatin1String("focus")).toDouble());
        }
        const QVector<double> heights = dotsOf(plot, "rgb(  0, 114, 178)");
        QVERIFY(focus.size() > 5);
        QCOMPARE(heights.size(), focus.size() + 1); // one in the legend
        const auto extremes = std::minmax_element(focus.cbegin(), focus.cend());
        const auto low = static_cast<int>(extremes.first - focus.cbegin());
        const auto high = static_cast<int>(extremes.second - focus.cbegin());
        const double scale = (heights[high] - heights[low]) / (focus[high] - focus[low]);
        QVERIFY(scale < 0); // y runs down
        for (int i = 0; i < focus.size(); ++i)
            QVERIFY(qAbs(heights[i] - heights[low] - scale * (focus[i] - focus[low])) < 0.1);

        QStringList texts;
        QCOMPARE(countElements(plot, "svg", &texts), 1);
        QVERIFY(texts.contains(QStringLiteral("1.0 bad focus")));
        QVERIFY(texts.contains(QStringLiteral("2.5 capture")));
        QVERIFY(texts.contains(QStringLiteral("Frame")));
    }

    void thePlotOfFramesWithoutAFibreIsAPictureToo()
    {
        QVERIFY(noFace().save(path("a.png")));
        const QString plot = path("plot.svg");

        QCOMPARE(run({path("a.png"), QStringLiteral("--plot"), plot}).exitCode, 1);

        QStringList texts;
        QCOMPARE(countElements(plot, "svg", &texts), 1);
        QVERIFY(texts.contains(QStringLiteral("fibre not found")));
    }

    void withoutGnuplotThereIsNoPlotAndNothingIsMeasured()
    {
        StandInPrograms programs;
        programs.hideOthers();

        const Run result = run(words("--sweep 3 --plot") << path("plot.svg"));
        QCOMPARE(result.exitCode, 69);
        QVERIFY(result.output.isEmpty());
        QCOMPARE(result.messageLines().size(), 1);
        QVERIFY(result.messages.contains("gnuplot-nox"));
        QVERIFY(!QFile::exists(path("plot.svg")));

        QCOMPARE(run(words("--sweep 3 --csv")).exitCode, 0); // the figures need none
        QVERIFY(run({QStringLiteral("--help")}).output.contains("69 gnuplot"));
    }

    void gnuplotIsStillEndedByTheLimitOfFileSizes()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("gnuplot"), "exec grep SigIgn: /proc/$$/status >\"$0.ignored\""));

        run(words("--sweep 3 --plot") << path("plot.svg"));

        bool isNumber = false;
        const QByteArray status = programs.read(QStringLiteral("gnuplot.ignored")).simplified();
        const quint64 ignored = status.split(' ').value(1).toULongLong(&isNumber, 16);
        QVERIFY2(isNumber, status.constData());
        QCOMPARE(ignored & (quint64(1) << (SIGXFSZ - 1)), quint64(0));
    }

    void aPlotThatCannotBeWrittenIsReported()
    {
        const Run result = run(words("--sweep 3 --plot") << path("missing/plot.svg"));

        QCOMPARE(result.exitCode, 74);
        QCOMPARE(result.messageLines().size(), 1);
        QVERIFY(result.messages.contains("plot.svg: "));
        QVERIFY(result.lines().size() > 3); // the report came all the same
    }

    void aFullDiskIsReported()
    {
        const ProgramRun run = ProgramRun::of(QStringLiteral(VANTOR_FOCUS_PROGRAM), words("--sweep 3"),
            [](ChildProcess &process) { process.setStandardOutputFile(QStringLiteral("/dev/full")); });

        QCOMPARE(run.exitCode, 74);
        QCOMPARE(run.errors, QByteArray("vantor-focus: cannot write to stdout: No space left on device\n"));
    }

    void everyEntryOfAFolderIsMeasuredOrTold()
    {
        const QString latin1 = mFolder->path() + QFile::decodeName("/Sch\xE4rfe.png");
        QVERIFY(goodFace().save(latin1));
        QVERIFY(write(".hidden.png", "x"));
        QVERIFY(write("notes\033[2J.txt", "x"));
        QVERIFY(QFile::link(path("nowhere"), path("dangling.png")));

        const Run result = run({QStringLiteral("--json"), mFolder->path()});

        QCOMPARE(result.exitCode, 2);
        const std::vector<QJsonObject> objects = jsonLines(result.output);
        QCOMPARE(objects.size(), std::size_t(1));
        QCOMPARE(QByteArray::fromPercentEncoding(objects[0][QLatin1String("frameBytes")].toString().toLatin1()),
            QFile::encodeName(latin1));
        const QString start = QStringLiteral("vantor-focus: %1/").arg(mFolder->path());
        QCOMPARE(result.messageLines(),
            (QStringList{start + QStringLiteral(".hidden.png: left out: a hidden file"),
                start + QStringLiteral("dangling.png: left out: a link that leads nowhere"),
                start + QStringLiteral("notes\\x1b[2J.txt: left out: no known image suffix")}));
        QCOMPARE(run({QStringLiteral("--json"), latin1}).exitCode, 0);
    }

    void argumentsMayBeginWithAColon()
    {
        QVERIFY(QDir().mkdir(path("./:frames")));
        QVERIFY(goodFace().save(path("./:frames/a.png")));
        QVERIFY(goodFace().save(path("./:b.png")));
        QVERIFY(write("./:c.yuv", rawFrame(fibre(0), 800)));

        const Run result = run({QStringLiteral("--json"), QStringLiteral("--size=800x600"), QStringLiteral("--plot"),
                                   QStringLiteral(":p.svg"), QStringLiteral(":frames"), QStringLiteral(":b.png"),
                                   QStringLiteral(":c.yuv")},
            mFolder->path());

        QCOMPARE(result.messages, QByteArray());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(jsonLines(result.output).size(), std::size_t(3));
        QVERIFY(QFile::exists(path("./:p.svg")));
    }

    void thePlotReplacesNoPhotographBehindALink()
    {
        const QString photograph = path("a.png");
        QVERIFY(goodFace().save(photograph));
        const QImage before(photograph);
        QVERIFY(QFile::link(photograph, path("plot.svg")));

        QCOMPARE(run({photograph, QStringLiteral("--plot"), path("plot.svg")}).exitCode, 64);
        QCOMPARE(QImage(photograph), before);
    }

private:
    QString path(const char *name) const { return mFolder->filePath(QString::fromUtf8(name)); }

    bool write(const char *name, const QByteArray &content) const { return writeFile(path(name), content); }

    std::optional<QTemporaryDir> mFolder;
};

int main(int argc, char **argv)
{
    Tools::FileNameCodec::install();
    QCoreApplication application(argc, argv);
    TestVantorFocus test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_vantor_focus.moc"
