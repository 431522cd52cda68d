// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Terminal.h"
#include "inspect/Options.h"
#include "inspect/OutputFolder.h"
#include "inspect/Sandbox.h"
#include "inspect/Task.h"

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

/// The life of a worker process: what the fetcher says comes in, inspections go out, until the fetcher is gone. The
/// process is shut into a sandbox before it sees the first image.
/// @param folder of its own
/// @param image file descriptor of the bytes of the image at hand
[[noreturn]] void runWorker(const Session &session, const QString &folder, int fetched, int inspections, int image);

/// What a worker has written to stderr during its last task; codecs and sanitizers do, and the log under --verbose.
/// Fit for the terminal.
QByteArray lastWordsOfWorker(const QString &folder);

} // namespace Inspect
