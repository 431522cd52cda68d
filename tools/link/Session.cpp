// SPDX-License-Identifier: Apache-2.0
#include "link/Session.h"

#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "link/Payload.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstring>
#include <unistd.h>

using Tools::Terminal::tell;

namespace Link {

namespace {
constexpr int mostOutputKept = 64 * 1024; // bytes
constexpr qint64 mostInputWaiting = 1024LL * 1024; // bytes that the peer has not read
constexpr qint64 mostAnswersWaiting = 64LL * 1024 * 1024; // bytes; they cannot wait on stdin
constexpr int passInterval = 5; // milliseconds
constexpr int statsInterval = 1000; // milliseconds
} // namespace

int tellOutOfMemory()
{
    tell(QStringLiteral("out of memory; a smaller --max-frame needs less"));
    return OutOfMemory;
}

Session::Session(const Options &options, Tools::StopSignals *signals)
    : mOptions(options)
    , mSignals(signals)
    , mEndpoint(Endpoint::create(options))
    , mInput(STDIN_FILENO, options.maxFrame)
    , mStandardOutput(signals)
    , mIsForPerson(Tools::Terminal::isTerminal(STDOUT_FILENO))
    , mInputNotifier(STDIN_FILENO, QSocketNotifier::Read)
    , mSignalNotifier(signals->fileDescriptor(), QSocketNotifier::Read)
{
    mInputNotifier.setEnabled(false);
    connect(&mInputNotifier, &QSocketNotifier::activated, this, [this] {
        mInput.read();
        passInput();
    });
    connect(
        &mSignalNotifier, &QSocketNotifier::activated, this, [this] { end(StoppedBySignal + mSignals->received()); });

    connect(mEndpoint.get(), &Endpoint::connected, this, &Session::passInput, Qt::QueuedConnection);
    connect(mEndpoint.get(), &Endpoint::disconnected, this, &Session::onDisconnected);
    connect(mEndpoint.get(), &Endpoint::received, this, &Session::onReceived);

    for (QTimer *const timer : {&mPassTimer, &mOutputTimer, &mLingerTimer})
        timer->setSingleShot(true);
    connect(&mPassTimer, &QTimer::timeout, this, &Session::passInput);
    connect(&mOutputTimer, &QTimer::timeout, this, &Session::writeOutput);
    connect(&mLingerTimer, &QTimer::timeout, this, [this] { end(mExitCode); });
    connect(&mStatsTimer, &QTimer::timeout, this, [this] { tell(mTraffic.sinceLastTime()); });
}

int Session::run()
{
    if (!mEndpoint->open())
        return CannotListen;
    if (mOptions.stats)
        mStatsTimer.start(statsInterval);
    if (QCoreApplication::exec() == OutOfMemory) {
        end(tellOutOfMemory());
        return mExitCode;
    }

    if (mEndpoint->bytesToWrite() > 0) {
        tell(QStringLiteral("%1 bytes were not sent").arg(mEndpoint->bytesToWrite()));
        if (mExitCode == AllSent)
            mExitCode = SomeNotSent;
    }
    if (mOptions.stats)
        tell(mTraffic.inAll());
    return mExitCode;
}

void Session::onDisconnected()
{
    mInputNotifier.setEnabled(false);
    mIsDroppingAnswers = false;
    mPassTimer.stop();
    if (mEndpoint->bytesUnsent() > 0) {
        tell(QStringLiteral("%1 bytes that were waiting to be sent are lost").arg(mEndpoint->bytesUnsent()));
        mExitCode = SomeNotSent;
    }
    if (mInput.isDone())
        end(mExitCode);
}

void Session::onReceived(const QByteArray &payload)
{
    if (mIsEnding)
        return;
    mTraffic.addReceived(frameSize(payload.size()));
    const QByteArray line = lineOf(payload);
    mOutput += mIsForPerson ? Tools::Terminal::printable(QString::fromUtf8(line.chopped(1))).toUtf8() + '\n' : line;
    if (mOutput.size() > mostOutputKept)
        writeOutput();
    else if (!mOutputTimer.isActive())
        mOutputTimer.start();
    if (mOptions.echo)
        answer(payload);
    if (mLingerTimer.isActive())
        mLingerTimer.start();
}

void Session::answer(const QByteArray &payload)
{
    const bool wasDropping = std::exchange(mIsDroppingAnswers, mEndpoint->bytesToWrite() > mostAnswersWaiting);
    if (!mIsDroppingAnswers) {
        mEndpoint->send(payload);
        mTraffic.addSent(frameSize(payload.size()));
    } else if (!wasDropping) {
        tell(QStringLiteral("the peer does not read; answers are dropped"));
        mExitCode = SomeNotSent;
    }
}

void Session::passInput()
{
    if (!mOptions.readsInput || mIsEnding)
        return;
    while (takesMore()) {
        const std::optional<LineReader::Line> line = mInput.next();
        if (!line)
            break;
        sendLine(*line);
    }
    const bool wantsMore = takesMore();
    mInputNotifier.setEnabled(wantsMore && !mInput.atEnd());
    if (wantsMore && mInput.atEnd() && mEndpoint->bytesToWrite() == 0)
        onInputPassed();
    else if (mEndpoint->isConnected() && !mInputNotifier.isEnabled())
        mPassTimer.start(passInterval);
}

void Session::sendLine(const LineReader::Line &line)
{
    if (line.text.trimmed().isEmpty() && !line.isTooLong)
        return;
    QString problem = QStringLiteral("longer than %1 bytes, see --max-frame").arg(mOptions.maxFrame);
    const QByteArray payload = line.isTooLong ? QByteArray() : payloadOf(line.text, mOptions.maxFrame, &problem);
    if (payload.isEmpty()) {
        tell(QStringLiteral("line %1 is not sent: %2").arg(line.number).arg(problem));
        mExitCode = SomeNotSent;
        return;
    }
    mEndpoint->send(payload);
    mTraffic.addSent(frameSize(payload.size()));
}

bool Session::takesMore() const
{
    return mEndpoint->isConnected() && mEndpoint->bytesToWrite() < mostInputWaiting;
}

void Session::onInputPassed()
{
    if (mInput.error() != 0) {
        tell(QStringLiteral("cannot read the input: %1").arg(QString::fromLocal8Bit(std::strerror(mInput.error()))));
        mExitCode = SomeNotSent;
    }
    mLingerTimer.start(mOptions.linger);
}

bool Session::writeOutput()
{
    const bool isWritten = mStandardOutput.write(mOutput);
    mOutput.clear();
    if (isWritten)
        return true;
    if (mSignals->received() != 0) {
        end(StoppedBySignal + mSignals->received());
    } else {
        tell(QStringLiteral("cannot write to stdout: %1")
                 .arg(QString::fromLocal8Bit(std::strerror(mStandardOutput.error()))));
        end(NotWritten);
    }
    return false;
}

void Session::end(int exitCode)
{
    if (mIsEnding)
        return;
    mIsEnding = true;
    mExitCode = exitCode;
    if (mSignals->received() == 0)
        writeOutput();
    QCoreApplication::exit();
}

} // namespace Link
