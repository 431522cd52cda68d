// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/LiveReading.h"

namespace FiberInspection {

bool LiveReading::hasFibre() const
{
    return state == State::FibreAtBorder || state == State::OutOfFocus || state == State::Measured;
}

} // namespace FiberInspection
