// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"

#include <QStringList>

#include <functional>

/// One process of vantor-link. What it writes is collected whenever events are processed; no process outlives the test.
class LinkProgram : public ChildProcess
{
public:
    /// @param command what starts the program, such as nsenter; empty: it is started as it is
    explicit LinkProgram(const QStringList &command = {});
    ~LinkProgram() override;

    void begin(const QStringList &arguments);
    void listen(int port, const QStringList &options = {}); ///< and waits until it does
    void connectTo(const QString &address, int port, const QStringList &options = {});

    const QByteArray &output() const { return mOutput; }
    const QByteArray &messages() const { return mMessages; }
    QList<QByteArray> outputLines() const;
    bool says(const char *message) const { return mMessages.contains(message); }
    void forgetMessages() { mMessages.clear(); }

    bool waitForMessage(const char *message, int milliseconds = 20000) const;
    bool waitForOutput(const QByteArray &text, int milliseconds = 20000);
    bool waitForEnd(int milliseconds = 60000);
    int endCode() const { return exitStatus() == NormalExit ? exitCode() : -1; } ///< -1: it crashed

    void sendSignal(int number);
    qint64 memory() const; ///< resident bytes
    qint64 peakMemory() const; ///< the most it ever had, bytes
    int descriptors() const;

    /// Until it sleeps, again and again, although there is more for it to read.
    /// @param left what it could still read, bytes
    bool waitUntilHeldBack(const std::function<qint64()> &left) const;
    qint64 inputRead() const; ///< how far it has come in the file that is its stdin, bytes

protected:
    void setupChildProcess() override;

private:
    bool isAsleep() const;
    qint64 status(const QByteArray &key) const;

    QStringList mCommand;
    QByteArray mOutput;
    QByteArray mMessages;
};

/// Processes events until the condition holds. Unlike QTest::qWaitFor() it never sleeps while there are events.
bool waitUntil(const std::function<bool()> &condition, int milliseconds);

/// Resident memory may differ by this much from one look to the next. Bytes.
qint64 memorySlack();
