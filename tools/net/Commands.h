// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/ExitCode.h"
#include "net/Options.h"

#include <QByteArray>

namespace Net {

/// What a command has to say and how it ended.
struct Outcome
{
    int exitCode = Tools::Done;
    QByteArray output;
    QString problem; ///< for stderr
};

Outcome show(const Options &options);
Outcome check(const Options &options);
Outcome randomMac();
Outcome parseMac(const Options &options);
Outcome addServers(const Options &options);
Outcome configure(const Options &options);

} // namespace Net
