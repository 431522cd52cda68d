// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

/// What Qt's reader of JSON must not get to see: of the values of equal keys it loses the memory, and deep nesting it
/// finds only on the way down.
struct JsonFault
{
    enum Kind : int { None, TooDeep, KeyTwice };

    Kind kind = None;
    int offset = 0; ///< bytes from the start, where it is found
};

/// The first such fault, in one pass over the bytes. All else is left to Qt: with None it may still be no JSON.
JsonFault findJsonFault(const QByteArray &json);
