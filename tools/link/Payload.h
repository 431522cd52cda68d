// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

namespace Link {

/// The payload that a line of input stands for; empty when there is none, and why.
/// @param maxFrame bytes of the largest frame that may come of it
QByteArray payloadOf(const QByteArray &line, int maxFrame, QString *problem);

/// A payload as one line of JSON: the object, or all its bytes as a string if they are not valid JSON.
QByteArray lineOf(const QByteArray &payload);

/// Bytes of the frame that carries a payload of this size.
qint64 frameSize(qint64 payloadSize);

} // namespace Link
