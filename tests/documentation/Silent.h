// SPDX-License-Identifier: Apache-2.0
#pragma once

class Elsewhere; // declared here only

/// Says nothing of how it is used.
class Silent
{
};

/// Shows something, but not to the compiler.
///
///     const Unheard unheard;
struct Unheard
{
};

/// Says too little.
/// @code
/// const Brief brief;
/// @endcode
class Brief
{
};

/// Is shown where it is said to be.
/// @see use
struct Part
{
    int value = int(); ///< this is no function
};

/// Is not.
/// @see use
struct LostPart
{
    int value = 0;
};

/// Does something, which it has to show itself.
/// @see use
struct DoingPart
{
    int value() const { return 0; }
};

/// @code
/// Part part;
/// part.value = 1;
/// DoingPart doing;
/// @endcode
void use();
