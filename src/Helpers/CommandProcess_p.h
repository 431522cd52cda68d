// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// A command that can be ended with all that it has started, also what has left its group, its session or its parent.
///
/// A watcher stands between us and the command: a small program that does nothing but wait, and to whom the kernel
/// gives the orphans of the command. It ends as the command ends; what goes on in the background is nobody's then, and
/// goes on. The command leads a process group of its own. Where the program is not installed, a copy of this process
/// watches. Lives in one scope of one thread.
class CommandProcess : public ChildProcess
{
public:
    CommandProcess();
    ~CommandProcess() override;

    /// @param words the program and its arguments
    void startCommand(const QStringList &words);

    /// For the command that is started next. @return a path by which it finds what the descriptor is of, whatever
    /// becomes of the names of that; it can hold this one
    QString passOn(int descriptor);

    /// Whether it has started. That the system has started the watcher is not enough: it may have no room for another
    /// process.
    bool waitForCommand(int timeout); ///< milliseconds

    /// Kills the command and all that has come of it. Waits until they are dead, one second at most for what the kernel
    /// does not let go or what multiplies faster; the watcher ends by itself then, as the command did.
    void killAll() const;

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
    QVector<int> mPassedOn; ///< our own copies
    Texts mArguments;
    Texts mEnvironment; ///< empty: as ours
};
