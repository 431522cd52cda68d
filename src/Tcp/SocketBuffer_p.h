// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tcp/FrameCut_p.h"

#include <QByteArrayList>

class QIODevice;

/// Received bytes that are not framed yet. Payloads are taken in linear time: what was taken is cut off once, when no
/// complete frame is left. Bytes may be appended between two payloads.
class SocketBuffer
{
public:
    /// @param largeFrame bytes from which on a frame that comes alone is read in place; below, a copy costs less
    explicit SocketBuffer(int largeFrame = 16 * 1024);

    /// @param bytes of a whole frame; one that is larger erases what is held, as what is no frame does
    void setLargestFrame(int bytes);
    int largestFrame() const { return mLargestFrame; }

    void setDropsLeftovers(bool drops) { mDropsLeftovers = drops; }
    bool dropsLeftovers() const { return mDropsLeftovers; }

    /// What is appended from now on comes from a new connection. Bytes of the former one that are no complete frame
    /// stand before that, or are dropped; either is told.
    void beginConnection();

    void append(const QByteArray &bytes) { mBytes.append(bytes); }

    /// Appends a piece of what can be read: to be called, and the payloads to be taken, until nothing is left.
    /// @return whether something was read
    bool readFrom(QIODevice &device);

    /// Takes the next payload, into the memory of the one before unless somebody keeps that.
    /// @return false when there is no complete frame
    bool takePayload(QByteArray *payload);

private:
    /// Reads a large frame straight into its payload, which saves a copy of it, when just that is there.
    bool readWholeFrame(QIODevice &device, int available);

    /// Takes the next payload if it is complete and its length nothing but digits, as with nearly every one.
    bool takePlainFrame(QByteArray *payload);

    /// Takes the next payload as Qt reads its length; otherwise the payload is empty, what was taken is cut off, and
    /// what is there instead is yet to be told.
    FrameCut takeAnyFrame(QByteArray *payload);

    /// A receiver that is busy still wants those that came whole. @return what stands behind the last one
    FrameCut keepWholePayloads();

    void cutOff(); ///< what was taken

    /// What would be left if all complete frames were taken: a receiver that is busy has not come to them yet.
    int unframedSize() const;

    /// Shortens a length with many zeros or blanks: without end they must not be read again for every byte to come.
    void foldLength();

    const int mLargeFrame;
    int mLargestFrame; ///< bytes
    bool mDropsLeftovers = false;
    QByteArrayList mWholePayloads; ///< come before all bytes
    QByteArray mBytes;
    int mPosition = 0; ///< of the first byte that was not taken
    int mFolded = 0; ///< bytes that were received for the length at the position, and dropped
};
