// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tcp/FrameReader_p.h"

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
    int largestFrame() const { return mReader.largestFrame(); }

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

    /// Takes the next payload; if there is none, the payload is empty, what was taken is cut off, and what is there
    /// instead is yet to be told.
    Frame takeFrame(QByteArray *payload);

    /// A receiver that is busy still wants those that came whole. @return what stands behind the last one
    Frame keepWholePayloads();

    void cutOff(); ///< what was taken

    const int mLargeFrame;
    FrameReader mReader;
    bool mDropsLeftovers = false;
    QByteArrayList mWholePayloads; ///< come before all bytes
    QByteArray mBytes;
    int mPosition = 0; ///< of the first byte that was not taken
};
