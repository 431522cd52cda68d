// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "link/Options.h"

#include <QObject>

#include <memory>

namespace Link {

/// One end of the link, whichever it is. Tells the user on stderr what becomes of the connection.
class Endpoint : public QObject
{
    Q_OBJECT

public:
    static std::unique_ptr<Endpoint> create(const Options &options);

    virtual bool open() = 0; ///< false when that will never succeed
    virtual void send(const QByteArray &payload) = 0;
    virtual bool isConnected() const = 0;
    virtual qint64 bytesToWrite() const = 0;
    virtual qint64 bytesUnsent() const = 0; ///< also of a connection that is lost, until the next one

Q_SIGNALS:
    void connected();
    void disconnected();
    void received(const QByteArray &payload);
};

} // namespace Link
