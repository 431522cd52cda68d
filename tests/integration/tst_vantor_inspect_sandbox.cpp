// SPDX-License-Identifier: Apache-2.0
#include "ForkedChild.h"
#include "OneProcess.h"
#include "inspect/Sandbox.h"

#include <QtTest>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>

using Inspect::Sandbox;

using Attempt = std::function<bool()>; // whether it came through
Q_DECLARE_METATYPE(Attempt)

namespace {
enum Result : int { CameThrough = 0, Refused = 1, NotShutIn = 2 };

constexpr quint64 mebibyte = 1048576;

bool opens(const QByteArray &path, int flags)
{
    const int file = open(path.constData(), flags | O_CLOEXEC, 0600);
    return file >= 0 && close(file) == 0;
}

bool isClosed(int file)
{
    return file >= 0 && close(file) == 0;
}

/// A process that waits for the end of the caller.
pid_t neighbour()
{
    const pid_t caller = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close_range(0, ~0U, 0); // the test waits for the end of a pipe
        while (getppid() == caller)
            pause();
        _exit(0);
    }
    return pid;
}
} // namespace

class TestVantorInspectSandbox : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mOutside;
    QTemporaryDir mInside;
    QByteArray mSecret;

    ForkedChild tryIt(const Attempt &attempt, bool isShutIn) const
    {
        const QByteArray folder = QFile::encodeName(mInside.path());
        return ForkedChild::run([&] {
            if (isShutIn && Sandbox().enter({folder, {folder}}))
                return NotShutIn;
            return attempt() ? CameThrough : Refused;
        });
    }

