// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/ExitCode.h"
#include "net/Options.h"

#include <QByteArray>

namespace Net {

/// What a command has to say and how it ended.
struct Outcome
{
    ExitCode exitCode = Done;
    QByteArray output;
    QString problem; ///< for stderr
};

Outcome show(const Options &options);
Outcome check(const Options &options);
Outcome randomMac();
Outcome parseMac(const Options &options);
Outcome addServers(const Options &options);
Outcome configure(const Options &options);

bool print(const QByteArray &text); ///< @return whether stdout takes it

} // namespace Net
