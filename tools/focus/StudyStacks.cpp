// SPDX-License-Identifier: Apache-2.0
#include "FocusPlot.h"
#include "Statistics.h"
#include "StudyExperiments.h"
#include "StudyFaces.h"
#include "Thresholds.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace Focus {

using Study::Findings;
using Study::Proportion;
using Study::Sample;

namespace {
constexpr int steps = 41;
constexpr int sharpestStep = (steps - 1) / 2;
constexpr double maxBlur = 6; // micrometres, as are the others
constexpr double steepBlur = 2.5; ///< up to here the focus value falls steeply
constexpr double wrongWay = 0.05; ///< less than half of the last digit of a focus value

struct Condition
{
    QString name;
    double noise; ///< grey levels
    double illumination; ///< from side to side, as a share
};

QVector<Condition> conditions()
{
    return {
        {QStringLiteral("no noise"), 0, 0},
        {QStringLiteral("noise 0.9"), usualNoise, 0},
        {QStringLiteral("noise 2"), 2, 0},
        {QStringLiteral("noise 4"), 4, 0},
        {QStringLiteral("uneven light 20 %"), usualNoise, 0.2},
        {QStringLiteral("uneven light 40 %"), usualNoise, 0.4},
    };
}

constexpr int usualCondition = 1;
constexpr int firstUnevenCondition = 4;

/// One face on its way through the focus.
struct Stack
{
    int condition = 0;
    Cleanness cleanness = Cleanness::Clean;
    QVector<StudyReading> readings;
};

using Choice = std::function<bool(const Stack &)>;

Choice under(int condition, Cleanness cleanness)
{
    return [=](const Stack &stack) { return stack.condition == condition && stack.cleanness == cleanness; };
}

QVector<Stack> measureStacks(int faces)
{
    QVector<Stack> stacks;
    const QVector<Condition> all = conditions();
    for (int condition = 0; condition < all.size(); ++condition) {
        for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
            for (int number = 0; number < faces; ++number) {
                EndfaceScene face = studyFace(number, cleanness);
                face.illumination = all.at(condition).illumination;
                stacks.append({condition, cleanness, measureStack(face, steps, maxBlur, all.at(condition).noise)});
            }
        }
    }
    return stacks;
}

/// What the readings of the chosen stacks at one step say.
template <typename Function>
void forEachReading(const QVector<Stack> &stacks, const Choice &isChosen, Function function)
{
    for (const Stack &stack : stacks) {
        if (isChosen(stack)) {
            for (int step = 0; step < stack.readings.size(); ++step)
                function(step, stack.readings.at(step));
        }
    }
}

// --- where the peak is, and how the value falls off

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
    return std::abs(places.mean() - sharpestStep);
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
        for (int i = 0; i < sharpestStep; ++i) {
            add(readings.at(i), readings.at(i + 1));
            add(readings.at(steps - 1 - i), readings.at(steps - 2 - i));
        }
    }
};

void addPeaks(const QVector<Stack> &stacks, Findings *findings)
{
    Study::Table table({QStringLiteral("Condition"), QStringLiteral("Stacks"), QStringLiteral("Peak at the sharpest"),
        QStringLiteral("One frame off"), QStringLiteral("Farther off"), QStringLiteral("Of both, sharpest not found"),
        QStringLiteral("Wrong steps, up to 2.5 µm"), QStringLiteral("Wrong steps, beyond"),
        QStringLiteral("Largest wrong step")});
    const QVector<Condition> all = conditions();
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
            missed.add(offset > 0.5 && !stack.readings.at(sharpestStep).found);
            wrong.add(stack.readings);
        }
        table.addRow({all.at(condition).name, QString::number(onPeak.trials()), QString::number(onPeak.hits()),
            QString::number(oneOff.hits()), QString::number(fartherOff.hits()), QString::number(missed.hits()),
            wrong.steep.countText(), wrong.flat.countText(), Study::numberText(wrong.largest, 1)});
    }
    findings->addTable(QStringLiteral("peaks"), table);
}

// --- what the thresholds mean

