// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstddef>
#include <sys/types.h>
#include <vector>

/// What the processes of a run have in common.
namespace Inspect::Process {

/// The first that a child does: it takes a name, ends with its parent, and keeps no files open but the standard streams
/// and those given. Its stdin and stdout lead nowhere.
void begin(const char *name, std::vector<int> files);

/// Leads the stream to the file.
bool redirect(int stream, const char *path, int flags);

/// As the function of the system, but goes on after a signal.
ssize_t read(int file, void *data, std::size_t size);

bool readAll(int file, void *data, std::size_t size); ///< false also at the end of the file
bool writeAll(int file, const void *data, std::size_t size);

/// Kills the process, stopped or not, and waits a moment for its end.
/// @return what waitpid() tells; nothing is known of a process that the kernel does not let go of, and that is 0
int end(pid_t pid);

} // namespace Inspect::Process
