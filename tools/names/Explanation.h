// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/TestNameGenerator.h"

#include <QString>

namespace Names {

/// Why a pair of names gives no run.
struct Explanation
{
    QString error; ///< the name of the code
    QString sentence;
    int column = 0; ///< from 1; 0 where it is the names as a whole
};

/// @param fault what the generator found with this pair and limit
Explanation explanationOf(const NameGenFault &fault, const QString &first, const QString &last, int max);

} // namespace Names
