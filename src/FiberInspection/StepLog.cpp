// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Log_p.h"
#include "FiberInspection/StepLog_p.h"

namespace FiberInspection {

StepLog::StepLog()
{
    mBenchmarkTimer.start();
    mTimer.start();
    qCInfo(messageLog) << "---- START BENCHMARK ----";
}

void StepLog::finish(const char *step)
{
    qCInfo(messageLog) << step << mTimer.elapsed() << "ms";
    mTimer.restart();
}

} // namespace FiberInspection
