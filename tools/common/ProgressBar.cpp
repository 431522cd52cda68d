// SPDX-License-Identifier: Apache-2.0
#include "common/ProgressBar.h"

#include "common/Terminal.h"

#include <unistd.h>

namespace Tools {

namespace {
constexpr int longestBar = 40; // columns
constexpr int redrawInterval = 100; // milliseconds
} // namespace

ProgressBar::ProgressBar(int total)
    : mTotal(total)
{
}

void ProgressBar::show(int done)
{
    const bool isDue = !mLastDrawn.isValid() || mLastDrawn.elapsed() >= redrawInterval;
    if (mTotal <= 0 || !isDue)
        return;
    mLastDrawn.start();

    const QString numbers = QStringLiteral(" %1/%2").arg(done).arg(mTotal);
    const int columns = qBound(0, Terminal::width(STDERR_FILENO) - numbers.size() - 1, longestBar);
    const int filled = static_cast<int>(qint64(columns) * done / mTotal);
    const QString bar = QString(filled, QChar(0x2588)) + QString(columns - filled, QChar(0x2591));
    Terminal::write(STDERR_FILENO, QStringLiteral("\r\033[K%1%2").arg(bar, numbers).toUtf8());
    mVisible = true;
}

void ProgressBar::clear()
{
    if (mVisible)
        Terminal::write(STDERR_FILENO, "\r\033[K");
    mVisible = false;
    mLastDrawn.invalidate();
}

} // namespace Tools
