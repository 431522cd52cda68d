// SPDX-License-Identifier: Apache-2.0
#include "WatchedDisk.h"

#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

namespace {
int synced(const char *symbol, int descriptor)
{
    if (const auto ask = watchedDisk().onSync) {
        if (const int error = ask(descriptor)) {
            errno = error;
            return -1;
        }
    }
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, symbol))(descriptor);
}
} // namespace

QString WatchedDisk::pathOf(int descriptor)
{
    return QFileInfo(QStringLiteral("/proc/self/fd/%1").arg(descriptor)).symLinkTarget();
}

WatchedDisk &watchedDisk()
{
    static WatchedDisk disk;
    return disk;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fsync(int descriptor)
{
    return synced("fsync", descriptor);
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fdatasync(int descriptor)
{
    return synced("fdatasync", descriptor);
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int rename(const char *from, const char *to)
{
    if (const auto tell = watchedDisk().onRename) // a copy: it may take itself away
        tell();
    return reinterpret_cast<int (*)(const char *, const char *)>(dlsym(RTLD_NEXT, "rename"))(from, to);
}
