// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"
#include "OwnNamespace.h"

#include <QString>

#include <sched.h>

/// A network that this process and its children have for themselves: a loopback interface, and nothing from outside.
namespace OwnNetwork {

/// Whether the command succeeded; if not, *problem is what it said.
inline bool run(const QString &program, const QStringList &arguments, QString *problem)
{
    ChildProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return true;
    *problem = program + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')) + QStringLiteral(": ")
        + (process.error() == QProcess::FailedToStart ? process.errorString()
                                                      : QString::fromUtf8(process.readAll().simplified()));
    return false;
}

/// To be called before there are threads. Not root: becomes root of a namespace of users, too.
/// @param problem why it did not succeed
inline bool enter(QString *problem)
{
    if (!OwnNamespace::enter(CLONE_NEWNET, 0, 0, problem))
        return false;
    return run(QStringLiteral("ip"),
        {QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("lo"), QStringLiteral("up")}, problem);
}

} // namespace OwnNetwork