private Q_SLOTS:
    void initTestCase()
    {
        const Sandbox::Support support = Sandbox::support();
        QVERIFY2(support.filtersFiles, "this kernel has no Landlock");
        QVERIFY2(support.filtersCalls, "this kernel has no seccomp");
        mSecret = QFile::encodeName(mOutside.filePath(QStringLiteral("secret")));
        QVERIFY(opens(mSecret, O_WRONLY | O_CREAT));
    }

    void whatATakenOverDecoderWouldWantIsRefused_data()
    {
        QTest::addColumn<Attempt>("attempt");
        const auto row = [](const char *name, const Attempt &attempt) { QTest::newRow(name) << attempt; };
        const QByteArray secret = mSecret;
        const QByteArray outside = QFile::encodeName(mOutside.path());
        const QByteArray inside = QFile::encodeName(mInside.path());

        row("read a file", [=] { return opens(secret, O_RDONLY); });
        row("write a file", [=] { return opens(secret, O_WRONLY); });
        row("empty a file", [=] { return truncate(secret.constData(), 0) == 0; });
        row("create a file", [=] { return opens(outside + "/new", O_WRONLY | O_CREAT); });
        row("read a folder", [=] { return opens(outside, O_RDONLY | O_DIRECTORY); });
        row("remove a file", [=] {
            const QByteArray path = outside + "/removed";
            return (!opens(path, O_RDONLY) || unlink(path.constData()) == 0) && unlink(secret.constData()) == 0
                && opens(secret, O_WRONLY | O_CREAT);
        });
        row("link to a file", [=] {
            const QByteArray path = inside + "/link";
            return symlink(secret.constData(), path.constData()) == 0 && unlink(path.constData()) == 0;
        });
        row("make a folder", [=] {
            const QByteArray path = inside + "/folder";
            return mkdir(path.constData(), 0700) == 0 && rmdir(path.constData()) == 0;
        });
        row("change the mode of a file", [=] { return chmod(secret.constData(), 0666) == 0; });
        row("read the system's accounts", [] { return opens("/etc/passwd", O_RDONLY); });
        row("see other processes' memory", [] { return opens("/proc/1/cmdline", O_RDONLY); });
        row("network socket", [] { return isClosed(socket(AF_INET, SOCK_STREAM, 0)); });
        row("network socket, version 6", [] { return isClosed(socket(AF_INET6, SOCK_DGRAM, 0)); });
        row("local socket", [] { return isClosed(socket(AF_UNIX, SOCK_STREAM, 0)); });
        row("pair of sockets", [] {
            int pair[2];
            return socketpair(AF_UNIX, SOCK_STREAM, 0, pair) == 0;
        });
        row("execute a program", [] {
            execl("/bin/true", "/bin/true", nullptr); // whose exit code is that of what came through
            return false;
        });
        row("fork", [] {
            const pid_t pid = fork();
            if (pid == 0)
                _exit(0);
            return pid > 0;
        });
        row("signal the parent", [] { return kill(getppid(), 0) == 0; });
        row("own the signals of a file", [] { return fcntl(STDERR_FILENO, F_SETOWN, getppid()) == 0; });
        row("choose the signal of a file", [] { return fcntl(STDERR_FILENO, F_SETSIG, SIGUSR1) == 0; });
        row("signal by a file that can be read",
            [] { return fcntl(STDERR_FILENO, F_SETFL, fcntl(STDERR_FILENO, F_GETFL) | O_ASYNC) == 0; });
        row("change the mode of an open file", [] { return fchmod(STDERR_FILENO, 0600) == 0; });
        row("signal all", [] { return kill(-1, 0) == 0; });
        row("change one's identity", [] { return setuid(getuid()) == 0; });
        row("leave the namespace", [] { return unshare(CLONE_FILES) == 0; });
        row("executable memory", [] {
            return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
        });
        row("memory made executable", [] {
            void *const memory = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            return mprotect(memory, 4096, PROT_READ | PROT_EXEC) == 0;
        });
        row("memory to execute from", [] { return isClosed(static_cast<int>(syscall(SYS_memfd_create, "x", 0))); });
        row("write to the terminal's input", [] {
            char byte = 0;
            errno = 0;
            return ioctl(STDIN_FILENO, TIOCSTI, &byte) == 0 || errno != EPERM; // refused before it is looked at
        });
        row("change another process's limits", [] {
            rlimit limits{};
            return prlimit(getppid(), RLIMIT_CORE, nullptr, &limits) == 0;
        });
    }

    void whatATakenOverDecoderWouldWantIsRefused()
    {
        QFETCH(Attempt, attempt);

        QCOMPARE(tryIt(attempt, false).exitCode, int(CameThrough));
        QCOMPARE(tryIt(attempt, true).exitCode, int(Refused));
    }

    void itsFolderIsWrittenToOnlyWhereThatIsGranted()
    {
        const QTemporaryDir readable;
        const QByteArray folder = QFile::encodeName(readable.path());
        const QByteArray file = folder + "/file";
        QVERIFY(opens(file, O_WRONLY | O_CREAT));
        const QByteArray writable = folder + "/writable";
        QCOMPARE(mkdir(writable.constData(), 0700), 0);

        const ForkedChild child = ForkedChild::run([&] {
            if (Sandbox().enter({folder, {writable}}))
                return int(NotShutIn);
            const bool writes =
                opens(file, O_WRONLY) || opens(folder + "/new", O_WRONLY | O_CREAT) || unlink(file.constData()) == 0;
            const bool isFine = opens(file, O_RDONLY) && opens(writable + "/new", O_WRONLY | O_CREAT)
                && unlink((writable + "/new").constData()) == 0;
            return int(isFine && !writes ? CameThrough : Refused);
        });

        QCOMPARE(child.exitCode, int(CameThrough));
    }

    void neighboursCanBeNeitherTracedNorReadNorSignalled()
    {
        const QByteArray folder = QFile::encodeName(mInside.path());
        const auto meddle = [&](bool isShutIn) {
            return ForkedChild::run([&] {
                const pid_t other = neighbour();
                if (other < 0)
                    return -1;
                if (isShutIn && Sandbox().enter({folder, {folder}}))
                    return -1;
                char here = 0;
                char there = 0;
                const iovec local{&here, 1};
                const iovec remote{&there, 1};
                int done = 0;
                done += process_vm_readv(other, &local, 1, &remote, 1, 0) == 1 ? 1 : 0;
                done += ptrace(PTRACE_SEIZE, other, nullptr, nullptr) == 0 ? 1 : 0;
                done += OneProcess::sendSignal(other, SIGKILL) ? 1 : 0;
                done += syscall(SYS_tgkill, other, other, SIGKILL) == 0 ? 1 : 0;
                return done;
            });
        };

        QCOMPARE(meddle(false).exitCode, 4);
        QCOMPARE(meddle(true).exitCode, 0);
    }

    void itsOwnFolderAndMemoryStay()
    {
        const QByteArray folder = QFile::encodeName(mInside.path());
        const int memory = static_cast<int>(syscall(SYS_memfd_create, "image", 0));
        QVERIFY(memory >= 0);
        const QByteArray throughProc = "/proc/self/fd/" + QByteArray::number(memory);

        const ForkedChild child = tryIt(
            [&] {
                const QByteArray one = folder + "/one";
                const QByteArray two = folder + "/two";
                void *const block = std::malloc(64 * mebibyte);
                const bool isFine = opens(one, O_WRONLY | O_CREAT | O_EXCL) && opens(one, O_RDONLY)
                    && rename(one.constData(), two.constData()) == 0 && unlink(two.constData()) == 0
                    && opens(folder, O_RDONLY | O_DIRECTORY) && opens(throughProc, O_RDONLY) && block;
                std::free(block);
                return isFine;
            },
            true);

        QCOMPARE(child.exitCode, int(CameThrough));
        close(memory);
    }

    void anAbortStillEndsIt()
    {
        const ForkedChild child = tryIt([]() -> bool { std::abort(); }, true);

        QCOMPARE(child.signal, SIGABRT);
    }

    void memoryBeyondTheBudgetIsNotToBeHad()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("the sanitizer takes terabytes of address space");
