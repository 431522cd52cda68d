// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QString>
#include <QVideoFrame>

#include <optional>

namespace Focus {

struct Frame
{
    QString name;
    QVideoFrame picture; ///< invalid when there is a problem
    QString problem; ///< why there is no picture; empty otherwise
    std::optional<double> blur; ///< micrometres, of a painted frame
};

/// Frames one after the other, each made when it is asked for.
class FrameSource
{
public:
    FrameSource() = default;
    virtual ~FrameSource() = default;
    FrameSource(const FrameSource &) = delete;
    FrameSource &operator=(const FrameSource &) = delete;

    /// @return false when there are no more
    virtual bool next(Frame *frame) = 0;

    virtual int nameWidth() const = 0; ///< of the longest name, about
};

} // namespace Focus
