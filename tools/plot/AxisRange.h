// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"

#include <QString>
#include <QVector>

namespace Plot {

/// Bounds of the numbers that an axis has to show. What is not finite, or beyond reason, does not count.
class DataRange
{
public:
    void add(double value);

    bool isEmpty() const { return mLow > mHigh; }
    double low() const { return mLow; }
    double high() const { return mHigh; }
    DataRange positive() const; ///< of the numbers above zero alone

private:
    static constexpr double none = std::numeric_limits<double>::infinity();

    double mLow = none;
    double mHigh = -none;
    double mLowPositive = none;
};

struct Tick
{
    double value = 0;
    QString label; ///< empty: a minor one
};

/// An axis laid over its data.
class AxisRange
{
public:
    enum class Fit : int { ToData, ToTicks };

    /// @param tickCount about so many ticks are wanted
    AxisRange(const Axis &axis, const DataRange &data, int tickCount, Fit fit);

    double low() const { return mLow; }
    double high() const { return mHigh; }
    const QVector<Tick> &ticks() const { return mTicks; }

    /// 0 at the low end of the axis and 1 at the high one, beyond them for what lies outside; NaN for what has no
    /// place.
    double share(double value) const;

private:
    void layLinear(const Axis &axis, const DataRange &data, int tickCount, Fit fit);
    void layLogarithmic(const Axis &axis, const DataRange &data, Fit fit);

    Scale mScale;
    double mLow = 0;
    double mHigh = 1;
    QVector<Tick> mTicks; ///< rising
};

} // namespace Plot
