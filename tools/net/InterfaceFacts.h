// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Terminal.h"

#include <QByteArray>
#include <QStringList>

namespace Net {

/// All that the library can tell about one interface; what is not known is empty.
struct InterfaceFacts
{
    QString name;
    QString mac;
    QString address;
    QString netmask;
    QString gateway;
    QStringList nameServers; ///< of both families
    QString domain;
    QString ipv6LinkLocal; ///< these with the length of the prefix
    QString ipv6Global;
    QString ipv6Gateway;
    QStringList notAsked; ///< for what the kernel could not be asked, in words
    QStringList unreadRecords; ///< files of the DHCP client that are there

    static InterfaceFacts of(const QString &interface);
    static QStringList allInterfaces();

    QByteArray toText(const Tools::TextStyle &style) const;
    QByteArray toJson() const;
};

} // namespace Net
