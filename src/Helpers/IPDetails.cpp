// SPDX-License-Identifier: Apache-2.0
#include "Helpers/IPDetails.h"

#include <QPointer>

#include <utility>

namespace {
using Setter = void (IPDetails::*)(const QString &);
} // namespace

IPDetails::IPDetails(QObject *parent)
    : QObject(parent)
{
}

IPDetails::IPDetails(const IPDetails &other, QObject *parent)
    : QObject(parent)
{
    *this = other;
}

IPDetails &IPDetails::operator=(const IPDetails &other)
{
    if (this == &other)
        return *this;
    const std::pair<Setter, QString> values[] = {
        {&IPDetails::set_address, other.address()},
        {&IPDetails::set_netmask, other.netmask()},
        {&IPDetails::set_gateway, other.gateway()},
        {&IPDetails::set_primaryDNS, other.primaryDNS()},
        {&IPDetails::set_secondaryDNS, other.secondaryDNS()},
        {&IPDetails::set_domain, other.domain()},
    };
    const QPointer<IPDetails> self(this);
    for (const auto &[set, value] : values) {
        (this->*set)(value);
        if (!self) // a receiver of the change has deleted it
            break;
    }
    return *this;
}

bool IPDetails::operator==(const IPDetails &other) const
{
    return address() == other.address() && netmask() == other.netmask() && gateway() == other.gateway()
        && primaryDNS() == other.primaryDNS() && secondaryDNS() == other.secondaryDNS() && domain() == other.domain();
}
