// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QFlags>
#include <QObject>
#include <QString>
#include <QVector>

#include <atomic>

class IPDetails;

/// The network of this unit: its interfaces' addresses, its name server, the files of its DHCP client.
///
/// Every function works on the caller's thread and waits for the programs it runs: up to three seconds for each that
/// changes something, two for an IPv6 address, one for a route. One that changes something waits three more for who is
/// changing the same files. What was not found leaves the output as it was, unless the function says otherwise. A name
/// that Linux gives no interface is refused where it would become part of a path that is opened or of a command.
///
/// @code
/// QString address;
/// if (NetworkHelper::getIPv4Address(QStringLiteral("eth0"), address))
///     qInfo() << "this unit is" << address;
/// IPDetails details;
/// if (NetworkHelper::getInterfaceIPv4Details(QStringLiteral("eth0"), details))
///     NetworkHelper::updateSystemDNSServers(details.primaryDNS(), details.secondaryDNS(), details.domain());
/// @endcode
class VANTORBASE_EXPORT NetworkHelper : public QObject
{
    Q_OBJECT

public:
    NetworkHelper() = delete;

    /// Indexes of the values of an IPDetails.
    enum IPInfo : int { Address, Netmask, Gateway, PrimaryDNS, SecondaryDNS, Domain, Max };
    Q_ENUM(IPInfo)

    /// What configureSystem() does, in its order.
    enum ConfigurationStep : int {
        LinkExitHook = 0x01, ///< of the DHCP client; when it fails the others go on
        PrepareNameServerFile = 0x02, ///< /tmp/dnsmasq.conf; when it fails this is the end
        ReplaceNameServerFile = 0x04, ///< /etc/dnsmasq.conf
        PrepareResolverFile = 0x08, ///< /tmp/resolv.conf; when it fails this is the end
        ReplaceResolverFile = 0x10, ///< /etc/resolv.conf
        RestartNameServer = 0x20,
    };
    Q_DECLARE_FLAGS(ConfigurationSteps, ConfigurationStep)
    Q_FLAG(ConfigurationSteps)

    /// What updateSystemDNSServers() does, in its order; the first step that fails is the end.
    enum class ServerStep : int {
        None,
        Accept, ///< the addresses and the domain
        Write, ///< /tmp/resolv.dmasq.bkp, from the present list
        Replace, ///< /tmp/resolv.dmasq
        Link, ///< /etc/resolv.dmasq
        Restart, ///< of the name server
    };
    Q_ENUM(ServerStep)

    /// Writes a configuration for dhclient; starting the client is up to the caller.
    /// @param timeout seconds
    /// @param fileName the file's path, also when it could not be written
    static bool createDhcpClientConfig(quint32 timeout, bool ipv6, QString &fileName);

    /// Installs the DHCP client's exit hook and makes the local name server the one that all programs ask. To be called
    /// once at start, as root, before any DHCP client runs.
    static void configureSystem();

    /// Likewise, and tells what failed:
    ///
    /// @code
    /// NetworkHelper::ConfigurationSteps failed;
    /// if (!NetworkHelper::configureSystem(failed))
    ///     qWarning() << "no name service:" << failed;
    /// if (failed & NetworkHelper::LinkExitHook)
    ///     qWarning() << "addresses have to be typed";
    /// @endcode
    ///
    /// A hook counts as linked when the link is there afterwards, whatever ln said.
    /// @param failed all steps that failed; those that were not come to are not among them
    /// @return whether everything was done
    static bool configureSystem(ConfigurationSteps &failed);

    /// Adds servers for the local name server to ask; empty ones are left out. A domain alone is not added.
    static bool updateSystemDNSServers(const QString &primary, const QString &secondary, const QString &domain);

    /// Likewise. @param failed the step, or None when all was done
    static bool updateSystemDNSServers(
        const QString &primary, const QString &secondary, const QString &domain, ServerStep &failed);

    /// Where the hook writes what it was told about an interface. Text for any name, also one that is refused
    /// elsewhere.
    static QString getInterfaceIPDetailsFileName(const QString &interface, bool ipv6);

    // Both read what the hook has written; values that are not known become "-". False without an address. The record
    // stays as it is when there is no such file.
    static bool getInterfaceIPv4Details(const QString &interface, IPDetails &details);
    static bool getInterfaceIPv6Details(const QString &interface, IPDetails &details);

    // What the kernel knows.
    static bool getIPv4Address(const QString &interface, QString &address);
    static bool getIPv6LinkLocalAddress(const QString &interface, QString &address); ///< with the length of the prefix
    static bool getIPv6GlobalAddress(const QString &interface, QString &address); ///< with the length of the prefix
    static bool getIPv6DefaultGateway(const QString &interface, QString &gateway); ///< empty if there is no such route

    /// What came of asking the kernel. NotAsked: the command for it did not start, or did not end in time.
    enum class Lookup : int { Found, None, NotAsked };

    /// As the three above, which cannot tell "there is none" from "nobody knows":
    ///
    /// @code
    /// QString address;
    /// if (NetworkHelper::lookUpIPv6GlobalAddress(QStringLiteral("eth0"), address) == NetworkHelper::Lookup::NotAsked)
    ///     qWarning() << "the kernel could not be asked";
    /// @endcode
    static Lookup lookUpIPv6LinkLocalAddress(const QString &interface, QString &address);
    static Lookup lookUpIPv6GlobalAddress(const QString &interface, QString &address);
    static Lookup lookUpIPv6DefaultGateway(const QString &interface, QString &gateway);

    static bool getIPv6LinkLocalInterfaceName(QString &interface); ///< an interface that has a link-local address

    static bool getMACAddress(const QString &interface, QVector<unsigned char> &bytes); ///< appends to the bytes
    static bool getMACAddress(const QString &interface, QString &text); ///< 02:00:5e:10:00:ff; empty without one

    /// A locally administered unicast address. Shorter than 17 characters when the random source fails.
    static void generateRandomMACAddress(QString &mac);

    // Text is six hexadecimal numbers with a colon between each two; other texts are not converted.
    static void convertStringMACAddressToByteArray(const QString &mac, QVector<unsigned char> &bytes); ///< appends
    static void convertByteArrayToStringMACAddress(const QVector<unsigned char> &bytes, QString &mac);
    static void convertStringMACAddressToNumeric(const QString &mac, quint64 &number); ///< a part beyond ff spills over
    static void convertNumericMACAddressToString(quint64 number, QString &mac);

    /// Shorthand such as 10.1 is valid, and so is an address with text behind it.
    static bool ipAddressIsValid(const QString &address);

    /// Without the tester's hardware IPv6 queries have fixed answers, and the name server is left alone.
    static void setIsHardwareSimulation(bool isSimulation);

private:
    static Lookup lookUpIPv6Address(const QString &interface, const QString &scope, QString &address);

    static std::atomic<bool> mIsHardwareSimulation;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(NetworkHelper::ConfigurationSteps)
