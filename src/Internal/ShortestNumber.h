// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <charconv>
#include <cmath>
#include <iterator>

/// The shortest decimal form that reads back as the same number, in every locale; "0" for what is not finite.
template <typename Number>
QByteArray shortestNumber(Number number)
{
    if (!std::isfinite(number))
        return "0";
    char digits[64];
    const std::to_chars_result end = std::to_chars(std::begin(digits), std::end(digits), number);
    return {digits, static_cast<int>(end.ptr - digits)};
}
