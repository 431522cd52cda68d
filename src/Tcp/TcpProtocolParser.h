// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QByteArray>

#include <limits>

class AbstractTcpMessage;

/// The frames of the link: the size of the payload in ASCII digits, then the payload, a JSON object.
///
/// @code
/// AbstractTcpMessage message;
/// QByteArray received = TcpProtocolParser::messageToData(message);
/// for (;;) {
///     const QByteArray payload = TcpProtocolParser::retrieveMessageData(received);
///     if (payload.isEmpty())
///         break;
///     message.fromByteArray(payload);
/// }
/// @endcode
class VANTORBASE_EXPORT TcpProtocolParser
{
public:
    TcpProtocolParser() = delete;

    /// More than this is never held back for a frame to become complete. Bytes.
    static constexpr int maxBufferSize = 64 * 1024 * 1024;

    static QByteArray messageToData(const AbstractTcpMessage &message);

    /// Takes one payload off the front of the buffer. Empty when there is no complete frame: to be called until then.
    /// A buffer that does not start with a number is erased whole, later frames included.
    static QByteArray retrieveMessageData(QByteArray &buffer);

    /// The same from a position on, which moves behind the payload while the buffer stays as it is: many frames are
    /// taken in linear time. An erased buffer is empty, and the position 0.
    /// @param folded so many bytes more were received for the length at the position; they count as held back
    /// @param largestFrame bytes, length and payload; a larger frame is no number either, and of an incomplete one no
    ///     more is held back
    static QByteArray retrieveMessageData(
        QByteArray &buffer, int &position, int folded = 0, int largestFrame = std::numeric_limits<int>::max());
};
