// SPDX-License-Identifier: Apache-2.0
#include "plot/AxisRange.h"

#include <algorithm>
#include <cmath>

namespace Plot {

namespace {
constexpr double largest = 1e100; ///< beyond it, arithmetic with ranges would overflow
constexpr double smallest = 1e-100; ///< of a logarithmic axis
constexpr double leastSpan = 1e-9; ///< of a linear axis, as a share of its numbers
constexpr double rounding = 1e-6; ///< of a tick's step

bool isPlottable(double value)
{
    return std::abs(value) <= largest; // false for NaN
}

/// 1, 2, 2.5 or 5 times a power of ten.
double niceStep(double span, int tickCount)
{
    const double rough = span / std::max(tickCount, 1);
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 2.5, 5.0}) {
        if (factor * power >= rough * (1 - rounding))
            return factor * power;
    }
    return 10 * power;
}

/// Digits behind the point that a multiple of the step needs.
int decimalsOf(double step)
{
    constexpr int most = 12;
    int decimals = 0;
    for (double scaled = step; decimals < most && std::abs(scaled - std::round(scaled)) > rounding * scaled;
         scaled *= 10)
        ++decimals;
    return decimals;
}

QString label(double value, int decimals)
{
    constexpr double longest = 1e6;
    constexpr double shortest = 1e-5;
    const double magnitude = std::abs(value);
    const bool isPlain = magnitude < longest && (magnitude >= shortest || magnitude <= 0);
    const QString digits = isPlain ? QString::number(magnitude, 'f', decimals) : QString::number(magnitude, 'g', 4);
    return value < 0 ? QStringLiteral("−") + digits : digits;
}

/// The bounds that the axis asks for, or else those of the data; a range of sensible size in any case.
DataRange boundsOf(const Axis &axis, const DataRange &data)
{
    const bool hasMinimum = isPlottable(axis.minimum);
    const bool hasMaximum = isPlottable(axis.maximum);
    double low = data.isEmpty() ? 0 : data.low();
    double high = data.isEmpty() ? 1 : data.high();
    if (hasMinimum) {
        low = axis.minimum;
        high = std::max(high, low);
    }
    if (hasMaximum) {
        high = axis.maximum;
        low = hasMinimum ? std::min(low, high) : std::min(data.isEmpty() ? high - 1 : data.low(), high);
    }
    DataRange bounds;
    bounds.add(low);
    bounds.add(high);
    return bounds;
}
} // namespace

void DataRange::add(double value)
{
    if (!isPlottable(value))
        return;
    mLow = std::min(mLow, value);
    mHigh = std::max(mHigh, value);
    if (value >= smallest)
        mLowPositive = std::min(mLowPositive, value);
}

DataRange DataRange::positive() const
{
    DataRange range;
    range.add(mLowPositive);
    if (!range.isEmpty())
        range.add(mHigh);
    return range;
}

AxisRange::AxisRange(const Axis &axis, const DataRange &data, int tickCount, Fit fit)
    : mScale(axis.scale)
{
    if (mScale == Scale::Logarithmic)
        layLogarithmic(axis, data, fit);
    else
        layLinear(axis, data, tickCount, fit);
}

void AxisRange::layLinear(const Axis &axis, const DataRange &data, int tickCount, Fit fit)
{
    const DataRange bounds = boundsOf(axis, data);
    mLow = bounds.low();
    mHigh = bounds.high();
    if (mHigh - mLow <= leastSpan * std::max(std::abs(mLow), std::abs(mHigh))) {
        const double margin = mLow == 0 ? 1 : std::abs(mLow) / 10;
        mLow -= margin;
        mHigh += margin;
    }

    const double niceOne = niceStep(mHigh - mLow, tickCount);
    const double step = axis.wholeNumbers ? std::max(1.0, std::ceil(niceOne)) : niceOne;
    if (fit == Fit::ToTicks) {
        if (!isPlottable(axis.minimum))
            mLow = std::floor(mLow / step + rounding) * step;
        if (!isPlottable(axis.maximum))
            mHigh = std::ceil(mHigh / step - rounding) * step;
    }
    const double first = std::ceil(mLow / step - rounding);
    const auto count = static_cast<int>(std::floor(mHigh / step + rounding) - first) + 1;
    const int decimals = decimalsOf(step);
    for (int i = 0; i < count; ++i) {
        const double value = (first + i) * step + 0.0; // no negative zero
        mTicks.append({value, label(value, decimals)});
    }
}

void AxisRange::layLogarithmic(const Axis &axis, const DataRange &data, Fit fit)
{
    constexpr double fewDecades = 2.6; // then 2 and 5 carry numbers too
    constexpr int mostLabels = 10;

    Axis positiveAxis = axis;
    if (!(axis.minimum >= smallest))
        positiveAxis.minimum = automatic;
    if (!(axis.maximum >= smallest))
        positiveAxis.maximum = automatic;
    DataRange fallback;
    fallback.add(1);
    fallback.add(10);
    const DataRange positive = data.positive();
    const DataRange bounds = boundsOf(positiveAxis, positive.isEmpty() ? fallback : positive);
    mLow = std::max(bounds.low(), smallest);
    mHigh = std::max(bounds.high(), mLow);
    if (mHigh / mLow < 1 + leastSpan) {
        mLow /= 2;
        mHigh *= 2;
    }

    const bool isShort = std::log10(mHigh / mLow) <= fewDecades;
    const auto hasNumber = [isShort](int digit) { return digit == 1 || (isShort && (digit == 2 || digit == 5)); };
    QVector<Tick> candidates;
    const auto firstDecade = static_cast<int>(std::floor(std::log10(mLow)));
    const auto lastDecade = static_cast<int>(std::ceil(std::log10(mHigh)));
    const int stride = std::max(1, (lastDecade - firstDecade) / mostLabels);
    for (int decade = firstDecade; decade <= lastDecade; ++decade) {
        for (int digit = 1; digit <= 9; ++digit) {
            const double value = digit * std::pow(10.0, decade);
            const bool isNumbered = hasNumber(digit) && (decade - firstDecade) % stride == 0;
            candidates.append({value, isNumbered ? label(value, std::max(0, -decade)) : QString()});
        }
    }

    if (fit == Fit::ToTicks) {
        const double low = mLow;
        const double high = mHigh;
        for (const Tick &tick : candidates) {
            if (tick.value <= low * (1 + rounding) && !isPlottable(positiveAxis.minimum))
                mLow = tick.value;
        }
        const auto end = std::find_if(candidates.cbegin(), candidates.cend(),
            [high](const Tick &tick) { return tick.value >= high * (1 - rounding); });
        if (end != candidates.cend() && !isPlottable(positiveAxis.maximum))
            mHigh = end->value;
    }
    for (const Tick &tick : candidates) {
        if (tick.value >= mLow * (1 - rounding) && tick.value <= mHigh * (1 + rounding))
            mTicks.append(tick);
    }
}

double AxisRange::share(double value) const
{
    if (!isPlottable(value))
        return automatic;
    if (mScale == Scale::Linear)
        return (value - mLow) / (mHigh - mLow);
    return value < smallest ? automatic : std::log(value / mLow) / std::log(mHigh / mLow);
}

} // namespace Plot
