// SPDX-License-Identifier: Apache-2.0
#include "ReportTools.h"

#include "ProgramRun.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QXmlStreamReader>

using namespace Records;

namespace {
constexpr int patience = 120000; // milliseconds

constexpr char validator[] = "import json, jsonschema, sys\n"
                             "schema = json.load(open(sys.argv[1], encoding='utf-8'))\n"
                             "jsonschema.Draft7Validator.check_schema(schema)\n"
                             "jsonschema.Draft7Validator(schema).validate(json.load(open(sys.argv[2], "
                             "encoding='utf-8')))\n";

void expect(bool isRight, const char *what)
{
    if (!isRight)
        qFatal("%s", what);
}
} // namespace

QByteArray photographOf(const QString &sample, int number)
{
    const QByteArray text = "face " + QByteArray::number(number);
    const char length = static_cast<char>(text.size() + 2);
    const QByteArray comment = QByteArray("\xFF\xFE\0", 3) + length + text;
    return QByteArray(Face::of(sample).picture).insert(2, comment);
}

Job ReportStore::namedJob()
{
    Job job;
    job.name = QStringLiteral("Panel 7");
    job.customer = QStringLiteral("Müller & Söhne");
    job.site = QStringLiteral("Keller");
    job.operatorName = QStringLiteral("Zoë");
    return job;
}

ReportStore::ReportStore(int pointCount, const Job &newJob)
{
    expect(store.open(folder()).canWrite(), "there is no store");
    job = store.addJob(newJob).value.id;
    for (int first = 1; first <= pointCount; first += RecordStore::maxPointsOfRun) {
        const int last = qMin(pointCount, first + RecordStore::maxPointsOfRun - 1);
        PointRun run;
        run.from = QStringLiteral("P%1").arg(first, 4, 10, QLatin1Char('0'));
        run.to = QStringLiteral("P%1").arg(last, 4, 10, QLatin1Char('0'));
        run.side = first == 1 ? Side::A : Side::B;
        expect(store.addPoints(job, run).ok(), "there are no points");
    }
    points = store.points(job).value;
    expect(points.size() == pointCount, "there are other points");
}

Id ReportStore::inspect(int point, const QString &sample)
{
    const Face &face = Face::of(sample);
    const auto id =
        store.addInspection(face.origin(points.at(point).id), face.inspection, photographOf(sample, ++mPhotographs));
    expect(id.ok(), "nothing is stored");
    return id.value;
}

Id ReportStore::inspectNothing(int point)
{
    const QByteArray bytes = "no picture " + QByteArray::number(++mPhotographs);
    QTemporaryFile file;
    expect(file.open() && file.write(bytes) == bytes.size() && file.flush(), "there is no file");
    const auto inspection = FiberInspection::inspectFile(file.fileName(), Job().standard);
    const auto id = store.addInspection(Origin::of(points.at(point).id), inspection, bytes);
    expect(id.ok(), "nothing is stored");
    return id.value;
}

void ReportStore::run(const QString &statement) const
{
    OwnConnection connection(folder());
    const QStringList problems = connection.run(statement);
    if (!problems.isEmpty())
        qFatal("%s", qPrintable(problems.join(QLatin1Char('\n'))));
}

Reports::JobReport ReportStore::report() const
{
    const auto report = Reports::JobReport::gather(store, job);
    if (!report.ok())
        qFatal("%s", qPrintable(report.problem.text));
    return report.value;
}

Ran runProgram(
    const QString &program, const QStringList &arguments, const QString &folder, const QStringList &environment)
{
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    for (const QString &one : environment)
        all.insert(one.section(QLatin1Char('='), 0, 0), one.section(QLatin1Char('='), 1));
    const auto setUp = [&](ChildProcess &process) {
        process.setProcessEnvironment(all);
        process.setWorkingDirectory(folder);
    };
    const ProgramRun run = ProgramRun::of(program, arguments, setUp, patience);
    return {run.exitCode, run.output, run.errors};
}

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString textOfPdf(const QString &path, int page)
{
    QStringList arguments{path, QStringLiteral("-")};
    const QString number = QString::number(page);
    if (page > 0)
        arguments = QStringList{QStringLiteral("-f"), number, QStringLiteral("-l"), number} + arguments;
    const Ran ran = runProgram(QStringLiteral("pdftotext"), QStringList{QStringLiteral("-layout")} + arguments);
    return QString::fromUtf8(ran.output).simplified();
}

int pagesOfPdf(const QString &path)
{
    const Ran ran = runProgram(QStringLiteral("pdfinfo"), {path});
    static const QRegularExpression pattern(QStringLiteral("Pages: +([0-9]+)"));
    return pattern.match(QString::fromUtf8(ran.output)).captured(1).toInt();
}

QByteArray recordOfPdf(const QString &path)
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("record.json"));
    const Ran ran = runProgram(QStringLiteral("pdfdetach"),
        {QStringLiteral("-savefile"), QStringLiteral("record.json"), QStringLiteral("-o"), file, path});
    return ran.exitCode == 0 ? fileContent(file) : QByteArray();
}

QString faultOfPdf(const QString &path)
{
    const Ran ran = runProgram(QStringLiteral("qpdf"), {QStringLiteral("--check"), path});
    return ran.exitCode == 0 ? QString() : QString::fromUtf8(ran.output + ran.errors);
}

QString textsBeyondPages(const QString &path)
{
    constexpr double margin = 30; // points; 18 mm are 51
    const Ran ran = runProgram(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), path, QStringLiteral("-")});
    QXmlStreamReader xml(QString::fromUtf8(ran.output)); // beyond the first plane it writes no UTF-8
    double width = 0;
    double height = 0;
    QStringList beyond;
    int words = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto number = [&xml](const char *name) { return xml.attributes().value(QLatin1String(name)).toDouble(); };
        if (xml.name() == QLatin1String("page")) {
            width = number("width");
            height = number("height");
        } else if (xml.name() == QLatin1String("word")) {
            ++words;
            if (number("xMin") < margin || number("xMax") > width - margin || number("yMin") < 0
                || number("yMax") > height - 10)
                beyond.append(xml.readElementText());
        }
    }
    return words == 0 ? QStringLiteral("no words") : beyond.join(QLatin1Char(' '));
}

QStringList kindsOfPictures(const QString &path)
{
    const Ran ran = runProgram(QStringLiteral("pdfimages"), {QStringLiteral("-list"), path});
    QStringList kinds;
    const QStringList lines = QString::fromUtf8(ran.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(2);
    for (const QString &line : lines)
        kinds.append(line.simplified().section(QLatin1Char(' '), 8, 8));
    return kinds;
}

QString schemaViolation(const QByteArray &json)
{
    QTemporaryFile file;
    expect(file.open() && file.write(json) == json.size() && file.flush(), "there is no file");
    const Ran ran = runProgram(QStringLiteral(VANTOR_PYTHON),
        {QStringLiteral("-c"), QString::fromUtf8(validator), QStringLiteral(VANTOR_RECORDS_SCHEMA), file.fileName()});
    return ran.exitCode == 0 ? QString() : QString::fromUtf8(ran.errors) + QStringLiteral(" no valid document");
}
