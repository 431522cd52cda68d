// SPDX-License-Identifier: Apache-2.0
#include "inspect/Sandbox.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <iterator>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <memory>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr rlim_t mostOpenFiles = 64;

#if defined(__has_feature) // clang's way to tell; gcc has a macro
#if __has_feature(address_sanitizer)
#define VANTOR_HAS_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(VANTOR_HAS_ADDRESS_SANITIZER)
constexpr bool hasShadowMemory = true; // terabytes of address space that are never used
#else
constexpr bool hasShadowMemory = false;
#endif

// --- Landlock, which the C library does not know yet

// Not all are in the headers of the oldest kernel that is built on.
constexpr quint64 refer = 1ULL << 13;
constexpr quint64 truncateFile = 1ULL << 14;
constexpr quint64 controlDevice = 1ULL << 15;
constexpr quint64 rightsOfFirstVersion = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
constexpr quint64 rightsToRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr quint64 rightsToWrite = rightsToRead | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_FILE
    | LANDLOCK_ACCESS_FS_MAKE_REG | truncateFile;

int landlockVersion()
{
    return static_cast<int>(syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}

/// All rights that the kernel knows: what is not granted is refused.
quint64 knownRights(int version)
{
    quint64 rights = rightsOfFirstVersion;
    if (version >= 2)
        rights |= refer;
    if (version >= 3)
        rights |= truncateFile;
    if (version >= 5)
        rights |= controlDevice;
    return rights;
}

bool grant(int rules, const QByteArray &folder, quint64 rights)
{
    landlock_path_beneath_attr rule{};
    rule.allowed_access = rights;
    rule.parent_fd = open(folder.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const bool isGranted =
        rule.parent_fd >= 0 && syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
    if (rule.parent_fd >= 0)
        close(rule.parent_fd);
    return isGranted;
}

bool restrictFiles(const Sandbox::Folders &folders, int version)
{
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = knownRights(version);
    const auto rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0));
    if (rules < 0)
        return false;
    const bool isRestricted = grant(rules, folders.readable, rightsToRead & attributes.handled_access_fs)
        && std::all_of(folders.writable.cbegin(), folders.writable.cend(),
            [&](const QByteArray &folder) {
                return grant(rules, folder, rightsToWrite & attributes.handled_access_fs);
            })
        && syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    close(rules);
    return isRestricted;
}

// --- seccomp

/// What an analysis calls, its memory, its one folder, and how it ends. All else is refused with EPERM.
constexpr const char *allowedCalls[] = {"_llseek", "access", "brk", "clock_getres", "clock_gettime", "clock_gettime64",
    "clock_nanosleep", "close", "dup", "exit", "exit_group", "faccessat", "faccessat2", "fdatasync", "fstat", "fstat64",
    "fstatat64", "fstatfs", "fsync", "ftruncate", "ftruncate64", "futex", "futex_time64", "getcwd", "getdents",
    "getdents64", "getegid", "geteuid", "getgid", "getpid", "getrandom", "getrusage", "gettid", "gettimeofday",
    "getuid", "lseek", "lstat", "lstat64", "madvise", "mremap", "munmap", "nanosleep", "newfstatat", "open", "openat",
    "poll", "ppoll", "pread64", "preadv", "pwrite64", "pwritev", "read", "readlink", "readlinkat", "readv", "rename",
    "renameat", "renameat2", "restart_syscall", "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "sched_getaffinity",
    "sched_yield", "set_robust_list", "sigaltstack", "sigreturn", "stat", "stat64", "statx", "sysinfo", "time",
    "ugetrlimit", "uname", "unlink", "unlinkat", "write", "writev"};

// The macros of the library are compound literals, which C++ does not have.
scmp_arg_cmp argumentIs(unsigned index, scmp_datum_t value)
{
    return {index, SCMP_CMP_EQ, value, 0};
}

scmp_arg_cmp argumentWithout(unsigned index, scmp_datum_t bits)
{
    return {index, SCMP_CMP_MASKED_EQ, bits, 0};
}

class CallFilter
{
public:
    CallFilter()
        : mContext(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release)
    {
    }

    /// Calls that the architecture does not have are passed over.
    void allow(const char *name, std::initializer_list<scmp_arg_cmp> conditions = {})
    {
        const int call = seccomp_syscall_resolve_name(name);
        if (call < 0)
            return;
        mIsWhole = mIsWhole && mContext
            && seccomp_rule_add_array(mContext.get(), SCMP_ACT_ALLOW, call, static_cast<unsigned>(conditions.size()),
                   std::data(conditions))
                == 0;
    }

