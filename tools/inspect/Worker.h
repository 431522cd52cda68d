// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"
#include "OutputFolder.h"
#include "Report.h"
#include "Task.h"
#include "Terminal.h"

namespace Inspect {

/// What all processes of one run know.
struct Session
{
    const Options &options;
    const OutputFolder &output;
    const QVector<Task> &tasks;
    const Tools::TextStyle style; ///< of stdout
    const QString temporaryFolder;
};

/// Before the report of a task comes this, in the byte order of the machine.
struct ReportHeader
{
    quint32 outputSize = 0;
    quint32 messagesSize = 0;
    quint32 verdict = 0;
};

/// The life of a worker process: numbers of tasks come in through the socket, reports go out, until it is closed.
/// @param name of its own folder within the temporary one
[[noreturn]] void runWorker(const Session &session, const QString &name, int socket);

/// What a worker has written to stderr during its last task; codecs and sanitizers do.
QByteArray lastWordsOfWorker(const Session &session, const QString &name);

} // namespace Inspect
