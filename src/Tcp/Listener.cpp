// SPDX-License-Identifier: Apache-2.0
#include "Tcp/Listener_p.h"

#include <QNetworkProxy>
#include <QTcpSocket>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {
/// Nobody is there anymore, or whoever is has gone again, or its network has: what accept(2) hands on of a connection.
constexpr int errorsOfOneConnection[] = {EAGAIN, EINTR, ECONNABORTED, ENETDOWN, EPROTO, ENOPROTOOPT, EHOSTDOWN, ENONET,
    EHOSTUNREACH, EOPNOTSUPP, ENETUNREACH, EPERM};

bool isOfOneConnection(int error)
{
    return std::find(std::begin(errorsOfOneConnection), std::end(errorsOfOneConnection), error)
        != std::end(errorsOfOneConnection);
}
} // namespace

Listener::Listener()
{
    mServer.setProxy(QNetworkProxy::NoProxy); // whose socket would not be ours to accept from
}

Listener::~Listener()
{
    close();
}

bool Listener::listen(const QHostAddress &address, quint16 port)
{
    if (!mServer.listen(address, port))
        return false;
    mServer.pauseAccepting();
    mNotifier.reset(new QSocketNotifier(mServer.socketDescriptor(), QSocketNotifier::Read),
        [](QSocketNotifier *last) { last->deleteLater(); });
    const std::weak_ptr<QSocketNotifier> weakNotifier = mNotifier; // its own connection must not keep it alive
    connect(mNotifier.get(), &QSocketNotifier::activated, this, [this, weakNotifier] {
        if (const auto held = weakNotifier.lock())
            accept();
    });
    return true;
}

void Listener::close()
{
    setAccepting(false);
    mNotifier.reset();
    mServer.close();
    for (const int descriptor : std::exchange(mNewcomers, {}))
        ::close(descriptor);
}

void Listener::setAccepting(bool accepts)
{
    if (mNotifier)
        mNotifier->setEnabled(accepts);
}

QTcpSocket *Listener::takeNewcomer()
{
    if (mNewcomers.empty())
        return nullptr;
    auto *const socket = new QTcpSocket;
    socket->setSocketDescriptor(mNewcomers.front());
    mNewcomers.pop_front();
    return socket;
}

void Listener::accept()
{
    const int descriptor = ::accept4(static_cast<int>(mServer.socketDescriptor()), nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0) {
        mNewcomers.push_back(descriptor);
        Q_EMIT newConnection();
    } else if (const int error = errno; !isOfOneConnection(error)) {
        setAccepting(false); // or the event loop would not rest
        Q_EMIT acceptFailed(QString::fromLocal8Bit(std::strerror(error)));
    }
}
