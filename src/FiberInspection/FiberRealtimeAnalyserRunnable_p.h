// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractVideoFilter>

#include <atomic>
#include <memory>

namespace FiberInspection {

class LiveAnalysisLink;

/// Takes the luminance of a frame on the video thread and has it analysed by a pool thread. One analysis at a time is
/// under way in the process; frames that come meanwhile pass by.
class FiberRealtimeAnalyserRunnable : public QVideoFilterRunnable
{
public:
    explicit FiberRealtimeAnalyserRunnable(std::shared_ptr<LiveAnalysisLink> fiberRealtimeAnalyser);

    /// Returns the frame as it came.
    QVideoFrame run(QVideoFrame *frame, const QVideoSurfaceFormat &surfaceFormat, RunFlags flags) override;

    /// Waits for the analysis, five seconds at most; but for the receivers of its results no longer than
    /// LiveAnalysisLink::publicationPatience, and not at all when one of them is what destroys this.
    ~FiberRealtimeAnalyserRunnable() override;

private:
    class Luminance;
    struct Work;

    static void startAnalysis(QVideoFrame &frame, const std::shared_ptr<LiveAnalysisLink> &fiberRealtimeAnalyser,
        const std::shared_ptr<Work> &work);
    static void processImage(LiveAnalysisLink &fiberRealtimeAnalyser, uchar *luminance, int width, int height);

    std::shared_ptr<LiveAnalysisLink> mFiberRealtimeAnalyser;
    static std::atomic<bool> mProcessing; ///< set by the video thread, cleared by the pool thread
    std::shared_ptr<Work> mWork; ///< shared with the analysis under way, which may outlive this
};

} // namespace FiberInspection
