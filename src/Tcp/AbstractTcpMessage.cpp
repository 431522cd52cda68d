// SPDX-License-Identifier: Apache-2.0
#include "Tcp/AbstractTcpMessage.h"

#include "Helpers/JsonHelper.h"

AbstractTcpMessage::AbstractTcpMessage() = default;

AbstractTcpMessage::~AbstractTcpMessage() = default;

QByteArray AbstractTcpMessage::toByteArray() const
{
    return JsonHelper::toByteArray(*this);
}

bool AbstractTcpMessage::fromByteArray(const QByteArray &data)
{
    return JsonHelper::fromJson(data, this);
}
