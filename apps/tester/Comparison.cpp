// SPDX-License-Identifier: Apache-2.0
#include "Comparison.h"

#include "Helpers/QObjectHelper.h"

Comparison::Comparison(JobStore *jobs, QObject *parent)
    : QObject(parent)
    , mBefore(jobs)
    , mAfter(jobs)
{
    for (ShownResult *result : {&mBefore, &mAfter})
        QObjectHelper::ownByCpp(result);
}

void Comparison::show(qint64 before, qint64 after)
{
    mBefore.showStored(before);
    mAfter.showStored(after);
}

void Comparison::retranslate()
{
    mBefore.retranslate();
    mAfter.retranslate();
}
