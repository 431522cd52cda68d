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

} // namespace FiberInspection
