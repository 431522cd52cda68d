// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "inspect/NoVerdict.h"

namespace Inspect {

struct Session;

/// What a fetcher says about one image, in the byte order of the machine.
struct Fetched
{
    quint32 task = 0;
    NoVerdict::Reason reason = NoVerdict::Reason::None;
    qint64 number = 0; ///< of the reason: errno, or so many bytes

    static Fetched ofError(int number);

    NoVerdict problem() const; ///< as inspectFile() would tell it
};

/// The process beside a worker that opens the images for it and brings their bytes; it never looks at them. The worker,
/// which does, can therefore be shut off from the file system, and an image that cannot be opened or read to its end
/// holds up nobody but the two.
/// Numbers of tasks come in, the bytes go into the memory unless the task before was of the same image, then the answer
/// goes out.
[[noreturn]] void runFetcher(const Session &session, int requests, int answers, int memory);

} // namespace Inspect
