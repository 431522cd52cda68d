// SPDX-License-Identifier: Apache-2.0
#include "Helpers/IPDetails.h"

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
    set_address(other.address());
    set_netmask(other.netmask());
    set_gateway(other.gateway());
    set_primaryDNS(other.primaryDNS());
    set_secondaryDNS(other.secondaryDNS());
    set_domain(other.domain());
    return *this;
}

bool IPDetails::operator==(const IPDetails &other) const
{
    return address() == other.address() && netmask() == other.netmask() && gateway() == other.gateway()
        && primaryDNS() == other.primaryDNS() && secondaryDNS() == other.secondaryDNS() && domain() == other.domain();
}
