// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

/// Received bytes that are not framed yet. Payloads are taken in linear time: what was taken is cut off once, when no
/// complete frame is left. Bytes may be appended between two payloads.
class SocketBuffer
{
public:
    void append(const QByteArray &bytes) { mBytes.append(bytes); }

    /// The next payload; empty when there is no complete frame.
    QByteArray takePayload();

private:
    QByteArray mBytes;
    int mPosition = 0; ///< of the first byte that was not taken
};
