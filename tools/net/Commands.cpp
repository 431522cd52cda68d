// SPDX-License-Identifier: Apache-2.0
#include "net/Commands.h"

#include "Helpers/BaseDirHelper.h"
#include "Helpers/NetworkHelper.h"
#include "Helpers/OrvelStringValidator.h"
#include "Internal/JsonWriter.h"
#include "common/Program.h"
#include "common/Terminal.h"
#include "net/InterfaceFacts.h"

#include <QFileInfo>

#include <unistd.h>

namespace Net {

namespace {
constexpr int macTextSize = 17;

/// The application that configureSystem() works for.
class Application : public BaseDirHelper
{
public:
    explicit Application(const QString &name)
        : mName(name)
    {
    }
    QString applicationDirName() override { return mName; }

private:
    QString mName;
};

struct StepWords
{
    NetworkHelper::ConfigurationStep step;
    const char *words;
};

// in the order of the plan
constexpr StepWords stepWords[] = {
    {NetworkHelper::LinkExitHook, "linking the hook"},
    {NetworkHelper::PrepareNameServerFile, "writing /tmp/dnsmasq.conf, which was the end"},
    {NetworkHelper::ReplaceNameServerFile, "writing /etc/dnsmasq.conf"},
    {NetworkHelper::PrepareResolverFile, "writing /tmp/resolv.conf, which was the end"},
    {NetworkHelper::ReplaceResolverFile, "writing /etc/resolv.conf"},
    {NetworkHelper::RestartNameServer, "restarting dnsmasq"},
};

QString wordsOf(NetworkHelper::ConfigurationSteps steps)
{
    QStringList words;
    for (const StepWords &known : stepWords) {
        if (steps & known.step)
            words.append(QString::fromLatin1(known.words));
    }
    return words.join(QStringLiteral(", "));
}

const char *wordsOf(NetworkHelper::ServerStep step)
{
    switch (step) {
    case NetworkHelper::ServerStep::None:
        break;
    case NetworkHelper::ServerStep::Accept:
        return "taking these for name servers and a domain";
    case NetworkHelper::ServerStep::Write:
        return "copying /etc/resolv.dmasq to /tmp/resolv.dmasq.bkp";
    case NetworkHelper::ServerStep::Replace:
        return "writing /tmp/resolv.dmasq";
    case NetworkHelper::ServerStep::Link:
        return "linking /etc/resolv.dmasq";
    case NetworkHelper::ServerStep::Restart:
        return "restarting dnsmasq";
    }
    return "";
}

/// For the user of a change that was not made, or not as a whole.
Outcome failure(const QString &what)
{
    return {Tools::NotPassed, {}, QStringLiteral("this failed: %1; --verbose tells why").arg(what)};
}

QByteArray yesOrNo(const char *label, bool value)
{
    return QByteArray(label).leftJustified(16) + (value ? "yes\n" : "no\n");
}

/// The plan is told in any case; it is carried out when it was confirmed, also when there is no room for telling it.
template <typename Action>
Outcome afterConfirmation(const Options &options, const QByteArray &plan, Action action)
{
    if (!options.confirmed)
        return {Tools::WrongUsage, plan, QStringLiteral("nothing was changed; add --yes to do this")};
    const int told = Tools::print(plan);
    const Outcome outcome = action();
    return told == Tools::Done || outcome.exitCode != Tools::Done ? outcome : Outcome{told, {}, {}};
}
} // namespace

Outcome show(const Options &options)
{
    const QStringList all = InterfaceFacts::allInterfaces();
    if (all.isEmpty()) // not even the loopback
        return {Tools::NotPassed, {}, QStringLiteral("the kernel could not be asked for its interfaces")};
    if (!options.operand.isEmpty() && !all.contains(options.operand))
        return {Tools::NotPassed, {}, QStringLiteral("there is no interface \"%1\"").arg(options.operand)};

    Outcome outcome;
    const Tools::TextStyle style(!options.json && Tools::Terminal::hasColors(STDOUT_FILENO));
    const QStringList wanted = options.operand.isEmpty() ? all : QStringList{options.operand};
    for (const QString &interface : wanted) {
        const InterfaceFacts facts = InterfaceFacts::of(interface);
        for (const QString &record : facts.unreadRecords)
            Tools::Terminal::tell(QStringLiteral("%1 is not read; --verbose tells why").arg(record));
        for (const QString &fact : facts.notAsked) {
            Tools::Terminal::tell(QStringLiteral("%1: the kernel could not be asked for the %2")
                                      .arg(Tools::Terminal::printable(interface), fact));
        }
        if (!facts.notAsked.isEmpty() || !facts.unreadRecords.isEmpty())
            outcome.exitCode = Tools::NotPassed;
        outcome.output += options.json ? facts.toJson() : facts.toText(style);
    }
    return outcome;
}

Outcome check(const Options &options)
{
    const bool isAddress = NetworkHelper::ipAddressIsValid(options.operand);
    const bool isIpv4 = OrvelStringValidator::validateIpv4(options.operand);
    const bool isIpv6 = OrvelStringValidator::validateIpv6(options.operand);
    const int exitCode = isAddress || isIpv4 || isIpv6 ? Tools::Done : Tools::NotPassed;
    if (!options.json)
        return {exitCode,
            yesOrNo("strict IPv4", isIpv4) + yesOrNo("shorthand IPv4", isAddress) + yesOrNo("IPv6", isIpv6), {}};

    JsonWriter json;
    json.beginObject();
    json.member("text", options.operand);
    json.member("ipAddressIsValid", isAddress);
    json.member("validateIpv4", isIpv4);
    json.member("validateIpv6", isIpv6);
    json.endObject();
    return {exitCode, json.bytes() + '\n', {}};
}

Outcome randomMac()
{
    QString mac;
    NetworkHelper::generateRandomMACAddress(mac);
    if (mac.size() != macTextSize)
        return {Tools::NotPassed, {}, QStringLiteral("the random source fails")};
    return {Tools::Done, mac.toUtf8() + '\n', {}};
}

Outcome parseMac(const Options &options)
{
    QVector<unsigned char> bytes;
    NetworkHelper::convertStringMACAddressToByteArray(options.operand, bytes);
    if (bytes.isEmpty())
        return {Tools::NotPassed, {}, QStringLiteral("\"%1\" is no MAC address").arg(options.operand)};
    QString text;
    quint64 number = 0;
    NetworkHelper::convertByteArrayToStringMACAddress(bytes, text);
    NetworkHelper::convertStringMACAddressToNumeric(options.operand, number);
    return {Tools::Done, text.toUtf8() + "  " + QByteArray::number(number) + '\n', {}};
}

Outcome addServers(const Options &options)
{
    const QByteArray plan = "adds name servers:\n"
                            "  writes   /tmp/resolv.dmasq, by way of /tmp/resolv.dmasq.bkp\n"
                            "  links    /etc/resolv.dmasq to it\n"
                            "  restarts dnsmasq\n";
    return afterConfirmation(options, plan, [&]() -> Outcome {
        NetworkHelper::ServerStep failed = NetworkHelper::ServerStep::None;
        if (NetworkHelper::updateSystemDNSServers(options.primary, options.secondary, options.domain, failed))
            return {};
        return failure(QString::fromLatin1(wordsOf(failed)));
    });
}

Outcome configure(const Options &options)
{
    Application application(options.application);
    const QByteArray plan = "makes the local name server the one that programs ask:\n"
                            "  links    /etc/dhcp/dhclient-exit-hooks.d/ipdetails to "
        + BaseDirHelper::scriptDir().toUtf8()
        + "ipdetails\n"
          "  writes   /etc/dnsmasq.conf, by way of /tmp/dnsmasq.conf\n"
          "  writes   /etc/resolv.conf, by way of /tmp/resolv.conf\n"
          "  restarts dnsmasq\n";
    return afterConfirmation(options, plan, []() -> Outcome {
        const QString hook = BaseDirHelper::scriptDir() + QStringLiteral("ipdetails");
        if (!QFileInfo::exists(hook))
            return {Tools::NotPassed, {}, QStringLiteral("there is no %1; nothing was changed").arg(hook)};
        NetworkHelper::ConfigurationSteps failed;
        if (NetworkHelper::configureSystem(failed))
            return {};
        return failure(wordsOf(failed));
    });
}

} // namespace Net