#endif
        const QByteArray folder = QFile::encodeName(mInside.path());
        const auto largestBlock = [&](quint64 budget) {
            return ForkedChild::run([&] {
                Sandbox sandbox;
                if (sandbox.enter({folder, {folder}}))
                    return -1;
                sandbox.setBudget({budget, 10});
                int largest = 0; // in units of 100 MiB
                for (std::size_t size = 1; size <= 12; ++size) {
                    void *const block = std::malloc(size * 100 * mebibyte);
                    largest = block ? static_cast<int>(size) : largest;
                    std::free(block);
                }
                return largest;
            });
        };

        QCOMPARE(largestBlock(350 * mebibyte).exitCode, 3);
        QCOMPARE(largestBlock(650 * mebibyte).exitCode, 6);
        QVERIFY(largestBlock(100 * Sandbox::mostMemory).exitCode <= 9);
    }

    void timeBeyondTheBudgetEndsIt()
    {
        const QByteArray folder = QFile::encodeName(mInside.path());

        const ForkedChild child = ForkedChild::run([&] {
            Sandbox sandbox;
            if (sandbox.enter({folder, {folder}}))
                return 1;
            sandbox.setBudget({Sandbox::mostMemory, 0});
            for (volatile bool isOn = true; isOn;) {}
            return 0;
        });

        QCOMPARE(child.signal, SIGXCPU);
    }

    void timeOfItsLifeEndsWhoDoesNotListen()
    {
        const QByteArray folder = QFile::encodeName(mInside.path());

        const ForkedChild child = ForkedChild::run([&] {
            Sandbox sandbox;
            if (sandbox.enter({folder, {folder}}, {Sandbox::mostMemory, 1}))
                return 1;
            sandbox.setBudget({Sandbox::mostMemory, 100});
            std::signal(SIGXCPU, SIG_IGN);
            for (volatile bool isOn = true; isOn;) {}
            return 0;
        });

        QCOMPARE(child.signal, SIGKILL);
    }

    void largeFilesAreNotToBeWritten()
    {
        const QByteArray path = QFile::encodeName(mInside.filePath(QStringLiteral("large")));
        std::signal(SIGXFSZ, SIG_IGN); // the program survives it, too
        const auto restore = qScopeGuard([] { std::signal(SIGXFSZ, SIG_DFL); });
        const auto grow = [&](bool isShutIn) {
            return tryIt(
                [&] {
                    const int file = open(path.constData(), O_WRONLY | O_CREAT, 0600);
                    return ftruncate(file, static_cast<off_t>(Sandbox::largestFile) + 1) == 0;
                },
                isShutIn);
        };

        QCOMPARE(grow(false).exitCode, int(CameThrough));
        QCOMPARE(unlink(path.constData()), 0);
        QCOMPARE(grow(true).signal, SIGXFSZ);
        QCOMPARE(unlink(path.constData()), 0);
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectSandbox)
#include "tst_vantor_inspect_sandbox.moc"
