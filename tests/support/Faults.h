// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SmallDisk.h"

#include <QFile>
#include <QString>
#include <QtGlobal>

#include <csignal>
#include <functional>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

/// Real troubles of a machine, for the time of a scope or of one thread.
namespace Faults {

/// Whether MemoryLimit works: the sanitizers need address space without bounds.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool canLimitMemory = false;
#else
constexpr bool canLimitMemory = true;
#endif

/// While it lives, writing fails beyond this size of a file.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
        : mFormerHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &mFormer);
        const rlimit limit{bytes, mFormer.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &mFormer);
        std::signal(SIGXFSZ, mFormerHandler);
    }

private:
    void (*mFormerHandler)(int);
    rlimit mFormer{};
};

/// While it lives, the process gets no more than this much memory on top of what it has. What was reserved for later,
/// as for the allocations of another thread, is no use to it either.
class MemoryLimit
{
public:
    explicit MemoryLimit(quint64 moreBytes)
    {
        getrlimit(RLIMIT_DATA, &mFormer);
        const rlimit limit{static_cast<rlim_t>(usedBytes() + moreBytes), mFormer.rlim_max};
        setrlimit(RLIMIT_DATA, &limit);
    }
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;
    ~MemoryLimit() { setrlimit(RLIMIT_DATA, &mFormer); }

private:
    static quint64 usedBytes()
    {
        constexpr int dataAndStack = 5;
        QFile file(QStringLiteral("/proc/self/statm"));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        const quint64 pages = file.readAll().split(' ').value(dataAndStack).toULongLong();
        return pages * static_cast<quint64>(sysconf(_SC_PAGESIZE));
    }

    rlimit mFormer{};
};

/// Runs the function in a thread that respects the permissions of files, even when the tests run as root.
inline void withoutOverride(const std::function<void()> &function)
{
    std::thread thread([&] {
        __user_cap_header_struct header{};
        header.version = _LINUX_CAPABILITY_VERSION_3;
        __user_cap_data_struct sets[2]{};
        if (syscall(SYS_capget, &header, sets) == 0) {
            sets[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
            syscall(SYS_capset, &header, sets);
        }
        function();
    });
    thread.join();
}

/// Runs the function in a thread that sees an empty disk of that size in place of the folder. False if that cannot be
/// had; the function has not run then.
inline bool withSmallDisk(const QString &folder, int kibibytes, const std::function<void()> &function)
{
    bool mounted = false;
    std::thread thread([&] {
        const SmallDisk disk(folder, kibibytes);
        mounted = disk.problem().isEmpty();
        if (mounted)
            function();
    });
    thread.join();
    return mounted;
}

} // namespace Faults
