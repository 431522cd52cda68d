// SPDX-License-Identifier: Apache-2.0
#include "common/FileNameCodec.h"
#include "focus/CommandLine.h"
#include "focus/ExitCode.h"
#include "focus/FilterLog.h"
#include "focus/FocusPlot.h"
#include "focus/LiveMeter.h"
#include "focus/Report.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>
#include <unistd.h>

using namespace Focus;
using Tools::Terminal::tell;

namespace {
bool print(const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    const bool isWritten = std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!isWritten)
        tell(QStringLiteral("cannot write the report"));
    return isWritten;
}

int refuse(const QString &problem)
{
    tell(problem);
    return WrongUsage;
}

std::unique_ptr<FrameSource> frameSource(const Options &options)
{
    if (options.action == Options::Action::MeasureSweep)
        return std::make_unique<SweepFrames>(options.sweep);
    return std::make_unique<FileFrames>(options.operands, options.rawLayout);
}

QString plotSubtitle(const Options &options)
{
    if (options.action != Options::Action::MeasureSweep)
        return {};
    const SweepSettings &sweep = options.sweep;
    return QStringLiteral("Painted sweep: seed %1, noise %2 grey levels, uneven light %3, blur up to %4 µm")
        .arg(sweep.seed)
        .arg(sweep.noise)
        .arg(sweep.illumination)
        .arg(sweep.maxBlur);
}

bool writePlot(const Options &options, const QVector<Reading> &readings)
{
    QString problem;
    const Plot::LineChart chart = focusPlot(readings, plotSubtitle(options));
    if (options.plotFile.isEmpty() || Plot::save(Plot::svg(chart), options.plotFile, &problem))
        return true;
    tell(QStringLiteral("%1: %2").arg(Tools::Terminal::printableName(options.plotFile), problem));
    return false;
}

int measureAll(const Options &options)
{
    const std::unique_ptr<FrameSource> source = frameSource(options);
    const bool isForPerson = options.format == Options::Format::Text;
    const Tools::TextStyle style(isForPerson && Tools::Terminal::hasColors(STDOUT_FILENO));
    const Report report(options, source->nameWidth(), style);
    if (!print(report.header()))
        return NotWritten;

    QVector<Reading> readings;
    bool allReadable = true;
    for (Frame frame; source->next(&frame);) {
        if (!frame.picture.isValid()) {
            allReadable = false;
            tell(QStringLiteral("%1: %2").arg(Tools::Terminal::printableName(frame.name), frame.problem));
            continue;
        }
        readings.append({frame.name, frame.blur, measure(frame.picture)});
        if (!print(report.line(readings.constLast())))
            return NotWritten;
    }
    if (!print(report.summary(readings)) || !writePlot(options, readings))
        return NotWritten;

    if (sharpest(readings))
        return Found;
    return allReadable ? NeverFound : UnreadableInput;
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    Tools::FileNameCodec::install();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-focus"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments()))
        return refuse(commandLine.problem());
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return print(answer.toUtf8()) ? Found : NotWritten;
    const Options &options = commandLine.options();
    FilterLog::install(options.verbose);

    return measureAll(options);
}
