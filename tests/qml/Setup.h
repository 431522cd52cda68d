// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

#include <memory>

class QQmlEngine;

/// What the tests find in the engine: a real inspection manager in a thread of its own, behind the object that the
/// application publishes, and the simulated scope.
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

    /// Called by the test framework after all tests.
    void cleanupTestCase();

private:
    struct Application;
    std::unique_ptr<Application> mApplication;
};
