// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QVector>

namespace Study {

/// So many of so many.
class Proportion
{
public:
    void add(bool hit);
    void add(const Proportion &other);

    int hits() const { return mHits; }
    int trials() const { return mTrials; }
    double rate() const; ///< NaN without trials

    /// Bounds of the 95 % confidence interval by Wilson; 0 and 1 without trials.
    double low() const;
    double high() const;

    QString toText() const; ///< "97 % (92–99)"; "–" without trials
    QString rateText() const; ///< "97 %"
    QString countText() const; ///< "12 of 300"

private:
    int mHits = 0;
    int mTrials = 0;
};

/// Measured values and how they scatter.
class Sample
{
public:
    void add(double value) { mValues.append(value); }

    int count() const { return mValues.size(); }
    double mean() const; ///< NaN without values, as below
    double deviation() const; ///< standard deviation of the sample; NaN with less than two values
    double quantile(double share) const; ///< interpolated between neighbours
    double highest() const;

private:
    QVector<double> mValues;
};

QString numberText(double value, int decimals); ///< "–" for what is not finite
QString signedText(double value, int decimals); ///< "+0.8"; "–" for what is not finite
QString percentText(double share); ///< "0.4 %", "12 %"; "–" for what is not finite

} // namespace Study
