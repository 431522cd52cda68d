// SPDX-License-Identifier: Apache-2.0
#include "net/Commands.h"

#include "Helpers/BaseDirHelper.h"
#include "Helpers/NetworkHelper.h"
#include "Helpers/OrvelStringValidator.h"
#include "common/JsonWriter.h"
#include "common/Terminal.h"
#include "net/InterfaceFacts.h"

#include <QFileInfo>

#include <cstdio>
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

QByteArray yesOrNo(const char *label, bool value)
{
    return QByteArray(label).leftJustified(16) + (value ? "yes\n" : "no\n");
}

/// The plan is told in any case; it is carried out when it was confirmed, also when there is no room for telling it.
template <typename Action>
Outcome afterConfirmation(const Options &options, const QByteArray &plan, Action action)
{
    if (!options.confirmed)
        return {WrongUsage, plan, QStringLiteral("nothing was changed; add --yes to do this")};
    const bool isTold = print(plan);
    const Outcome outcome = action();
    return isTold || outcome.exitCode != Done ? outcome
                                              : Outcome{NotWritten, {}, QStringLiteral("cannot write the report")};
}
} // namespace

bool print(const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

Outcome show(const Options &options)
{
    const QStringList all = InterfaceFacts::allInterfaces();
    if (!options.operand.isEmpty() && !all.contains(options.operand))
        return {NotDone, {}, QStringLiteral("there is no interface \"%1\"").arg(options.operand)};

    Outcome outcome;
    const Tools::TextStyle style(!options.json && Tools::Terminal::hasColors(STDOUT_FILENO));
    const QStringList wanted = options.operand.isEmpty() ? all : QStringList{options.operand};
    for (const QString &interface : wanted) {
        const InterfaceFacts facts = InterfaceFacts::of(interface);
        outcome.output += options.json ? facts.toJson() : facts.toText(style);
    }
    return outcome;
}

Outcome check(const Options &options)
{
    const bool isAddress = NetworkHelper::ipAddressIsValid(options.operand);
    const bool isIpv4 = OrvelStringValidator::validateIpv4(options.operand);
    const bool isIpv6 = OrvelStringValidator::validateIpv6(options.operand);
    const ExitCode exitCode = isAddress || isIpv4 || isIpv6 ? Done : NotDone;
    if (!options.json)
        return {exitCode,
            yesOrNo("strict IPv4", isIpv4) + yesOrNo("shorthand IPv4", isAddress) + yesOrNo("IPv6", isIpv6), {}};

    Tools::JsonWriter json;
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
        return {NotDone, {}, QStringLiteral("the random source fails")};
    return {Done, mac.toUtf8() + '\n', {}};
}

Outcome parseMac(const Options &options)
{
    QVector<unsigned char> bytes;
    NetworkHelper::convertStringMACAddressToByteArray(options.operand, bytes);
    if (bytes.isEmpty())
        return {NotDone, {}, QStringLiteral("\"%1\" is no MAC address").arg(options.operand)};
    QString text;
    quint64 number = 0;
    NetworkHelper::convertByteArrayToStringMACAddress(bytes, text);
    NetworkHelper::convertStringMACAddressToNumeric(options.operand, number);
    return {Done, text.toUtf8() + "  " + QByteArray::number(number) + '\n', {}};
}

Outcome addServers(const Options &options)
{
    const QByteArray plan = "adds name servers:\n"
                            "  writes   /tmp/resolv.dmasq, by way of /tmp/resolv.dmasq.bkp\n"
                            "  links    /etc/resolv.dmasq to it\n"
                            "  restarts dnsmasq\n";
    return afterConfirmation(options, plan, [&]() -> Outcome {
        if (NetworkHelper::updateSystemDNSServers(options.primary, options.secondary, options.domain))
            return {};
        return {NotDone, {}, QStringLiteral("the name servers were not added; --verbose tells why")};
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
            return {NotDone, {}, QStringLiteral("there is no %1; nothing was changed").arg(hook)};
        NetworkHelper::ConfigurationSteps failed;
        if (NetworkHelper::configureSystem(failed))
            return {};
        return {NotDone, {}, QStringLiteral("not all of it was done; --verbose tells why")};
    });
}

} // namespace Net