/// The blur at which the value falls to the threshold, on one side; NaN if it never does, or always has.
double crossing(const QVector<StudyReading> &readings, int direction, double threshold)
{
    const StudyReading *before = nullptr;
    for (int step = sharpestStep; step >= 0 && step < steps; step += direction) {
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

QString crossingText(const QVector<Stack> &stacks, const Choice &isChosen, double threshold)
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

void addCrossings(const QVector<Stack> &stacks, Findings *findings)
{
    Study::Table table(
        {QStringLiteral("Condition"), QStringLiteral("Falls to 2.5, clean"), QStringLiteral("Falls to 2.5, soiled"),
            QStringLiteral("Falls to 1.0, clean"), QStringLiteral("Falls to 1.0, soiled")});
    const QVector<Condition> all = conditions();
    for (int condition = 0; condition < all.size(); ++condition) {
        QStringList row{all.at(condition).name};
        for (const double threshold : {captureFocus, badFocus}) {
            for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled})
                row.append(crossingText(stacks, under(condition, cleanness), threshold));
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("thresholds"), table);
}

// --- plots

/// How far out of focus a step lies: the blur that it adds, below zero on the near side.
double defocus(int step)
{
    const double share = (step - sharpestStep) / static_cast<double>(sharpestStep);
    constexpr double sharpest = FocusStack::sharpestBlur;
    return share * std::sqrt(maxBlur * maxBlur - sharpest * sharpest);
}

QVector<Sample> focusByStep(const QVector<Stack> &stacks, const Choice &isChosen)
{
    QVector<Sample> samples(steps);
    forEachReading(stacks, isChosen, [&](int step, const StudyReading &reading) {
        if (reading.found)
            samples[step].add(reading.focus);
    });
    return samples;
}

Plot::Chart curveChart(const QVector<Stack> &stacks, int faces)
{
    Plot::LineChart chart;
    chart.title = QStringLiteral("The focus value through the focus");
    chart.subtitle = QStringLiteral("Median and range of %1 faces each, noise 0.9 grey levels, even light").arg(faces);
    chart.x.label = QStringLiteral("Defocus, as the blur that it adds, µm");
    chart.y.label = QStringLiteral("Focus value");
    chart.y.scale = Plot::Scale::Logarithmic;
    chart.horizontal = thresholdLines();
    for (const Cleanness cleanness : {Cleanness::Soiled, Cleanness::Clean}) {
        const QVector<Sample> samples = focusByStep(stacks, under(usualCondition, cleanness));
        Plot::Series median;
        median.name =
            cleanness == Cleanness::Clean ? QStringLiteral("clean face") : QStringLiteral("face with defects");
        Plot::Band range;
        for (int step = 0; step < steps; ++step) {
            median.points.append({defocus(step), samples.at(step).quantile(0.5)});
            range.x.append(defocus(step));
            range.low.append(samples.at(step).quantile(0));
            range.high.append(samples.at(step).highest());
        }
        chart.series.prepend(median);
        chart.bands.prepend(range);
    }
    return chart;
}

/// A curve for each of the conditions against the blur, both sides together.
template <typename Function>
QVector<Plot::Series> seriesByBlur(const QVector<int> &chosen, Function valueAt)
{
    QVector<Plot::Series> series;
    for (const int condition : chosen) {
        Plot::Series curve;
        curve.name = conditions().at(condition).name;
        for (int step = sharpestStep; step < steps; ++step) {
            const double blur = FocusStack(EndfaceScene(), steps, maxBlur).blurAt(step);
            curve.points.append({blur, valueAt(condition, step)});
        }
        series.append(curve);
    }
    return series;
}

Plot::LineChart blurChart(const char *title, const char *yLabel)
{
    Plot::LineChart chart;
    chart.title = QString::fromUtf8(title);
    chart.x.label = QStringLiteral("Blur, µm");
    chart.y.label = QString::fromUtf8(yLabel);
    return chart;
}

QVector<int> noiseConditions()
{
    return {0, usualCondition, 2, 3};
}

QVector<int> lightConditions()
{
    return {usualCondition, firstUnevenCondition, firstUnevenCondition + 1};
}

QByteArray noisePlot(const QVector<Stack> &stacks)
{
    const auto medianFocus = [&](int condition, int step) {
        Sample focus;
        forEachReading(stacks, under(condition, Cleanness::Clean), [&](int at, const StudyReading &reading) {
            if (reading.found && (at == step || at == steps - 1 - step))
                focus.add(reading.focus);
        });
        return focus.quantile(0.5);
    };
    Plot::LineChart noise = blurChart("Noise lifts the floor", "Focus value, clean faces");
    noise.y.scale = Plot::Scale::Logarithmic;
    noise.y.minimum = 0.4;
    noise.y.maximum = 6;
    noise.series = seriesByBlur(noiseConditions(), medianFocus);
    noise.horizontal = thresholdLines();
    Plot::LineChart light = noise;
    light.title = QStringLiteral("Uneven light does not matter");
    light.series = seriesByBlur(lightConditions(), medianFocus);
    light.series.first().name = QStringLiteral("even light");
    return Plot::svg({noise, light}, 2, {1100, 430});
}
} // namespace

void studyStacks(const Effort &effort, Findings *findings)
{
    const QVector<Stack> stacks = measureStacks(effort.stacks);
    addPeaks(stacks, findings);
    addCrossings(stacks, findings);
    findings->addValue(QStringLiteral("stacks"), QString::number(stacks.size()));
    findings->addValue(QStringLiteral("stack-frames"), QString::number(stacks.size() * steps));
    findings->addPlot(QStringLiteral("focus-curve"), Plot::svg(curveChart(stacks, effort.stacks)));
    findings->addPlot(QStringLiteral("focus-noise"), noisePlot(stacks));
}

} // namespace Focus
