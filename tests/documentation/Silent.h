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
