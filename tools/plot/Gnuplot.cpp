// SPDX-License-Identifier: Apache-2.0
#include "Internal/ChildProcess.h"
#include "Internal/OutputFile.h"
#include "plot/Script.h"

#include <QProcessEnvironment>
#include <QStandardPaths>

namespace Plot {

namespace {
constexpr int longestDrawing = 60000; ///< milliseconds; a chart takes a few of them

QString gnuplot()
{
    return QStandardPaths::findExecutable(QStringLiteral("gnuplot"));
}

QString titlesOf(const Picture &picture)
{
    QStringList titles;
    for (const Chart &chart : picture.charts)
        titles.append(std::visit([](const auto &kind) { return kind.title; }, chart));
    return titles.join(QLatin1String("; "));
}

/// Of the environment gnuplot gets what does not change what it draws.
QProcessEnvironment bareEnvironment()
{
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}
} // namespace

bool canDraw(QString *problem)
{
    if (!gnuplot().isEmpty())
        return true;
    *problem = QStringLiteral("charts need gnuplot, which is not installed (Debian: gnuplot-nox)");
    return false;
}

std::optional<QByteArray> svg(const Picture &picture, QString *problem)
{
    if (!canDraw(problem))
        return {};
    ChildProcess process;
    process.setProcessEnvironment(bareEnvironment());
    process.start(gnuplot(), {QStringLiteral("-d"), QStringLiteral("-")}); // -d: without the settings of the user
    process.write(script(picture));
    process.closeWriteChannel();
    const bool isDone = process.waitForFinished(longestDrawing);
    QByteArray drawn = process.readAllStandardOutput();
    if (!isDone || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0
        || !drawn.endsWith("</svg>\n\n")) {
        const QString reason = QString::fromUtf8(process.readAllStandardError()).simplified();
        *problem = QStringLiteral("gnuplot draws no chart: ") + (reason.isEmpty() ? process.errorString() : reason);
        return {};
    }
    return drawn.replace(
        "<title>Gnuplot</title>", "<title>" + plainText(titlesOf(picture)).toHtmlEscaped().toUtf8() + "</title>");
}

bool save(const Picture &picture, const QString &path, QString *problem)
{
    const std::optional<QByteArray> drawn = svg(picture, problem);
    return drawn && OutputFile::write(path, *drawn, problem);
}

} // namespace Plot
