// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/FiberRealtimeAnalyser.h"

#include "FiberInspection/FiberRealtimeAnalyserRunnable_p.h"
#include "FiberInspection/LiveAnalysisLink_p.h"

namespace FiberInspection {

FiberRealtimeAnalyser::FiberRealtimeAnalyser(QObject *parent)
    : QAbstractVideoFilter(parent)
    , mLink(std::make_shared<LiveAnalysisLink>(this))
{
}

FiberRealtimeAnalyser::~FiberRealtimeAnalyser()
{
    mLink->close();
}

QVideoFilterRunnable *FiberRealtimeAnalyser::createFilterRunnable()
{
    return new FiberRealtimeAnalyserRunnable(mLink);
}

LiveReading FiberRealtimeAnalyser::lastReading() const
{
    return mLink->lastReading();
}

} // namespace FiberInspection
