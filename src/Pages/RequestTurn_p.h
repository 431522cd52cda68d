// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

/// Tells around which answers a manager works on a request, in the manager's thread. Turns nest when a receiver of an
/// answer runs an event loop.
class RequestTurn : public QObject
{
    Q_OBJECT

public:
    RequestTurn();
    ~RequestTurn() override;

Q_SIGNALS:
    void begun(quint64 ticket);
    void ended();
};
