// SPDX-License-Identifier: Apache-2.0
#include "study/report/Statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Study {

namespace {
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double z = 1.959963984540054; // 95 % of a normal distribution lie within so many standard deviations

/// In place of a number that there is not.
QString nothing()
{
    return QStringLiteral("–");
}

enum class Side : int { Low = -1, High = 1 };

double wilsonBound(int hits, int trials, Side side)
{
    if (trials == 0)
        return side == Side::Low ? 0.0 : 1.0;
    const double n = trials;
    const double rate = hits / n;
    const double middle = rate + z * z / (2.0 * n);
    const double half = z * std::sqrt(rate * (1.0 - rate) / n + z * z / (4.0 * n * n));
    return std::clamp((middle + static_cast<int>(side) * half) / (1.0 + z * z / n), 0.0, 1.0);
}

/// Per cent, with a decimal where a whole number would say "none" or "all" of what is neither.
QString percentNumber(double share)
{
    const double percent = 100.0 * share;
    const bool isFine = (percent >= 0.05 && percent < 1.0) || (percent > 99.0 && percent < 99.95);
    return QString::number(percent, 'f', isFine ? 1 : 0);
}
} // namespace

void Proportion::add(bool hit)
{
    ++mTrials;
    if (hit)
        ++mHits;
}

void Proportion::add(const Proportion &other)
{
    mHits += other.mHits;
    mTrials += other.mTrials;
}

double Proportion::rate() const
{
    return mTrials > 0 ? static_cast<double>(mHits) / mTrials : nan;
}

double Proportion::low() const
{
    return wilsonBound(mHits, mTrials, Side::Low);
}

double Proportion::high() const
{
    return wilsonBound(mHits, mTrials, Side::High);
}

QString Proportion::toText() const
{
    if (mTrials == 0)
        return nothing();
    return QStringLiteral("%1 (%2–%3)").arg(rateText(), percentNumber(low()), percentNumber(high()));
}

QString Proportion::rateText() const
{
    return percentText(rate());
}

QString Proportion::countText() const
{
    return QStringLiteral("%1 of %2").arg(mHits).arg(mTrials);
}

double Sample::mean() const
{
    return mValues.isEmpty() ? nan : std::accumulate(mValues.cbegin(), mValues.cend(), 0.0) / mValues.size();
}

double Sample::deviation() const
{
    if (mValues.size() < 2)
        return nan;
    const double middle = mean();
    const double squares = std::accumulate(mValues.cbegin(), mValues.cend(), 0.0,
        [&](double sum, double value) { return sum + (value - middle) * (value - middle); });
    return std::sqrt(squares / (mValues.size() - 1));
}

double Sample::quantile(double share) const
{
    if (mValues.isEmpty())
        return nan;
    QVector<double> sorted = mValues;
    std::sort(sorted.begin(), sorted.end());
    const double position = share * (sorted.size() - 1);
    const int below = static_cast<int>(position);
    const int above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (position - below);
}

double Sample::highest() const
{
    return mValues.isEmpty() ? nan : *std::max_element(mValues.cbegin(), mValues.cend());
}

QString numberText(double value, int decimals)
{
    return std::isfinite(value) ? QString::number(value, 'f', decimals) : nothing();
}

QString signedText(double value, int decimals)
{
    if (!std::isfinite(value))
        return nothing();
    const QString text = QString::number(std::abs(value), 'f', decimals);
    const bool isZero = text.toDouble() <= 0.0;
    return isZero ? text : (value < 0.0 ? QStringLiteral("−") : QStringLiteral("+")) + text;
}

QString percentText(double share)
{
    return std::isfinite(share) ? percentNumber(share) + QStringLiteral(" %") : nothing();
}

} // namespace Study
