// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <limits>

/// What stands at a place in received bytes. Found first and told last: a handler of the log may run an event loop, in
/// which the next bytes come.
struct Frame
{
    enum Kind { Nothing, Payload, Partial, Invalid };

    Kind kind = Nothing;
    int start = 0; ///< of the payload, in the bytes
    int size = 0; ///< bytes of the payload, or of all that is no frame

    void tell() const; ///< in the log, unless it is a payload
};

/// Knows how a frame is written: the size of the payload in digits, then the payload, from its brace on. Remembers what
/// is too large, and how much longer the length at hand was than what is left of it.
class FrameReader
{
public:
    /// @param largestFrame bytes, length and payload; a larger frame is none, and of an incomplete one no more is held
    /// back
    /// @param folded so many bytes more were received for the length at hand; they count as held back
    explicit FrameReader(int largestFrame, int folded = 0);

    void setLargestFrame(int bytes) { mLargestFrame = bytes; }
    int largestFrame() const { return mLargestFrame; }

    /// What stands at the position.
    Frame read(const QByteArray &bytes, int position) const;

    static constexpr int longestPlainHead = std::numeric_limits<int>::digits10 + 1; ///< bytes, with the brace

    /// Where the payload starts if so many bytes, of which only the head is at hand, are one frame; -1 if they are not,
    /// or Qt has to judge.
    static int startOfWholeFrame(const char *head, const char *headEnd, int size);

    /// How many bytes stand behind the complete frames from the position on.
    int unframedSize(const QByteArray &bytes, int position) const;

    /// Shortens a length with many zeros or blanks: without end they must not be read again for every byte to come.
    void fold(QByteArray *bytes);

    void startNextLength() { mFolded = 0; } ///< the one at hand was taken or dropped

private:
    struct Length
    {
        int payloadStart = -1; ///< from the start of the frame; -1 when Qt has to judge what stands there
        int payloadSize = 0; ///< bytes
    };

    static Length readPlainLength(const char *begin, const char *end);
    Frame readPlainFrame(const QByteArray &bytes, int position) const;
    Frame readAnyFrame(const QByteArray &bytes, int position) const;

    int mLargestFrame;
    int mFolded;
};

/// Reads the length of a frame many times faster than Qt reads a number. What may be more than an int is left to Qt.
inline FrameReader::Length FrameReader::readPlainLength(const char *begin, const char *end)
{
    constexpr int mostDigits = std::numeric_limits<int>::digits10;
    Length length;
    const char *at = begin;
    for (; at < end && *at >= '0' && *at <= '9'; ++at) {
        if (at - begin == mostDigits)
            return {};
        length.payloadSize = 10 * length.payloadSize + (*at - '0');
    }
    if (at > begin && at < end && *at == '{')
        length.payloadStart = static_cast<int>(at - begin);
    return length;
}

/// The frame at the position if it is complete, not too large, and its length nothing but digits, as with nearly all.
inline Frame FrameReader::readPlainFrame(const QByteArray &bytes, int position) const
{
    if (position < 0 || position >= bytes.size())
        return {};
    const int available = bytes.size() - position;
    const auto [start, size] = readPlainLength(bytes.constData() + position, bytes.constData() + bytes.size());
    const bool isWhole = start >= 0 && size > 0 && size <= available - start && start + mFolded <= mLargestFrame - size;
    return isWhole ? Frame{Frame::Payload, position + start, size} : Frame();
}

inline Frame FrameReader::read(const QByteArray &bytes, int position) const
{
    const Frame frame = readPlainFrame(bytes, position);
    return frame.kind == Frame::Payload ? frame : readAnyFrame(bytes, position);
}
