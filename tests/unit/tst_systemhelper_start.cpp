// SPDX-License-Identifier: Apache-2.0
#include "Helpers/NetworkHelper.h"
#include "Helpers/SystemHelper.h"
#include "LogCapture.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {
/// Holds back the programs that this process starts, as a machine does that is short of memory or disk: the kernel asks
/// a thread here before it executes one.
class HeldPrograms
{
public:
    static constexpr int tooLong = 30000; // milliseconds

    HeldPrograms()
    {
        qputenv("QTEST_DISABLE_STACK_DUMP", "1"); // would start a debugger, which is held, too
        mListener = install();
        if (mListener >= 0)
            mThread = std::thread([this] { listen(); });
    }
    ~HeldPrograms()
    {
        mIsOver = true;
        if (mThread.joinable())
            mThread.join();
        close(mListener);
    }
    HeldPrograms(const HeldPrograms &) = delete;
    HeldPrograms &operator=(const HeldPrograms &) = delete;

    bool isInstalled() const { return mListener >= 0; }
    void setDelay(int milliseconds) { mDelay = milliseconds; }
    int count() const { return mCount; } ///< programs that were held back

private:
    /// @return what to listen on; -1 where the kernel does not offer it
    static int install()
    {
        sock_filter instructions[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_execve, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program{static_cast<unsigned short>(std::size(instructions)), instructions};
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
            return -1;
        return static_cast<int>(
            syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
    }

    void listen()
    {
        constexpr int turn = 10; // milliseconds
        std::vector<std::pair<quint64, QDeadlineTimer>> held;
        while (!mIsOver) {
            pollfd request{mListener, POLLIN, 0};
            seccomp_notif asked{};
            if (poll(&request, 1, turn) > 0 && ioctl(mListener, SECCOMP_IOCTL_NOTIF_RECV, &asked) == 0) {
                ++mCount;
                held.emplace_back(asked.id, mDelay);
            }
            for (auto &[id, end] : held) {
                if (end.hasExpired())
                    letGo(std::exchange(id, 0));
            }
            held.erase(
                std::remove_if(held.begin(), held.end(), [](const auto &one) { return one.first == 0; }), held.end());
        }
    }

    void letGo(quint64 id) const
    {
        seccomp_notif_resp answer{};
        answer.id = id;
        answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        ioctl(mListener, SECCOMP_IOCTL_NOTIF_SEND, &answer); // it may be gone
    }

    int mListener = -1;
    std::atomic<bool> mIsOver = false;
    std::atomic<int> mDelay = 0;
    std::atomic<int> mCount = 0;
    std::thread mThread;
};

/// Whether the limit was waited for, and not the program.
bool gaveUp(const QElapsedTimer &timer, qint64 limit)
{
    constexpr qint64 leeway = 10; // milliseconds; timers are coarse
    return timer.elapsed() >= limit - leeway && timer.elapsed() < HeldPrograms::tooLong;
}

bool hasChildren()
{
    return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}
} // namespace

class TestSystemHelperStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!mPrograms.isInstalled())
            QSKIP("the kernel lets nobody hold back a program");
    }

    void aProgramThatStartsLateIsWaitedFor()
    {
        mPrograms.setDelay(20);
        const int heldBefore = mPrograms.count();
        QByteArray output;
        int exitCode = -77;

        const bool ok = SystemHelper::runCommand(QStringLiteral("echo late"), 20000, &output, &exitCode);

        QCOMPARE(mPrograms.count(), heldBefore + 2); // and the one that watches it
        QVERIFY(ok);
        QCOMPARE(output, QByteArray("late\n"));
        QCOMPARE(exitCode, 0);
    }

    void aProgramThatDoesNotStartIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::tooLong);
        const LogCapture log;
        QByteArray output = "untouched";
        int exitCode = -77;
        QElapsedTimer timer;
        timer.start();

        const bool ok = SystemHelper::runCommand(QStringLiteral("echo never"), 20000, &output, &exitCode);

        QVERIFY(!ok);
        QCOMPARE(output, QByteArray("untouched"));
        QCOMPARE(exitCode, -1);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: Failed to start command:  echo never")});
        QVERIFY2(gaveUp(timer, 500), qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
        QVERIFY(!hasChildren());
    }

    void theListOfProcessesIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::tooLong);
        QElapsedTimer timer;
        timer.start();

        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("bash")));

        QVERIFY2(gaveUp(timer, 3000), qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
        QVERIFY(!hasChildren());
    }

    void aRandomAddressIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::tooLong);
        QString address = QStringLiteral("untouched");
        QElapsedTimer timer;
        timer.start();

        NetworkHelper::generateRandomMACAddress(address);

        QCOMPARE(address, QString());
        QVERIFY2(gaveUp(timer, 500), qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
        QVERIFY(!hasChildren());
    }

private:
    HeldPrograms mPrograms;
};

QTEST_GUILESS_MAIN(TestSystemHelperStart)
#include "tst_systemhelper_start.moc"
