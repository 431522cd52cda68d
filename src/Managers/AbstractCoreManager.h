// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Property.h"
#include "VantorBase_export.h"

/// Base of the objects that do slow work on a thread of their own.
///
/// The application constructs a manager, moves it to a worker thread, and drives it by its signals: a request emitted
/// in another thread is handled in the manager's thread, one emitted in the manager's own thread is handled at once.
/// Nothing guards against a second start: the handler runs again.
///
/// To end: connect the thread's finished() to deleteLater() when the manager is moved, emit requestStop(), quit the
/// thread, and wait for it. A manager must not be deleted from another thread while it works. In its own thread a
/// receiver of any of its signals may: the signals that would have followed are not emitted then.
///
/// @code
/// class Sweeper : public AbstractCoreManager
/// {
/// protected:
///     void handleAsyncStart() override
///     {
///         SystemHelper::removeFilesFromDir(BaseDirHelper::tmpDir(), QString()); // slow, in the manager's thread
///         AbstractCoreManager::handleAsyncStart(); // running, and started() is emitted
///     }
/// };
/// @endcode
class VANTORBASE_EXPORT AbstractCoreManager : public QObject
{
    Q_OBJECT
    VANTOR_ATOMIC_PROPERTY(bool, isRunning, false)

public:
    explicit AbstractCoreManager(QObject *parent = nullptr);

Q_SIGNALS:
    void requestStart();
    void started();
    void requestStop();
    void stopped();

protected:
    /// Called in the manager's thread on requestStart().
    virtual void handleAsyncStart();

    /// Called in the manager's thread on requestStop().
    virtual void handleAsyncStop();

public:
    ~AbstractCoreManager() override;
};
