// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

/// What stands at a place in received bytes. Found first and told last: a handler of the log may run an event loop, in
/// which the next bytes come.
struct FrameCut
{
    enum Kind { Nothing, Payload, Partial, Invalid };

    Kind kind = Nothing;
    int start = 0; ///< of the payload
    int size = 0; ///< bytes of the payload, or of all that is no frame

    /// @param folded, largestFrame as TcpProtocolParser::retrieveMessageData() has them
    static FrameCut find(const QByteArray &buffer, int position, int folded, int largestFrame);

    void tell() const; ///< in the log, unless it is a payload
};
