// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>

namespace Simulation {

/// How a lens blurs on its way from far out on one side of the focus (-1) to far out on the other (1).
///
/// The blur of defocus grows with the distance from the focus and adds to the lens's own one as squares.
class Lens
{
public:
    static constexpr double sharpestBlur = 0.9; ///< micrometres; the lens's own

    /// @param greatestBlur micrometres, at both ends of the way
    explicit Lens(double greatestBlur)
        : mGreatestBlur(std::max(greatestBlur, sharpestBlur))
    {
    }

    double blurAt(double place) const ///< micrometres
    {
        return std::sqrt(sharpestBlur * sharpestBlur + squaredGrowth() * place * place);
    }

    /// Micrometres of blur that defocus alone adds, below zero on the near side.
    double defocusAt(double place) const { return place * std::sqrt(squaredGrowth()); }

private:
    double squaredGrowth() const { return mGreatestBlur * mGreatestBlur - sharpestBlur * sharpestBlur; }

    double mGreatestBlur;
};

} // namespace Simulation
