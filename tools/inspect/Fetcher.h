// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Inspect {

struct Session;

/// What a fetcher says about one image, in the byte order of the machine.
struct Fetched
{
    enum Problem : quint32 { None, CannotBeRead, NotAFile, TooLarge };

    quint32 task = 0;
    Problem problem = None;
    qint64 detail = 0; ///< errno, or a number of bytes

    QString reason() const; ///< why there is no verdict, as inspectFile() would say it

private:
    QString text() const; ///< of the problem
};

/// The process beside a worker that opens the images for it and brings their bytes; it never looks at them. The worker,
/// which does, can therefore be shut off from the file system, and an image that cannot be opened or read to its end
/// holds up nobody but the two.
/// Numbers of tasks come in, the bytes go into the memory, then the answer goes out.
[[noreturn]] void runFetcher(const Session &session, int requests, int answers, int memory);

} // namespace Inspect
