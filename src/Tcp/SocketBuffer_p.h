// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

class QIODevice;

/// Received bytes that are not framed yet. Payloads are taken in linear time: what was taken is cut off once, when no
/// complete frame is left. Bytes may be appended between two payloads.
class SocketBuffer
{
public:
    void append(const QByteArray &bytes) { mBytes.append(bytes); }

    /// Appends a piece of what can be read: to be called, and the payloads to be taken, until nothing is left.
    /// @return whether something was read
    bool readFrom(QIODevice &device);

    /// The next payload; empty when there is no complete frame.
    QByteArray takePayload();

private:
    /// Shortens a length with many zeros or blanks: without end they must not be read again for every byte to come.
    void foldLength();

    QByteArray mBytes;
    int mPosition = 0; ///< of the first byte that was not taken
    int mFolded = 0; ///< bytes that were received for the length at the position, and dropped
};
