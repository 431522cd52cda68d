// SPDX-License-Identifier: Apache-2.0
// Whatever text is taken for an address: what is accepted reads back as the same, and the checks agree with each other.
#include "Helpers/IPDetails.h"
#include "Helpers/NetworkHelper.h"
#include "Helpers/OrvelStringValidator.h"

#include <QHostAddress>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

void checkMac(const QString &text)
{
    QVector<unsigned char> bytes;
    quint64 number = 0;
    NetworkHelper::convertStringMACAddressToByteArray(text, bytes);
    NetworkHelper::convertStringMACAddressToNumeric(text, number);
    must(bytes.isEmpty() || bytes.size() == 6, "six bytes or none");

    QString fromBytes;
    NetworkHelper::convertByteArrayToStringMACAddress(bytes, fromBytes);
    must(fromBytes.size() == (bytes.isEmpty() ? 0 : 17), "bytes become 17 characters");
    QVector<unsigned char> again;
    NetworkHelper::convertStringMACAddressToByteArray(fromBytes, again);
    must(again == bytes, "which read back as the same bytes");

    QString fromNumber;
    NetworkHelper::convertNumericMACAddressToString(number, fromNumber);
    quint64 numberAgain = 0;
    NetworkHelper::convertStringMACAddressToNumeric(fromNumber, numberAgain);
    must(numberAgain == (number & 0xFFFFFFFFFFFF), "the low 48 bits read back");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));

    const bool isIpv4 = OrvelStringValidator::validateIpv4(text);
    const bool isIpv6 = OrvelStringValidator::validateIpv6(text);
    must(!isIpv4 || NetworkHelper::ipAddressIsValid(text), "a strict address is an address");
    must(!(isIpv4 && isIpv6), "no text is of both families");
    must(!isIpv4 || QHostAddress(text).protocol() == QAbstractSocket::IPv4Protocol, "Qt takes it for IPv4, too");
    must(!isIpv6 || QHostAddress(text).protocol() == QAbstractSocket::IPv6Protocol, "Qt takes it for IPv6, too");
    checkMac(text);

    must(NetworkHelper::getInterfaceIPDetailsFileName(text, true) == QLatin1String("/tmp/ip6Details.") + text,
        "the name of a record is text");
    IPDetails details;
    must(!text.contains(QLatin1Char('/')) || !NetworkHelper::getInterfaceIPv4Details(text, details),
        "no record is read outside of its folder");
    return 0;
}
