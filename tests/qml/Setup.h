// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

class QQmlEngine;

/// What the tests find in the engine.
class Setup : public QObject
{
    Q_OBJECT

public:
    Setup();
    ~Setup() override;

public Q_SLOTS:
    /// Called by the test framework when there is an application object.
    void applicationAvailable();

    /// Called by the test framework for the engine of each file.
    void qmlEngineAvailable(QQmlEngine *engine);
};
