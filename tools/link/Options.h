// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Link {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { Listen, Connect };

    Action action = Action::Listen;
    QString address; ///< of the unit to connect to, or to listen on; empty: on all of them
    int port = 0;
    bool readsInput = true;
    bool echo = false;
    bool stats = false;
    bool verbose = false;
    int maxFrame = 1024 * 1024; ///< bytes of the largest frame, both ways
    int linger = 500; ///< milliseconds of silence after the end of the input
};

} // namespace Link
