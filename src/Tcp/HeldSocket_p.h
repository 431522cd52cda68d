// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tcp/NestedCalls_p.h"

#include <QTcpSocket>

#include <memory>
#include <utility>

/// A socket of an endpoint, which outlives every call that stands on it. Qt goes on in a socket after each of its
/// signals, but the receiver may have run an event loop in which the endpoint took another socket, or was destroyed.
/// So the endpoint holds it, and each call from it and into it does. The last to let go leaves it to the event loop
/// that this call came from.
using HeldSocket = std::shared_ptr<QTcpSocket>;

/// Takes over the socket, and bounds what it reads before it is asked to: the peer writes on while a receiver is busy.
HeldSocket holdSocket(QTcpSocket *socket);

/// Closes the connection without a word to the endpoint, and lets go of the socket.
void dropSocket(HeldSocket &socket, const QObject *endpoint);

/// Connects a signal of the socket to a function of the endpoint, during which the socket is held, and which counts
/// as one of the endpoint's nested calls.
template <typename Signal, typename Endpoint>
void connectHeld(const HeldSocket &socket, Signal signal, Endpoint *endpoint, void (Endpoint::*function)(),
    const std::weak_ptr<NestedCalls> &calls)
{
    const std::weak_ptr<QTcpSocket> weakSocket = socket; // its own connection must not keep it alive
    QObject::connect(socket.get(), signal, endpoint, [=] {
        if (const HeldSocket held = weakSocket.lock()) {
            const NestedCall call(calls);
            (endpoint->*function)();
        }
    });
}
