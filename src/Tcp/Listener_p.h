// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSocketNotifier>
#include <QTcpServer>

#include <deque>
#include <memory>

class QTcpSocket;

/// The listening socket of a server. It accepts by itself: Qt keeps only the first error of a listening socket, so that
/// it takes no shortage of descriptors for one after the first connection, but tries again at once for ever; and after
/// a shortage that came first it takes every connection for one.
///
/// A receiver of its signals may close, start or destroy it, also from an event loop of its own.
class Listener : public QObject
{
    Q_OBJECT

public:
    Listener();
    ~Listener() override;

    bool listen(const QHostAddress &address, quint16 port);
    bool isListening() const { return mServer.isListening(); }
    void close(); ///< and those that wait to be taken

    void setAccepting(bool accepts); ///< while it does not, newcomers wait in the system

    QTcpSocket *takeNewcomer(); ///< the one that came first, owned by the caller; null when there is none

Q_SIGNALS:
    void newConnection(); ///< for each that can be taken
    void acceptFailed(const QString &reason); ///< and it does not accept anymore

private:
    void accept();

    QTcpServer mServer; ///< only listens
    std::shared_ptr<QSocketNotifier> mNotifier; ///< while it listens; calls that stand on it hold it, too
    std::deque<int> mNewcomers; ///< descriptors
};
