// SPDX-License-Identifier: Apache-2.0
#include "Internal/OutputFile.h"
#include "common/FilePath.h"
#include "common/Program.h"
#include "common/Terminal.h"
#include "study/CommandLine.h"
#include "study/Commands.h"
#include "study/accuracy/Examiner.h"
#include "study/accuracy/Experiment.h"
#include "study/report/Document.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <unistd.h>

namespace Study {

namespace {
constexpr int maxJobs = 256;
constexpr int maxFaces = 1000000;

struct Options
{
    int faces = 0; ///< 0: as planned
    int jobs = 1;
    QString outputFolder; ///< of the plots; empty: none are written
    QString document; ///< to be filled; empty: tables go to stdout
    bool quiet = false;
};

class AccuracyCommandLine : public CommandLine
{
public:
    AccuracyCommandLine()
        : CommandLine(QStringLiteral("accuracy"),
            "Paints end faces with known blemishes, analyses them, and tells how far the verdict can be relied on.")
        , mFaces(option("faces", "Paint about so many faces in all (default: the full study).", "N"))
        , mJobs(option({QStringLiteral("j"), QStringLiteral("jobs")}, "Use this many threads (default: 1).", "N"))
        , mOut(option({QStringLiteral("o"), QStringLiteral("out")},
              "Write the plots into this folder (default: none are written).", "DIR"))
        , mDocument(option(
              "document", "Fill the tables and figures of this Markdown file (default: print all on stdout).", "FILE"))
        , mQuiet(option({QStringLiteral("q"), QStringLiteral("quiet")}, "No progress bar."))
    {
        mParser.addOptions({mFaces, mJobs, mOut, mDocument, mQuiet});
    }

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override
    {
        mOptions.outputFolder = Tools::FilePath::ofArgument(mParser.value(mOut));
        mOptions.document = Tools::FilePath::ofArgument(mParser.value(mDocument));
        mOptions.quiet = mParser.isSet(mQuiet);
        if (!operands().isEmpty())
            return refuse(QStringLiteral("accuracy takes no arguments but options"));
        return readNumber(mFaces, maxFaces, &mOptions.faces) && readNumber(mJobs, maxJobs, &mOptions.jobs);
    }

    Options mOptions;
    const QCommandLineOption mFaces;
    const QCommandLineOption mJobs;
    const QCommandLineOption mOut;
    const QCommandLineOption mDocument;
    const QCommandLineOption mQuiet;
};

int countFaces(const std::vector<std::unique_ptr<Experiment>> &experiments, const Effort &effort)
{
    int count = 0;
    for (const auto &experiment : experiments)
        count += experiment->faces(effort).size();
    return count;
}

/// All faces of the study, and where those of each experiment end.
struct Plan
{
    QVector<Face> faces;
    QVector<int> ends;
};

Plan makePlan(const std::vector<std::unique_ptr<Experiment>> &experiments, int wanted)
{
    const Effort full(1);
    const Effort effort = wanted > 0 ? Effort(static_cast<double>(wanted) / countFaces(experiments, full)) : full;
    Plan plan;
    for (const auto &experiment : experiments) {
        plan.faces += experiment->faces(effort);
        plan.ends.append(plan.faces.size());
    }
    return plan;
}

Findings evaluate(
    const std::vector<std::unique_ptr<Experiment>> &experiments, const Plan &plan, const QVector<FaceOutcome> &outcomes)
{
    Findings findings;
    int begin = 0;
    int analyses = 0;
    for (std::size_t i = 0; i < experiments.size(); ++i) {
        const int end = plan.ends[static_cast<int>(i)];
        experiments[i]->evaluate(plan.faces.mid(begin, end - begin), outcomes.mid(begin, end - begin), &findings);
        begin = end;
    }
    for (const FaceOutcome &outcome : outcomes)
        analyses += outcome.size();
    findings.addValue(QStringLiteral("faces"), QString::number(plan.faces.size()));
    findings.addValue(QStringLiteral("analyses"), QString::number(analyses));
    return findings;
}

bool write(const QString &path, const QByteArray &bytes)
{
    QString problem;
    const bool isWritten = OutputFile::write(path, bytes, &problem);
    if (!isWritten)
        Tools::Terminal::tell(QStringLiteral("cannot write %1: %2").arg(path, problem));
    return isWritten;
}

bool writePlots(const Findings &findings, const QString &folder)
{
    if (!QDir().mkpath(folder)) {
        Tools::Terminal::tell(QStringLiteral("cannot create the folder %1").arg(folder));
        return false;
    }
    for (auto plot = findings.plots().cbegin(); plot != findings.plots().cend(); ++plot) {
        const QString path = QStringLiteral("%1/accuracy-%2.svg").arg(folder, plot.key());
        QString problem;
        if (!Plot::save(plot.value(), path, &problem)) {
            Tools::Terminal::tell(QStringLiteral("cannot write %1: %2").arg(path, problem));
            return false;
        }
    }
    return true;
}

bool fillDocument(const Findings &findings, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Tools::Terminal::tell(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return false;
    }
    QString problem;
    const std::optional<QString> text = filledDocument(QString::fromUtf8(file.readAll()), findings, &problem);
    file.close();
    if (!text) {
        Tools::Terminal::tell(QStringLiteral("%1: %2").arg(path, problem));
        return false;
    }
    return write(path, text->toUtf8());
}

int write(const Findings &findings, const Options &options)
{
    if (!options.outputFolder.isEmpty() && !writePlots(findings, options.outputFolder))
        return Tools::NotWritten;
    if (options.document.isEmpty())
        return Tools::print(findings.toMarkdown().toUtf8());
    return fillDocument(findings, options.document) ? Tools::Done : Tools::NotWritten;
}

int study(const Options &options)
{
    Tools::Program::showLog(Tools::Program::Log::Nothing);
    QString problem;
    if (!options.outputFolder.isEmpty() && !Plot::canDraw(&problem)) {
        Tools::Terminal::tell(problem);
        return Tools::Unavailable;
    }

    QElapsedTimer timer;
    timer.start();
    const auto experiments = allExperiments();
    const Plan plan = makePlan(experiments, options.faces);
    const bool showsProgress = !options.quiet && Tools::Terminal::isTerminal(STDERR_FILENO);
    const auto outcomes = examineAll(plan.faces, options.jobs, showsProgress, &problem);
    if (!outcomes) {
        Tools::Terminal::tell(problem);
        return Tools::NotPassed;
    }

    const Findings findings = evaluate(experiments, plan, *outcomes);
    const int exitCode = write(findings, options);
    if (!options.quiet)
        Tools::Terminal::tell(QStringLiteral("%1 faces in %2 s").arg(plan.faces.size()).arg(timer.elapsed() / 1000));
    return exitCode;
}
} // namespace

int runAccuracy(const Tools::Program &program)
{
    AccuracyCommandLine commandLine;
    return program.run(&commandLine, [&] { return study(commandLine.options()); });
}

} // namespace Study
