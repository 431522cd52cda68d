// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>

/// What receivers do that show a dialog: they run an event loop, and anything may happen in it.
namespace NestedLoop {

constexpr int patience = 20000; ///< milliseconds

/// Runs a loop of this thread until the condition holds. Returns whether it came to that.
/// @param interval milliseconds between two looks at it; 0 looks in every turn of the loop
template <typename Condition>
bool runUntil(const Condition &condition, int interval = 1)
{
    QEventLoop loop;
    QTimer poll;
    QElapsedTimer elapsed;
    elapsed.start();
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (condition() || elapsed.hasExpired(patience))
            loop.quit();
    });
    poll.start(interval);
    loop.exec();
    return condition();
}

/// Runs a loop in which the deed is done, and ends it afterwards.
template <typename Deed>
bool runWith(const Deed &deed)
{
    bool isDone = false;
    QTimer::singleShot(0, [&] {
        deed();
        isDone = true;
    });
    return runUntil([&] { return isDone; });
}

/// Runs a loop in which deleteLater() is called for the object, and carried out: the frames below stand on it.
inline bool runAndDelete(QObject *object)
{
    const QPointer<QObject> guard(object);
    QTimer::singleShot(0, object, &QObject::deleteLater);
    return runUntil([&] { return !guard; });
}

} // namespace NestedLoop
