// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/StandardOutput.h"
#include "link/Endpoint.h"
#include "link/ExitCode.h"
#include "link/LineReader.h"
#include "link/Traffic.h"

#include <QSocketNotifier>
#include <QTimer>

namespace Tools {
class StopSignals;
}

namespace Link {

int tellOutOfMemory(); ///< @return the exit code of the program

/// One run of the program: from stdin to the link, and from the link to stdout.
class Session : public QObject
{
    Q_OBJECT

public:
    Session(const Options &options, Tools::StopSignals *signals);

    int run(); ///< @return the exit code of the program

private:
    void onDisconnected();
    void onReceived(const QByteArray &payload);
    void answer(const QByteArray &payload);

    void passInput(); ///< sends as much of the input as the link takes now, and asks to be called again
    void sendLine(const LineReader::Line &line);
    bool takesMore() const;
    void onInputPassed();

    bool writeOutput(); ///< false when there is no use in going on
    void end(int exitCode);

    const Options &mOptions;
    Tools::StopSignals *const mSignals;
    const std::unique_ptr<Endpoint> mEndpoint;
    LineReader mInput;
    Tools::StandardOutput mStandardOutput;
    const bool mIsForPerson;
    QByteArray mOutput; ///< not written yet
    Traffic mTraffic;
    QSocketNotifier mInputNotifier;
    QSocketNotifier mSignalNotifier;
    QTimer mPassTimer; ///< runs while the peer does not read
    QTimer mOutputTimer; ///< fires when the events at hand are done
    QTimer mStatsTimer;
    QTimer mLingerTimer;
    bool mIsDroppingAnswers = false;
    bool mIsEnding = false;
    int mExitCode = AllSent;
};

} // namespace Link
