// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QVector>

#include <csignal>
#include <unistd.h>

/// While it lives, this thread hears of the ends of children, as Qt has to: with the signal blocked it waits for ever.
class ChildSignal
{
public:
    ChildSignal()
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        pthread_sigmask(SIG_UNBLOCK, &signals, &mFormer);
    }
    ~ChildSignal()
    {
        pthread_sigmask(SIG_SETMASK, &mFormer, nullptr);
        if (sigismember(&mFormer, SIGCHLD) == 1)
            ::kill(getpid(), SIGCHLD); // who waits for it may have missed one of another child meanwhile
    }
    ChildSignal(const ChildSignal &) = delete;
    ChildSignal &operator=(const ChildSignal &) = delete;

private:
    sigset_t mFormer{};
};

/// A command that can be ended with all that it has started, also what has left its group, its session or its parent.
///
/// A watcher stands between us and the command: a small program that does nothing but wait, and to whom the kernel
/// gives the orphans of the command. It ends as the command ends; what goes on in the background is nobody's then, and
/// goes on. The command leads a process group of its own. Where the program is not installed, a copy of this process
/// watches. Lives in one scope of one thread.
class CommandProcess : private ChildSignal, public QProcess
{
public:
    CommandProcess();
    ~CommandProcess() override;

    /// Starts a command line, cut at blanks; double quotes group words.
    void startCommand(const QString &command);

    /// Whether it has started. That the system has started the watcher is not enough: it may have no room for another
    /// process.
    bool waitForCommand(int timeout); ///< milliseconds

    /// Kills the command and all that has come of it. Waits until they are dead, one second at most for what the kernel
    /// does not let go or what multiplies faster; the watcher ends by itself then, as the command did.
    void killAll() const;

    /// Ends a command that has not started yet.
    void killUnstarted();

protected:
    void setupChildProcess() override;

private:
    /// Texts as execve() takes them, made before the fork: after it nothing may take memory.
    class Texts
    {
    public:
        void assign(const QString &first, const QStringList &others); ///< an empty first one is left out
        bool isEmpty() const { return mTexts.isEmpty(); }
        char *const *pointers() const { return mPointers.constData(); }

    private:
        QVector<QByteArray> mTexts;
        QVector<char *> mPointers;
    };

    const QByteArray mWatcher; ///< path; empty if there is none
    const int mNoRoom; ///< the watcher tells by it that it could not start the command
    Texts mArguments;
    Texts mEnvironment; ///< empty: as ours
};
