// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ShownResult.h"

#include <QObject>

/// Two inspections side by side, as the store has them. Lives in the user interface's thread.
class Comparison : public QObject
{
    Q_OBJECT
    Q_PROPERTY(ShownResult *before READ before CONSTANT)
    Q_PROPERTY(ShownResult *after READ after CONSTANT)

public:
    /// @param jobs not owned
    explicit Comparison(JobStore *jobs, QObject *parent = nullptr);

    ShownResult *before() { return &mBefore; }
    ShownResult *after() { return &mAfter; }

    /// The ids of two inspections.
    Q_INVOKABLE void show(qint64 before, qint64 after);
    void retranslate();

private:
    ShownResult mBefore;
    ShownResult mAfter;
};
