// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <cmath>
#include <cstdio>

/// Numbers as text in the plainest form: all decimals that a double has, then rounding digit by digit, halves away from
/// zero. Letters of exponents are capital ones.
namespace ReferenceNumbers {

/// The digits of a finite number without sign and point; the point is behind `pointAt` of them.
struct Digits
{
    QByteArray text;
    int pointAt = 0;
};

inline Digits exactDigits(double value)
{
    constexpr int allDecimals = 1080; // no double has more
    constexpr int decimalsFromMillionth = 80;
    const double size = std::fabs(value);
    char text[1500];
    std::snprintf(text, sizeof text, "%.*f", size < 1e-6 ? allDecimals : decimalsFromMillionth, size);
    QByteArray digits(text);
    const int point = digits.indexOf('.');
    return {digits.remove(point, 1), point};
}

/// Cuts to `count` digits, at least 0; one more where the rounding carries into a new one.
inline Digits roundedTo(Digits digits, int count)
{
    if (count >= digits.text.size())
        return digits;
    const bool up = digits.text[count] >= '5';
    digits.text.truncate(count);
    if (!up)
        return digits;
    int i = count - 1;
    for (; i >= 0 && digits.text[i] == '9'; --i)
        digits.text[i] = '0';
    if (i >= 0) {
        digits.text[i] = static_cast<char>(digits.text[i] + 1);
    } else {
        digits.text.prepend('1');
        ++digits.pointAt;
    }
    return digits;
}

inline QString withSign(double value, const QByteArray &text)
{
    return QString::fromLatin1(value < 0 ? '-' + text : text);
}

inline QString notFinite(double value)
{
    return std::isnan(value) ? QStringLiteral("NAN") : withSign(value, "INF");
}

/// "12.50"
inline QString fixed(double value, int decimals)
{
    if (!std::isfinite(value))
        return notFinite(value);
    const Digits exact = exactDigits(value);
    Digits digits = roundedTo(exact, exact.pointAt + decimals);
    while (digits.text.size() < digits.pointAt + decimals)
        digits.text.append('0');
    QByteArray text = digits.text.left(digits.pointAt);
    if (decimals > 0)
        text += '.' + digits.text.mid(digits.pointAt);
    return withSign(value, text);
}

/// So many digits from the first that is not 0; the power of ten of the first one comes back in `exponent`.
inline QByteArray significantDigits(double value, int count, int *exponent)
{
    *exponent = 0;
    Digits digits = exactDigits(value);
    int zeros = 0;
    while (zeros < digits.text.size() && digits.text[zeros] == '0')
        ++zeros;
    if (zeros == digits.text.size())
        return {count, '0'};
    digits.text.remove(0, zeros);
    digits.pointAt -= zeros;
    digits = roundedTo(digits, count);
    *exponent = digits.pointAt - 1;
    return digits.text.leftJustified(count, '0').left(count);
}

inline QByteArray exponentText(const QByteArray &digits, int exponent)
{
    QByteArray text = digits.left(1);
    if (digits.size() > 1)
        text += '.' + digits.mid(1);
    text += exponent < 0 ? "E-" : "E+";
    return text + QByteArray::number(std::abs(exponent)).rightJustified(2, '0');
}

/// "1.250E+01"
inline QString scientific(double value, int decimals)
{
    if (!std::isfinite(value))
        return notFinite(value);
    int exponent = 0;
    const QByteArray digits = significantDigits(value, decimals + 1, &exponent);
    return withSign(value, exponentText(digits, exponent));
}

/// "12.5", or "1.25E+10" where the exponent is below -4 or not below the number of digits.
inline QString significant(double value, int count)
{
    if (!std::isfinite(value))
        return notFinite(value);
    count = count == 0 ? 1 : count;
    int exponent = 0;
    QByteArray digits = significantDigits(value, count, &exponent);
    const int whole = exponent >= -4 && exponent < count ? exponent + 1 : 1; // digits before the point
    while (digits.size() > 1 && digits.size() > whole && digits.endsWith('0'))
        digits.chop(1);
    if (exponent < -4 || exponent >= count)
        return withSign(value, exponentText(digits, exponent));
    if (exponent < 0)
        return withSign(value, digits == "0" ? digits : "0." + QByteArray(-exponent - 1, '0') + digits);
    return withSign(value, digits.size() > whole ? digits.left(whole) + '.' + digits.mid(whole) : digits);
}

} // namespace ReferenceNumbers
