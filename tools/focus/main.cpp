// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "focus/CommandLine.h"
#include "focus/FocusPlot.h"
#include "focus/LiveMeter.h"
#include "focus/Report.h"

#include <memory>
#include <unistd.h>

using namespace Focus;
using Tools::Program;
using Tools::Terminal::tell;

namespace {
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
    if (options.plotFile.isEmpty() || Plot::save({{chart}}, options.plotFile, &problem))
        return true;
    tell(QStringLiteral("%1: %2").arg(Tools::Terminal::printableName(options.plotFile), problem));
    return false;
}

int measureAll(const Options &options)
{
    Program::showLog(options.verbose ? Program::Log::Everything : Program::Log::Nothing);
    if (QString problem; !options.plotFile.isEmpty() && !Plot::canDraw(&problem)) {
        tell(problem);
        return Tools::Unavailable;
    }
    const std::unique_ptr<FrameSource> source = frameSource(options);
    const bool isForPerson = options.format == Options::Format::Text;
    const Tools::TextStyle style(isForPerson && Tools::Terminal::hasColors(STDOUT_FILENO));
    const Report report(options, source->nameWidth(), style);
    if (const int printed = Tools::print(report.header()); printed != Tools::Done)
        return printed;

    QVector<Reading> readings;
    bool allReadable = true;
    for (Frame frame; source->next(&frame);) {
        if (!frame.picture.isValid()) {
            allReadable = false;
            tell(QStringLiteral("%1: %2").arg(Tools::Terminal::printableName(frame.name), frame.problem));
            continue;
        }
        readings.append({frame.name, frame.blur, measure(frame.picture)});
        if (const int printed = Tools::print(report.line(readings.constLast())); printed != Tools::Done)
            return printed;
    }
    if (const int printed = Tools::print(report.summary(readings)); printed != Tools::Done)
        return printed;
    if (!writePlot(options, readings))
        return Tools::NotWritten;

    if (sharpest(readings))
        return allReadable ? Tools::Done : Tools::NotAnswered;
    return allReadable ? Tools::NotPassed : Tools::UnreadableInput;
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-focus");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return measureAll(commandLine.options()); });
}
