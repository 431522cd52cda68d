// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>

namespace FiberInspection {

/// Logs how long each step of an inspection took, and the whole of it.
class StepLog
{
public:
    StepLog();

    /// Logs the step that ends here, and starts the next one.
    void finish(const char *step);

    qint64 totalMilliseconds() const { return mBenchmarkTimer.elapsed(); }

private:
    QElapsedTimer mBenchmarkTimer;
    QElapsedTimer mTimer;
};

} // namespace FiberInspection
