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

/// @param error what the generator made of this pair, not NoError
Explanation explanationOf(TestNameGenerator::GenerateError error, const QString &first, const QString &last, int max);

} // namespace Names
