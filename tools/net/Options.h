// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Net {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { Show, Check, RandomMac, ParseMac, AddServers, Configure };

    Action action = Action::Show;
    QString operand; ///< interface (empty: all), address, or MAC address
    QString primary;
    QString secondary;
    QString domain;
    QString application = QStringLiteral("vantor"); ///< its folder under /opt
    bool json = false;
    bool confirmed = false;
    bool verbose = false;
};

} // namespace Net