    bool load() { return mIsWhole && mContext && seccomp_load(mContext.get()) == 0; }

private:
    std::unique_ptr<void, void (*)(scmp_filter_ctx)> mContext;
    bool mIsWhole = true;
};

bool restrictCalls()
{
    constexpr scmp_datum_t executable = PROT_EXEC;
    const auto itself = static_cast<scmp_datum_t>(getpid());

    CallFilter filter;
    for (const char *const name : allowedCalls)
        filter.allow(name);
    if (hasShadowMemory) {
        for (const char *const name : {"pipe", "pipe2"}) // sanitizers ask so whether memory can be read
            filter.allow(name);
    }
    for (const char *const name : {"mmap", "mmap2", "mprotect"})
        filter.allow(name, {argumentWithout(2, executable)});
    // The other commands make the kernel signal whomever they name.
    for (const char *const name : {"fcntl", "fcntl64"}) {
        for (const int command : {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL})
            filter.allow(name, {argumentIs(1, static_cast<scmp_datum_t>(command))});
    }
    filter.allow("ioctl", {argumentIs(1, TCGETS)}); // whether a stream is a terminal
    filter.allow("prlimit64", {argumentIs(0, 0)});
    filter.allow("tgkill", {argumentIs(0, itself)}); // abort()
    return filter.load();
}

// --- Limits

void limit(__rlimit_resource resource, rlim_t most)
{
    const rlimit limits{most, most};
    setrlimit(resource, &limits);
}

/// Root could raise its limits again.
bool dropCapabilities()
{
    if (geteuid() != 0)
        return true;
    __user_cap_header_struct header{};
    header.version = _LINUX_CAPABILITY_VERSION_3;
    const __user_cap_data_struct none[2]{};
    return syscall(SYS_capset, &header, none) == 0;
}

/// The soft limit only: the next image may need more, and the hard one cannot be raised again.
void limitForNow(__rlimit_resource resource, rlim_t most)
{
    rlimit limits{};
    getrlimit(resource, &limits);
    limits.rlim_cur = std::min(most, limits.rlim_max);
    setrlimit(resource, &limits);
}

/// Bytes; 0 if the kernel does not tell.
quint64 usedAddressSpace()
{
    unsigned long long pages = 0;
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen("/proc/self/statm", "re"), std::fclose);
    const bool isRead = file && std::fscanf(file.get(), "%llu", &pages) == 1;
    return isRead ? pages * static_cast<quint64>(sysconf(_SC_PAGESIZE)) : 0;
}

quint64 usedProcessorTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<quint64>(usage.ru_utime.tv_sec) + static_cast<quint64>(usage.ru_stime.tv_sec);
}
} // namespace

Sandbox::Support Sandbox::support()
{
    Support support;
    support.filtersFiles = landlockVersion() >= 1;
    support.filtersCalls = prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0 && seccomp_api_get() >= 1;
    return support;
}

const char *Sandbox::enter(const Folders &folders, const Budget &life)
{
    mMemoryAtStart = usedAddressSpace();
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, largestFile);
    std::signal(SIGXFSZ, SIG_DFL); // the limit ends who reaches it
    limit(RLIMIT_NOFILE, mostOpenFiles);
    limit(RLIMIT_NPROC, 0); // says nothing to root
    if (mMemoryAtStart > 0 && !hasShadowMemory)
        limit(RLIMIT_AS, mMemoryAtStart + life.memory);
    limit(RLIMIT_CPU, usedProcessorTime() + life.processorTime);

    if (!dropCapabilities())
        return "rights of root";
    const Support supported = support();
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return "no new privileges";
    if (supported.filtersFiles && !restrictFiles(folders, landlockVersion()))
        return "access to files";
    if (supported.filtersCalls && !restrictCalls())
        return "system calls";
    return nullptr;
}

void Sandbox::setBudget(const Budget &budget) const
{
    if (mMemoryAtStart > 0 && !hasShadowMemory)
        limitForNow(RLIMIT_AS, mMemoryAtStart + budget.memory);
    limitForNow(RLIMIT_CPU, usedProcessorTime() + budget.processorTime + 1);
}

} // namespace Inspect
