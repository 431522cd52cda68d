// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <exception>

namespace FiberInspection {

/// What the exception says that is being handled, whatever its type; only within a handler.
inline QByteArray exceptionText()
{
    try {
        throw;
    } catch (const std::exception &exception) {
        return exception.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

/// What run() returns; when an exception ends it, what the handler does. The end of the thread, by pthread_exit() or a
/// cancellation, looks like one that nobody can hold, and goes on: the process would be ended if it did not.
template <typename Run, typename Handler>
auto withHandler(Run run, Handler handler) -> decltype(run())
{
    try {
        return run();
    } catch (...) {
        if (!std::current_exception())
            throw;
        return handler();
    }
}

} // namespace FiberInspection
