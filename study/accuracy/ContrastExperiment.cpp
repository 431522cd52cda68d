// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace Study {

using Kind = EndfaceDefect::Kind;

namespace {
constexpr int experiment = 2;
constexpr double reliable = 0.95;

/// Blemishes of several sizes and contrasts, in the core zone and in the cladding of single-mode fibres.
struct Sweep
{
    Kind kind;
    const char *name; ///< of its tables and figures
    QVector<double> sizes; ///< micrometres
    QVector<double> contrasts;
    int faces; ///< for each pair
    bool inCore;
};

const QVector<Sweep> &sweeps()
{
    static const QVector<double> contrasts{0.03, 0.05, 0.08, 0.12, 0.16, 0.2, 0.25, 0.3, 0.4, 0.5, 0.6};
    static const QVector<Sweep> all{
        {Kind::Pit, "dark", {1.5, 2, 3, 4, 6, 10, 20}, contrasts, 20, true},
        {Kind::Stain, "stain", {5, 10, 20, 30}, {0.03, 0.05, 0.08, 0.12, 0.16, 0.2, 0.25, 0.3, 0.4}, 16, false},
        {Kind::Pit, "bright", {3, 6, 10}, {-0.1, -0.2, -0.3, -0.4, -0.5, -0.6}, 16, true},
    };
    return all;
}

enum class Place : quint8 { Core, Cladding };

struct CellKey
{
    int sweep;
    int size;
    int contrast;

    static CellKey of(int cell) { return {cell / 1000, cell / 50 % 20, cell % 50}; }
    int number() const { return sweep * 1000 + size * 50 + contrast; }
};

Face face(const CellKey &cell, int number)
{
    constexpr double deepInCore = 11.5; // micrometres; the whole blemish lies within
    constexpr double coreReach = 8.0;
    constexpr double ringMiddle = 39.0;
    constexpr double ringHalf = 5.0;
    const Sweep &sweep = sweeps()[cell.sweep];
    const double size = sweep.sizes[cell.size];
    const double contrast = sweep.contrasts[cell.contrast];
    Face face;
    face.cell = cell.number();
    face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), Mode::SingleMode);
    face.standards = {standardOf(Mode::SingleMode)};
    EndfaceRandom random = blemishRandom(face.scene.seed);
    const double distance = random.uniform(ringMiddle - ringHalf, ringMiddle + ringHalf);
    const double angle = random.uniform(0.0, 360.0);
    face.scene.defects.append(spot(sweep.kind, size, placeAt(distance, angle), contrast));
    if (sweep.inCore) {
        const double reach = std::min(coreReach, deepInCore - size / 2.0);
        // Away from the other one, so that the two can never be merged.
        const QPointF center = placeAt(random.uniform(0.0, reach), angle + 180.0 + random.uniform(-90.0, 90.0));
        face.scene.defects.append(spot(sweep.kind, size, center, contrast));
    }
    return face;
}

using RateMap = std::map<std::pair<int, Place>, Proportion>; // by the number of the cell

RateMap collect(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes)
{
    RateMap rates;
    for (int i = 0; i < faces.size(); ++i) {
        const Inspection &inspection = outcomes[i].first();
        if (!inspection.hasVerdict())
            continue;
        rates[{faces[i].cell, Place::Cladding}].add(inspection.finds(0));
        if (faces[i].scene.defects.size() > 1)
            rates[{faces[i].cell, Place::Core}].add(inspection.finds(1));
    }
    return rates;
}

Proportion rateOf(const RateMap &rates, const CellKey &cell, Place place)
{
    const auto found = rates.find({cell.number(), place});
    return found == rates.end() ? Proportion() : found->second;
}

QVector<Proportion> byContrast(const RateMap &rates, int sweep, int size, Place place)
{
    QVector<Proportion> result;
    for (int contrast = 0; contrast < sweeps()[sweep].contrasts.size(); ++contrast)
        result.append(rateOf(rates, {sweep, size, contrast}, place));
    return result;
}

