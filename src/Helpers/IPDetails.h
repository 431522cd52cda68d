// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Property.h"
#include "VantorBase_export.h"

/// The settings of one network interface as text. The user interface watches them.
///
/// @code
/// IPDetails shown;
/// QObject::connect(&shown, &IPDetails::address_changed, [](const QString &address) { qInfo() << address; });
/// IPDetails found;
/// if (NetworkHelper::getInterfaceIPv4Details(QStringLiteral("eth0"), found) && found != shown)
///     shown = found; // tells what has changed
/// @endcode
class VANTORBASE_EXPORT IPDetails : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, address, {}) // of IPv4, or of IPv6 as the DHCP client tells it
    VANTOR_PROPERTY(QString, netmask, {}) // of IPv4, or the length of the prefix
    VANTOR_PROPERTY(QString, gateway, {})
    VANTOR_PROPERTY(QString, primaryDNS, {})
    VANTOR_PROPERTY(QString, secondaryDNS, {})
    VANTOR_PROPERTY(QString, domain, {})

public:
    explicit IPDetails(QObject *parent = nullptr);

    // Copies take the six values by the setters: signals tell of the changes, and all are dirty. Parents are not
    // copied. The values are those of the moment of the call, whatever the receivers of the changes do; one of them may
    // delete either object, and the result is not to be used then.
    IPDetails(const IPDetails &other, QObject *parent = nullptr);
    IPDetails &operator=(const IPDetails &other);

    bool operator==(const IPDetails &other) const; ///< the six values
    bool operator!=(const IPDetails &other) const { return !(*this == other); }
};
