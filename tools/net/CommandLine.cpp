// SPDX-License-Identifier: Apache-2.0
#include "net/CommandLine.h"

#include <QRegularExpression>

namespace Net {

CommandLine::CommandLine()
    : mJson(option("json", "With show and check: print one JSON object a line."))
    , mDomain(option("domain", "With dns add: a domain to add as well.", "DOMAIN"))
    , mApplication(option("application",
          "With configure: the application's folder under /opt, which has scripts/ipdetails (default: vantor).",
          "NAME"))
    , mYes(option("yes", "With dns add and configure: do it. Without it they only tell what they would do."))
    , mVerbose(option("verbose", "Show the library's log on stderr."))
{
    mParser.setApplicationDescription(
        QStringLiteral("Shows and sets the network of this unit.\n\n"
                       "  show [INTERFACE]               addresses, gateway and name servers of one or all interfaces\n"
                       "  check ADDRESS                  what each check of the library makes of a text\n"
                       "  mac random                     a locally administered MAC address\n"
                       "  mac parse MAC                  its bytes and its number\n"
                       "  dns add PRIMARY [SECONDARY]    adds servers for the local name server to ask\n"
                       "  configure                      makes the local name server the one that programs ask\n\n"
                       "Exit code: 0 done, 1 failed, not found or not accepted, 64 wrong usage, 71 out of memory,\n"
                       "74 the report cannot be written."));
    mParser.addPositionalArgument(
        QStringLiteral("COMMAND"), QStringLiteral("One of those above."), QStringLiteral("COMMAND..."));
    mParser.addOptions({mJson, mDomain, mApplication, mYes, mVerbose, mVersion, mHelp});
}

bool CommandLine::readOptions()
{
    mOptions.json = mParser.isSet(mJson);
    mOptions.domain = mParser.value(mDomain);
    mOptions.confirmed = mParser.isSet(mYes);
    mOptions.verbose = mParser.isSet(mVerbose);
    if (mParser.isSet(mApplication))
        mOptions.application = mParser.value(mApplication);
    return readCommand(mParser.positionalArguments()) && checkCombinations();
}

bool CommandLine::readCommand(QStringList words)
{
    if (words.isEmpty())
        return refuse(QStringLiteral("which command? See --help"));
    const QString command = words.takeFirst();
    if (command == QLatin1String("show") && words.contains(QString())) // it would show all
        return refuse(QStringLiteral("show needs the name of an interface, or none"));
    if (command == QLatin1String("show"))
        return takeOperand(Options::Action::Show, words, 0, 1);
    if (command == QLatin1String("check"))
        return takeOperand(Options::Action::Check, words, 1, 1);
    if (command == QLatin1String("configure"))
        return takeOperand(Options::Action::Configure, words, 0, 0);
    if (command == QLatin1String("mac"))
        return readMac(words);
    if (command == QLatin1String("dns"))
        return readServers(words);
    return refuse(QStringLiteral("there is no command \"%1\"; see --help").arg(command));
}

bool CommandLine::readMac(const QStringList &words)
{
    const QString what = words.value(0);
    if (what == QLatin1String("random"))
        return takeOperand(Options::Action::RandomMac, words.mid(1), 0, 0);
    if (what == QLatin1String("parse"))
        return takeOperand(Options::Action::ParseMac, words.mid(1), 1, 1);
    return refuse(QStringLiteral("mac needs random or parse"));
}

bool CommandLine::readServers(const QStringList &words)
{
    if (words.value(0) != QLatin1String("add"))
        return refuse(QStringLiteral("dns needs add"));
    mOptions.primary = words.value(1);
    mOptions.secondary = words.value(2);
    if (mOptions.primary.isEmpty())
        return refuse(QStringLiteral("dns add needs the address of a server"));
    const bool isDomainEmpty = mParser.isSet(mDomain) && mOptions.domain.isEmpty();
    if (words.contains(QString()) || isDomainEmpty) // or less would be added than was asked for
        return refuse(QStringLiteral("dns add needs addresses and a domain that are not empty"));
    return takeOperand(Options::Action::AddServers, words.mid(1), 1, 2);
}

bool CommandLine::takeOperand(Options::Action action, const QStringList &words, int least, int most)
{
    if (words.size() < least)
        return refuse(QStringLiteral("an argument is missing; see --help"));
    if (words.size() > most)
        return refuse(QStringLiteral("\"%1\" is too much; see --help").arg(words.at(most)));
    mOptions.action = action;
    mOptions.operand = words.value(0);
    return true;
}

bool CommandLine::checkCombinations()
{
    using Action = Options::Action;
    const bool changes = mOptions.action == Action::AddServers || mOptions.action == Action::Configure;
    if (mOptions.json && mOptions.action != Action::Show && mOptions.action != Action::Check)
        return refuse(QStringLiteral("--json goes with show and check"));
    if (mParser.isSet(mDomain) && mOptions.action != Action::AddServers)
        return refuse(QStringLiteral("--domain goes with dns add"));
    if (mParser.isSet(mApplication) && mOptions.action != Action::Configure)
        return refuse(QStringLiteral("--application goes with configure"));
    if (mOptions.confirmed && !changes)
        return refuse(QStringLiteral("--yes goes with dns add and configure"));

    static const QRegularExpression folderName(QStringLiteral("\\A[A-Za-z0-9][A-Za-z0-9._-]*\\z"));
    return folderName.match(mOptions.application).hasMatch()
        || refuse(QStringLiteral("--application needs the name of a folder, not \"%1\"").arg(mOptions.application));
}

} // namespace Net
