// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QString>

namespace Tools {

/// One line on the terminal of stderr that shows how far the work has come.
class ProgressBar
{
public:
    /// @param total 0: there is no bar
    explicit ProgressBar(int total);
    ~ProgressBar() { clear(); }
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    void show(int done); ///< draws at most ten times a second
    void clear(); ///< before anything else is written to the terminal

private:
    int mTotal;
    bool mVisible = false;
    QElapsedTimer mLastDrawn;
};

} // namespace Tools
