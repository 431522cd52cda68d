// SPDX-License-Identifier: Apache-2.0
#include "Helpers/OrvelStringValidator.h"

#include <arpa/inet.h>

namespace {
bool isAddress(int family, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    in6_addr address = {}; // the larger of both
    return !bytes.contains('\0') && inet_pton(family, bytes.constData(), &address) == 1;
}
} // namespace

OrvelStringValidator::OrvelStringValidator(QObject *parent)
    : QObject(parent)
{
}

bool OrvelStringValidator::validateIpv4(const QString &text)
{
    return isAddress(AF_INET, text);
}

bool OrvelStringValidator::validateIpv6(const QString &text)
{
    return isAddress(AF_INET6, text);
}
