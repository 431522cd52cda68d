// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>

#include <sys/stat.h>

namespace Inspect {

/// Which file it is, whatever its name.
struct FileId
{
    quint64 device = 0;
    quint64 node = 0;

    static FileId of(const struct stat &status) { return {status.st_dev, status.st_ino}; }

    friend bool operator==(const FileId &one, const FileId &other)
    {
        return one.device == other.device && one.node == other.node;
    }
    friend uint qHash(const FileId &id, uint seed = 0) { return ::qHash(qMakePair(id.device, id.node), seed); }
};

} // namespace Inspect
