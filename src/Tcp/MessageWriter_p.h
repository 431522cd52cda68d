// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

class AbstractTcpMessage;
class QTcpSocket;

/// Writes a message as one frame. False if the socket does not take it. Never blocks: what a peer does not read waits
/// in memory, and a warning says when that becomes much.
/// @param bytesUnsent what waits then, if it does take it
bool writeMessage(QTcpSocket &socket, const AbstractTcpMessage &message, qint64 *bytesUnsent);
