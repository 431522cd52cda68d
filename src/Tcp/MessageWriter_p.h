// SPDX-License-Identifier: Apache-2.0
#pragma once

class AbstractTcpMessage;
class QTcpSocket;

/// Writes a message as one frame. False if the socket does not take it. Never blocks: what a peer does not read waits
/// in memory, and a warning says when that becomes much.
bool writeMessage(QTcpSocket &socket, const AbstractTcpMessage &message);
