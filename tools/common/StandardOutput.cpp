// SPDX-License-Identifier: Apache-2.0
#include "common/StandardOutput.h"

#include "common/StopSignals.h"

#include <cerrno>
#include <climits>
#include <unistd.h>

namespace Tools {

bool StandardOutput::write(const QByteArray &bytes)
{
    for (int at = 0; at < bytes.size();) {
        if (!waitUntilWritable())
            return false;
        // A pipe that is ready takes so much without blocking.
        const int length = qMin(bytes.size() - at, PIPE_BUF);
        const ssize_t written = ::write(STDOUT_FILENO, bytes.constData() + at, static_cast<std::size_t>(length));
        if (written >= 0) {
            at += static_cast<int>(written);
        } else if (errno != EINTR && errno != EAGAIN) {
            mError = errno;
            return false;
        }
    }
    return true;
}

bool StandardOutput::waitUntilWritable()
{
    return StopSignals::waitUntilWritable(STDOUT_FILENO) && mSignals->received() == 0;
}

} // namespace Tools
