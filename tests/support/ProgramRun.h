// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <unistd.h>

/// A program that was run until its end, which does not take forever: it is killed when its time is over.
struct ProgramRun
{
    static constexpr int patience = 60000; // milliseconds

    int exitCode = -1; ///< -1: it did not start, did not end by itself, or not in time
    QByteArray output;
    QByteArray errors; ///< of what did not start: why not

    /// What is set before it starts.
    using SetUp = std::function<void(ChildProcess &process)>;

    static ProgramRun of(
        const QString &program, const QStringList &arguments, const SetUp &setUp = {}, int milliseconds = patience)
    {
        ChildProcess process;
        if (setUp)
            setUp(process);
        process.start(program, arguments);
        process.closeWriteChannel();
        const bool isEnded = process.waitForFinished(milliseconds) && process.exitStatus() == QProcess::NormalExit;
        ProgramRun run{
            isEnded ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
        if (process.error() == QProcess::FailedToStart)
            run.errors = process.errorString().toUtf8();
        process.killAndClose();
        return run;
    }

    static ProgramRun in(const QString &folder, const QString &program, const QStringList &arguments)
    {
        return of(program, arguments, [&folder](ChildProcess &process) { process.setWorkingDirectory(folder); });
    }

    /// Root without its capabilities is bound to permissions like everybody else.
    static ProgramRun asOrdinaryUser(const QString &program, const QStringList &arguments, const SetUp &setUp = {})
    {
        if (geteuid() != 0)
            return of(program, arguments, setUp);
        return of(QStringLiteral("setpriv"),
            QStringList{QStringLiteral("--bounding-set=-all"), QStringLiteral("--inh-caps=-all")} + QStringList{program}
                + arguments,
            setUp);
    }
};
