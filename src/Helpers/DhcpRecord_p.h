// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/NetworkHelper.h"

#include <array>
#include <optional>

class QIODevice;

/// What the DHCP client's hook has written about one interface: lines of a key, an equals sign and a value.
struct DhcpRecord
{
    enum class Family : int { IPv4, IPv6 };

    std::array<QString, NetworkHelper::Max> values; ///< by NetworkHelper::IPInfo; "-" where nothing is known
    bool hasAddress = false;

    /// Unknown keys and lines without an equals sign are passed over; a value may be empty. Nothing for more than 4
    /// MiB, of which the rest is not read.
    static std::optional<DhcpRecord> read(QIODevice *device, Family family);
};
