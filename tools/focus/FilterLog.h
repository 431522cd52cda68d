// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace Focus {

/// The log of the process, so that what the filter says about a frame can be told beside the frame.
class FilterLog
{
public:
    FilterLog() = delete;

    /// From here on warnings are kept. With `echo` all that is logged goes to stderr too.
    static void install(bool echo);

    /// The warnings since the last call, of any thread.
    static QStringList takeWarnings();
};

} // namespace Focus
