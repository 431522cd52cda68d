// SPDX-License-Identifier: Apache-2.0
#include "link/CommandLine.h"

#include "Tcp/TcpProtocolParser.h"

#include <QHostAddress>

#include <limits>

namespace Link {

namespace {
constexpr int maxPort = std::numeric_limits<quint16>::max();
constexpr double maxLinger = 3600; // seconds
constexpr double millisecondsPerSecond = 1000;

const QString listenRole = QStringLiteral("listen");
const QString connectRole = QStringLiteral("connect");
} // namespace

CommandLine::CommandLine()
    : mPort(option({QStringLiteral("p"), QStringLiteral("port")}, "TCP port, 1 to 65535.", "N"))
    , mAddress(option("address", "With listen: on this address only, such as 127.0.0.1 (default: on all).", "ADDRESS"))
    , mEcho(option("echo", "Answer every message with the same message."))
    , mStats(option("stats", "Show messages and bytes on stderr every second, and in all at the end."))
    , mNoInput(option("no-input", "Do not read stdin: receive, until a signal comes."))
    , mMaxFrame(option("max-frame",
          "Neither send nor take a frame of more bytes, length and payload (default: 1048576; at most: 67108864). The\n"
          "unit that sends such a frame is told nothing, and what was received of it is dropped.",
          "BYTES"))
    , mLinger(option("linger",
          "After the end of the input stay until nothing has come for so long, for the answers (default: 0.5).",
          "SECONDS"))
    , mVerbose(option("verbose", "Show the log of the link on stderr."))
{
    mParser.setApplicationDescription(QStringLiteral(
        "One end of the link between two units. Every line of stdin is a JSON object and is sent as one message;\n"
        "every payload that comes is printed as one line of JSON: an object, or a string when it is not valid JSON.\n\n"
        "The link comes back by itself. Lines wait while there is no connection, or while the peer does not read.\n"
        "A line that cannot be sent is told with its number, and the next one follows.\n\n"
        "At the end of the input the program sends what it has read, waits for answers (--linger) and ends. Ctrl-C\n"
        "ends it within 3 s, whatever is still to be sent.\n\n"
        "Exit code: 0 all was sent, 1 some was not, 64 wrong usage, 69 it cannot listen on the port, 71 out of "
        "memory,\n"
        "74 stdout cannot be written, 128 and more: stopped by a signal."));
    mParser.addPositionalArgument(QStringLiteral("listen|connect"),
        QStringLiteral("Wait for the other unit (one at a time: the newest), or connect to it."));
    mParser.addPositionalArgument(QStringLiteral("ADDRESS"),
        QStringLiteral("With connect: the IPv4 or IPv6 address of the unit; names are not looked up."),
        QStringLiteral("[ADDRESS]"));
    mParser.addOptions({mPort, mAddress, mEcho, mStats, mNoInput, mMaxFrame, mLinger, mVerbose, mVersion, mHelp});
}

bool CommandLine::readOptions()
{
    mOptions.readsInput = !mParser.isSet(mNoInput);
    mOptions.echo = mParser.isSet(mEcho);
    mOptions.stats = mParser.isSet(mStats);
    mOptions.verbose = mParser.isSet(mVerbose);
    return readRole() && readAddress() && readPort() && readMaxFrame() && readLinger();
}

bool CommandLine::readRole()
{
    const QStringList operands = mParser.positionalArguments();
    const QString role = operands.value(0);
    if (role != listenRole && role != connectRole)
        return refuse(QStringLiteral("listen or connect? See --help"));

    const bool connects = role == connectRole;
    mOptions.action = connects ? Options::Action::Connect : Options::Action::Listen;
    if (operands.size() != (connects ? 2 : 1)) {
        return refuse(connects ? QStringLiteral("connect needs one address, such as 192.0.2.7")
                               : QStringLiteral("listen takes no address but that of --address"));
    }
    if (connects && mParser.isSet(mAddress))
        return refuse(QStringLiteral("--address is for listen"));
    mOptions.address = connects ? operands.value(1) : mParser.value(mAddress);
    return true;
}

bool CommandLine::readAddress()
{
    const bool listensOnAll = mOptions.action == Options::Action::Listen && !mParser.isSet(mAddress);
    return listensOnAll || !QHostAddress(mOptions.address).isNull()
        || refuse(QStringLiteral("\"%1\" is no address, such as 192.0.2.7 or fe80::7%eth0; names are not looked up")
                      .arg(mOptions.address));
}

bool CommandLine::readPort()
{
    bool ok = false;
    mOptions.port = mParser.value(mPort).toInt(&ok);
    return (ok && mOptions.port >= 1 && mOptions.port <= maxPort)
        || refuse(
            QStringLiteral("--port needs a number from 1 to %1, not \"%2\"").arg(maxPort).arg(mParser.value(mPort)));
}

bool CommandLine::readMaxFrame()
{
    if (!mParser.isSet(mMaxFrame))
        return true;
    bool ok = false;
    mOptions.maxFrame = mParser.value(mMaxFrame).toInt(&ok);
    return (ok && mOptions.maxFrame >= 1 && mOptions.maxFrame <= TcpProtocolParser::maxBufferSize)
        || refuse(QStringLiteral("--max-frame needs bytes, from 1 to %1, not \"%2\"")
                      .arg(TcpProtocolParser::maxBufferSize)
                      .arg(mParser.value(mMaxFrame)));
}

bool CommandLine::readLinger()
{
    if (!mParser.isSet(mLinger))
        return true;
    bool ok = false;
    const double seconds = mParser.value(mLinger).toDouble(&ok);
    if (!ok || !(seconds >= 0 && seconds <= maxLinger)) {
        return refuse(QStringLiteral("--linger needs seconds, from 0 to %1, not \"%2\"")
                          .arg(maxLinger)
                          .arg(mParser.value(mLinger)));
    }
    mOptions.linger = qRound(seconds * millisecondsPerSecond);
    return true;
}

} // namespace Link
