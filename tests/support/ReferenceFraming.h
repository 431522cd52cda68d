// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QDebug>

/// The framing once more, step by step and in any time it likes.
namespace ReferenceFraming {

constexpr qint64 maxHeldBack = 64LL * 1024 * 1024;

inline QByteArray erase(QByteArray &buffer)
{
    qWarning().noquote() << "Invalid data. Erasing buffer" << buffer.size();
    buffer.clear();
    return {};
}

inline QByteArray wait(QByteArray &buffer)
{
    if (buffer.size() > maxHeldBack)
        return erase(buffer);
    qDebug().noquote() << "Partial buffer, waiting for more data";
    return {};
}

/// Takes one payload off the front of the buffer.
inline QByteArray retrieveMessageData(QByteArray &buffer)
{
    if (buffer.isEmpty())
        return {};

    const qint64 p = buffer.indexOf("{");
    const QByteArray before = p == -1 ? buffer : buffer.left(int(p));
    bool ok = false;
    const qint64 n = before.toInt(&ok);
    if (!ok || n < 0 || before.trimmed().startsWith('-'))
        return erase(buffer);
    if (p == -1 || buffer.size() < p + n)
        return wait(buffer);

    const QByteArray payload = buffer.mid(int(p), int(n));
    buffer.remove(0, int(p + n));
    return payload;
}

} // namespace ReferenceFraming
