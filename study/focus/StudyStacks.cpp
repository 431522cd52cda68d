// SPDX-License-Identifier: Apache-2.0
#include "study/focus/StackPlots.h"
#include "study/focus/StackTables.h"
#include "study/focus/StudyExperiments.h"

namespace Focus {

void studyStacks(const Effort &effort, Study::Findings *findings)
{
    const QVector<Stack> stacks = measureStacks(effort.stacks);
    findings->addTable(QStringLiteral("peaks"), peaksTable(stacks));
    findings->addTable(QStringLiteral("thresholds"), thresholdsTable(stacks));
    findings->addValue(QStringLiteral("stacks"), QString::number(stacks.size()));
    findings->addValue(QStringLiteral("stack-frames"), QString::number(stacks.size() * Stack::steps));
    findings->addPlot(QStringLiteral("focus-curve"), focusCurvePlot(stacks, effort.stacks));
    findings->addPlot(QStringLiteral("focus-noise"), focusNoisePlot(stacks));
}

} // namespace Focus
