// SPDX-License-Identifier: Apache-2.0
#include "Internal/OutputFile.h"
#include "common/FilePath.h"
#include "common/Program.h"
#include "common/Terminal.h"
#include "study/CommandLine.h"
#include "study/Commands.h"
#include "study/focus/StudyExperiments.h"
#include "study/report/Document.h"
#include "study/report/Findings.h"

#include <QDir>
#include <QFile>

namespace Focus {

namespace {
struct Part
{
    const char *name;
    void (*run)(const Effort &effort, Study::Findings *findings);
};
constexpr Part parts[] = {
    {"focus curves", studyStacks},
    {"how often the fibre is found", studyFound},
    {"places in the picture", studyPlaces},
    {"brightness", studyBrightness},
    {"picture sizes", studySizes},
};

bool write(const QString &path, const QByteArray &content, QString *problem)
{
    QString reason;
    if (OutputFile::write(path, content, &reason))
        return true;
    *problem = QStringLiteral("%1: %2").arg(path, reason);
    return false;
}

/// The text in the file with the tables filled in; if there is no file, the tables alone.
bool writeDocument(const QString &path, const Study::Findings &findings, QString *problem)
{
    QFile file(path);
    if (!file.exists())
        return write(path, findings.toMarkdown().toUtf8(), problem);
    if (!file.open(QIODevice::ReadOnly)) {
        *problem = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    QString reason;
    const std::optional<QString> text = Study::filledDocument(QString::fromUtf8(file.readAll()), findings, &reason);
    if (text)
        return write(path, text->toUtf8(), problem);
    *problem = QStringLiteral("%1: %2").arg(path, reason);
    return false;
}
/// Measures painted stacks and writes what they tell: the tables of `folder`/focus.md, which are filled into the text
/// that stands there already, and the plots `folder`/images/focus-*.svg. Equal on every run but for the progress on
/// stderr.
/// @return whether all was written; if not, problem says why
bool writeStudy(const QString &folder, const Effort &effort, QString *problem)
{
    const QString imageFolder = folder + QStringLiteral("/images");
    if (!QDir().mkpath(imageFolder)) {
        *problem = QStringLiteral("%1: the folder cannot be created").arg(imageFolder);
        return false;
    }

    Study::Findings findings;
    for (const Part &part : parts) {
        Tools::Terminal::tell(QStringLiteral("measuring: %1").arg(QLatin1String(part.name)));
        part.run(effort, &findings);
    }

    for (auto plot = findings.plots().cbegin(); plot != findings.plots().cend(); ++plot) {
        const QString path = QStringLiteral("%1/%2.svg").arg(imageFolder, plot.key());
        QString reason;
        if (!Plot::save(plot.value(), path, &reason)) {
            *problem = QStringLiteral("%1: %2").arg(path, reason);
            return false;
        }
    }
    return writeDocument(folder + QStringLiteral("/focus.md"), findings, problem);
}

class FocusCommandLine : public Study::CommandLine
{
public:
    FocusCommandLine()
        : CommandLine(QStringLiteral("focus"),
            "Measures many painted frames, and writes into the folder what they tell about the focus value: focus.md "
            "and images/focus-*.svg.")
        , mQuick(option("quick", "One face of each kind, to see that it works."))
    {
        mParser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("Of the document."));
        mParser.addOption(mQuick);
    }

    QString folder() const { return Tools::FilePath::ofArgument(operands().value(0)); }
    Effort effort() const { return mParser.isSet(mQuick) ? Effort::least() : Effort(); }

private:
    bool readOptions() override
    {
        return (operands().size() == 1 && !folder().isEmpty())
            || refuse(QStringLiteral("focus needs the folder of the document"));
    }

    const QCommandLineOption mQuick;
};
} // namespace

} // namespace Focus

int Study::runFocus(const Tools::Program &program)
{
    Focus::FocusCommandLine commandLine;
    return program.run(&commandLine, [&]() -> int {
        Tools::Program::showLog(Tools::Program::Log::Nothing);
        QString problem;
        if (!Plot::canDraw(&problem)) {
            Tools::Terminal::tell(problem);
            return Tools::Unavailable;
        }
        if (Focus::writeStudy(commandLine.folder(), commandLine.effort(), &problem))
            return Tools::Done;
        Tools::Terminal::tell(problem);
        return Tools::NotWritten;
    });
}
