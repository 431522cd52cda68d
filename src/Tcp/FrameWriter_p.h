// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

class QByteArray;
class QTcpSocket;

/// Writes the frame of a message. False if the socket does not take it. Never blocks: what a peer does not read waits
/// in memory, and a warning says when that becomes much.
/// @param bytesUnsent what waits then, if it does take it
bool writeFrame(QTcpSocket &socket, const QByteArray &frame, qint64 *bytesUnsent);
