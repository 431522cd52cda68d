// SPDX-License-Identifier: Apache-2.0
#include "FocusStudy.h"

#include "Document.h"
#include "Findings.h"
#include "StudyExperiments.h"
#include "Terminal.h"

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
    if (Plot::save(content, path, &reason))
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
} // namespace

bool runFocusStudy(const QString &folder, const Effort &effort, QString *problem)
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
        if (!write(QStringLiteral("%1/%2.svg").arg(imageFolder, plot.key()), plot.value(), problem))
            return false;
    }
    return writeDocument(folder + QStringLiteral("/focus.md"), findings, problem);
}

} // namespace Focus