QString placeName(Place place)
{
    return place == Place::Core ? QStringLiteral("core") : QStringLiteral("cladding");
}

void tellSweep(const RateMap &rates, int sweep, Place place, Findings *findings)
{
    const Sweep &plan = sweeps()[sweep];
    const QString name = QStringLiteral("contrast-%1-%2").arg(QLatin1String(plan.name), placeName(place));
    QStringList head{QStringLiteral("Contrast")};
    for (const double size : plan.sizes)
        head << QStringLiteral("%1 µm").arg(size);
    Table table(head);
    Proportion all;
    for (int contrast = 0; contrast < plan.contrasts.size(); ++contrast) {
        const double value = plan.contrasts[contrast];
        QStringList row{
            value < 0 ? QStringLiteral("−%1 %").arg(-100 * value) : QStringLiteral("%1 %").arg(100 * value)};
        for (int size = 0; size < plan.sizes.size(); ++size) {
            const Proportion rate = rateOf(rates, {sweep, size, contrast}, place);
            all.add(rate);
            row << rate.rateText();
        }
        table.addRow(row);
    }
    findings->addTable(name, table);
    findings->addValue(name + QStringLiteral("-all"), all.toText());
    if (plan.contrasts.first() < 0)
        return;
    for (int size = 0; size < plan.sizes.size(); ++size) {
        QVector<double> percents;
        QVector<double> numbers;
        const QVector<Proportion> series = byContrast(rates, sweep, size, place);
        for (int contrast = 0; contrast < plan.contrasts.size(); ++contrast) {
            percents.append(std::round(100 * plan.contrasts[contrast]));
            numbers.append(series[contrast].rate());
        }
        findings->addValue(QStringLiteral("%1-%2um-reliable").arg(name, levelName(plan.sizes[size])),
            reliableFrom(percents, numbers, reliable));
    }
}

Plot::LineChart chart(const RateMap &rates, int sweep, Place place, const QString &title)
{
    const Sweep &plan = sweeps()[sweep];
    QVector<double> percents;
    for (const double contrast : plan.contrasts)
        percents.append(100 * contrast);
    Plot::LineChart chart;
    chart.title = title;
    chart.x.label = QStringLiteral("Contrast, % of the light that is lost");
    chart.x.minimum = 0;
    chart.x.maximum = 60;
    chart.y = percentAxis(QStringLiteral("Found, %"));
    for (int size = 0; size < plan.sizes.size(); ++size) {
        chart.series.append(
            rateSeries(QStringLiteral("%1 µm").arg(plan.sizes[size]), percents, byContrast(rates, sweep, size, place)));
    }
    return chart;
}
} // namespace

QVector<Face> ContrastExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (int sweep = 0; sweep < sweeps().size(); ++sweep) {
        const Sweep &plan = sweeps()[sweep];
        for (int size = 0; size < plan.sizes.size(); ++size) {
            for (int contrast = 0; contrast < plan.contrasts.size(); ++contrast) {
                for (int number = 0; number < effort.times(plan.faces); ++number)
                    faces.append(face({sweep, size, contrast}, number));
            }
        }
    }
    return faces;
}

void ContrastExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    const RateMap rates = collect(faces, outcomes);
    for (int sweep = 0; sweep < sweeps().size(); ++sweep) {
        tellSweep(rates, sweep, Place::Cladding, findings);
        if (sweeps()[sweep].inCore)
            tellSweep(rates, sweep, Place::Core, findings);
    }
    const QVector<Plot::Chart> charts{
        chart(rates, 0, Place::Core, QStringLiteral("Pits in the core zone")),
        chart(rates, 0, Place::Cladding, QStringLiteral("Pits in the cladding")),
        chart(rates, 1, Place::Cladding, QStringLiteral("Stains in the cladding")),
    };
    findings->addPlot(QStringLiteral("contrast"), Plot::svg(charts, 3, {1080, 380}));
}

} // namespace Study
