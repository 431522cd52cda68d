// SPDX-License-Identifier: Apache-2.0
#include "Helpers/NetworkHelper.h"
#include "Helpers/SystemHelper.h"
#include "LogCapture.h"

#include <QElapsedTimer>
#include <QtTest>

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

namespace {
/// Holds back the programs that this process starts, as a machine does that is short of memory or disk: the kernel asks
/// a thread here before it executes one.
class HeldPrograms
{
public:
    static constexpr int forEver = -1;

    HeldPrograms()
        : mListener(install())
    {
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
        constexpr int turn = 20; // milliseconds
        while (!mIsOver) {
            pollfd request{mListener, POLLIN, 0};
            if (poll(&request, 1, turn) <= 0)
                continue;
            seccomp_notif asked{};
            if (ioctl(mListener, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0)
                continue; // gone meanwhile
            ++mCount;
            if (mDelay == forEver)
                continue;
            QThread::msleep(static_cast<unsigned long>(mDelay));
            seccomp_notif_resp answer{};
            answer.id = asked.id;
            answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
            ioctl(mListener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
        }
    }

    const int mListener;
    std::atomic<bool> mIsOver = false;
    std::atomic<int> mDelay = 0;
    std::atomic<int> mCount = 0;
    std::thread mThread;
};

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
        mPrograms.setDelay(100);
        const int heldBefore = mPrograms.count();
        QByteArray output;
        int exitCode = -77;

        const bool ok = SystemHelper::runCommand(QStringLiteral("echo late"), 20000, &output, &exitCode);

        QCOMPARE(mPrograms.count(), heldBefore + 1);
        QVERIFY(ok);
        QCOMPARE(output, QByteArray("late\n"));
        QCOMPARE(exitCode, 0);
    }

    void aProgramThatDoesNotStartIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::forEver);
        const int heldBefore = mPrograms.count();
        const LogCapture log;
        QByteArray output = "untouched";
        int exitCode = -77;
        QElapsedTimer timer;
        timer.start();

        const bool ok = SystemHelper::runCommand(QStringLiteral("echo never"), 20000, &output, &exitCode);

        QCOMPARE(mPrograms.count(), heldBefore + 1);
        QVERIFY(!ok);
        QCOMPARE(output, QByteArray("untouched"));
        QCOMPARE(exitCode, -1);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: Failed to start command:  echo never")});
        QVERIFY2(timer.elapsed() >= 500, qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
        QVERIFY(!hasChildren());
    }

    void theListOfProcessesIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::forEver);
        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("bash")));
        QVERIFY(!hasChildren());
    }

    void aRandomAddressIsGivenUp()
    {
        mPrograms.setDelay(HeldPrograms::forEver);
        QString address = QStringLiteral("untouched");
        NetworkHelper::generateRandomMACAddress(address);
        QCOMPARE(address, QString());
        QVERIFY(!hasChildren());
    }

private:
    HeldPrograms mPrograms;
};

QTEST_GUILESS_MAIN(TestSystemHelperStart)
#include "tst_systemhelper_start.moc"
