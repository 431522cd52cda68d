// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"

#include <cerrno>

namespace Records {

/// What an errno of writing comes to.
inline Fault faultOf(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Fault::DiskFull;
    case EROFS:
    case EACCES:
    case EPERM:
        return Fault::ReadOnly;
    case ENOMEM:
        return Fault::OutOfMemory;
    default:
        return Fault::Unusable;
    }
}

} // namespace Records
