// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// What destroy() leaves for later.
class Destruction : public QObject
{
    Q_OBJECT

public:
    /// Destroys now, before any timer or other event is handled.
    Q_INVOKABLE void carryOut() const { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
};
