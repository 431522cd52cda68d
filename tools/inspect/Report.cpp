// SPDX-License-Identifier: Apache-2.0
#include "inspect/Report.h"

#include "common/Terminal.h"
#include "inspect/Options.h"
#include "inspect/ReportCsv.h"
#include "inspect/ReportJson.h"
#include "inspect/ReportText.h"

namespace Inspect {

Report makeReport(const Inspection &inspection, const Options &options, const Tools::TextStyle &style)
{
    Report report;
    report.verdict = inspection.verdict();
    switch (options.format) {
    case Options::Format::Json:
        report.output = jsonReport(inspection, options);
        break;
    case Options::Format::Csv:
        report.output = csvReport(inspection, options);
        break;
    case Options::Format::Text:
        if (report.verdict == Verdict::NotAnalysed)
            report.messages = Tools::Terminal::message(Tools::Terminal::printableName(inspection.task.image.path)
                + QStringLiteral(": ") + inspection.reason.text())
                                  .toUtf8();
        else if (!options.quiet)
            report.output = textReport(inspection, options, style).toUtf8();
        break;
    }
    if (!inspection.problem.isEmpty())
        report.messages += Tools::Terminal::message(inspection.problem).toUtf8();
    return report;
}

QByteArray reportHeader(const Options &options)
{
    return options.format == Options::Format::Csv ? csvHeader(options) : QByteArray();
}

} // namespace Inspect
