// SPDX-License-Identifier: Apache-2.0
#include "study/focus/StackTables.h"

#include "focus/Thresholds.h"
#include "plot/Charts.h"
#include "study/report/Statistics.h"

#include <algorithm>
#include <cmath>

namespace Focus {

using Study::Proportion;
using Study::Sample;

namespace {
constexpr double steepBlur = 2.5; // micrometres; up to here the focus value falls steeply
constexpr double wrongWay = 0.05; // less than half of the last digit of a focus value

/// How many steps the highest focus value lies off the sharpest frame; equal values count with their middle.
double peakOffset(const QVector<StudyReading> &readings)
{
    double highest = -1;
    Sample places;
    for (int step = 0; step < readings.size(); ++step) {
        const StudyReading &reading = readings.at(step);
        if (!reading.found || reading.focus < highest)
            continue;
        if (reading.focus > highest)
            places = Sample();
        highest = reading.focus;
        places.add(step);
    }
    return std::abs(places.mean() - Stack::sharpestStep);
}

/// Counts the steps towards the focus at which the value sinks, on both sides.
struct WrongSteps
{
    Proportion steep;
    Proportion flat;
    double largest = 0;

    void add(const StudyReading &farther, const StudyReading &closer)
    {
        if (!farther.found || !closer.found)
            return;
        const double loss = farther.focus - closer.focus;
        largest = std::max(largest, loss);
        (farther.blur <= steepBlur ? steep : flat).add(loss > wrongWay);
    }

    void add(const QVector<StudyReading> &readings)
    {
        for (int i = 0; i < Stack::sharpestStep; ++i) {
            add(readings.at(i), readings.at(i + 1));
            add(readings.at(Stack::steps - 1 - i), readings.at(Stack::steps - 2 - i));
        }
    }
};

/// The blur at which the value falls to the threshold, on one side; NaN if it never does, or always has.
double crossing(const QVector<StudyReading> &readings, int direction, double threshold)
{
    const StudyReading *before = nullptr;
    for (int step = Stack::sharpestStep; step >= 0 && step < Stack::steps; step += direction) {
        const StudyReading &reading = readings.at(step);
        if (!reading.found)
            continue;
        if (reading.focus <= threshold) {
            if (!before)
                return Plot::automatic;
            const double share = (before->focus - threshold) / (before->focus - reading.focus);
            return before->blur + share * (reading.blur - before->blur);
        }
        before = &reading;
    }
    return Plot::automatic;
}

QString crossingText(const QVector<Stack> &stacks, const StackChoice &isChosen, double threshold)
{
    Sample blurs;
    int never = 0;
    for (const Stack &stack : stacks) {
        for (const int direction : {-1, 1}) {
            if (!isChosen(stack))
                continue;
            const double blur = crossing(stack.readings, direction, threshold);
            if (std::isfinite(blur))
                blurs.add(blur);
            else
                ++never;
        }
    }
    if (blurs.count() < never)
        return QStringLiteral("never");
    return QStringLiteral("%1 (%2–%3)")
        .arg(Study::numberText(blurs.quantile(0.5), 1), Study::numberText(blurs.quantile(0), 1),
            never > 0 ? QStringLiteral("never") : Study::numberText(blurs.highest(), 1));
}
} // namespace

Study::Table peaksTable(const QVector<Stack> &stacks)
{
    Study::Table table({QStringLiteral("Condition"), QStringLiteral("Stacks"), QStringLiteral("Peak at the sharpest"),
        QStringLiteral("One frame off"), QStringLiteral("Farther off"), QStringLiteral("Of both, sharpest not found"),
        QStringLiteral("Wrong steps, up to 2.5 µm"), QStringLiteral("Wrong steps, beyond"),
        QStringLiteral("Largest wrong step")});
    const QVector<StackCondition> all = stackConditions();
    for (int condition = 0; condition < all.size(); ++condition) {
        Proportion onPeak;
        Proportion oneOff;
        Proportion fartherOff;
        Proportion missed;
        WrongSteps wrong;
        for (const Stack &stack : stacks) {
            if (stack.condition != condition)
                continue;
            const double offset = peakOffset(stack.readings);
            onPeak.add(offset <= 0.5);
            oneOff.add(offset > 0.5 && offset <= 1.5);
            fartherOff.add(!(offset <= 1.5));
            missed.add(offset > 0.5 && !stack.readings.at(Stack::sharpestStep).found);
            wrong.add(stack.readings);
        }
        table.addRow({all.at(condition).name, QString::number(onPeak.trials()), QString::number(onPeak.hits()),
            QString::number(oneOff.hits()), QString::number(fartherOff.hits()), QString::number(missed.hits()),
            wrong.steep.countText(), wrong.flat.countText(), Study::numberText(wrong.largest, 1)});
    }
    return table;
}

Study::Table thresholdsTable(const QVector<Stack> &stacks)
{
    Study::Table table(
        {QStringLiteral("Condition"), QStringLiteral("Falls to 2.5, clean"), QStringLiteral("Falls to 2.5, soiled"),
            QStringLiteral("Falls to 1.0, clean"), QStringLiteral("Falls to 1.0, soiled")});
    const QVector<StackCondition> all = stackConditions();
    for (int condition = 0; condition < all.size(); ++condition) {
        QStringList row{all.at(condition).name};
        for (const double threshold : {captureFocus, badFocus}) {
            for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled})
                row.append(crossingText(stacks, under(condition, cleanness), threshold));
        }
        table.addRow(row);
    }
    return table;
}

} // namespace Focus
