// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

#include <ctime>

/// The clock of work: it stands still while other programs have the processor.
class Processor : public QObject
{
    Q_OBJECT

public:
    /// What the calling thread has used so far.
    Q_INVOKABLE double milliseconds() const
    {
        timespec used{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
    }
};
