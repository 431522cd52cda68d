// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <random>

/// Random numbers that are the same on every machine: the standard fixes the engine's output, but not the
/// distributions'.
class EndfaceRandom
{
public:
    explicit EndfaceRandom(quint64 seed)
        : mEngine(seed)
    {
    }

    /// 0 <= value < 1.
    double uniform() { return static_cast<double>(mEngine() >> 11U) * 0x1p-53; }

    /// low <= value < high.
    double uniform(double low, double high) { return low + (high - low) * uniform(); }

    /// low <= value <= high.
    int integer(int low, int high) { return low + static_cast<int>((high - low + 1) * uniform()); }

    /// Mean 0, standard deviation 1, never beyond 3.5: the sum of the four quarters of one draw.
    float normal()
    {
        const quint64 bits = mEngine();
        const quint64 sum = (bits & 0xffffU) + (bits >> 16U & 0xffffU) + (bits >> 32U & 0xffffU) + (bits >> 48U);
        return (static_cast<float>(sum) - 131070.0F) * (1.7320508F / 65536.0F);
    }

private:
    std::mt19937_64 mEngine;
};
