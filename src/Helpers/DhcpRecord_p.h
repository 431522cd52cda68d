// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/NetworkHelper.h"

#include <array>

class QIODevice;

/// What the DHCP client's hook has written about one interface: lines of a key, an equals sign and a value.
struct DhcpRecord
{
    enum class Family : int { IPv4, IPv6 };

    std::array<QString, NetworkHelper::Max> values; ///< by NetworkHelper::IPInfo; "-" where nothing is known
    bool hasAddress = false;

    /// Unknown keys and lines without a value are passed over. Of a huge file only the beginning is read.
    static DhcpRecord read(QIODevice *device, Family family);
};
