// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Plots.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

#include <array>
#include <cmath>
#include <map>
#include <tuple>

namespace Study {

using Kind = EndfaceDefect::Kind;

namespace {
constexpr int experiment = 1;
constexpr int facesPerSize = 20;
constexpr double largestInCompany = 6.0; // micrometres; larger ones are alone on their face
constexpr double largestInMultimodeCladding = 20.0; // micrometres; larger ones would touch the core zone and the rim
constexpr double reliable = 0.95;

const QVector<double> &sizes()
{
    static const QVector<double> values{1, 1.5, 2, 2.5, 3, 4, 5, 6, 8, 10, 15, 20, 25, 30}; // micrometres
    return values;
}

struct BlemishKind
{
    Kind kind;
    const char *name; ///< of its table and figures
    const char *title;
    double contrast;
};

constexpr std::array<BlemishKind, 3> kinds{{
    {Kind::Pit, "pit", "Pits", 0.55},
    {Kind::Particle, "particle", "Particles", 0.55},
    {Kind::Stain, "stain", "Stains", 0.20},
}};

enum class Place : quint8 { Core, Cladding };

QString placeName(Place place)
{
    return place == Place::Core ? QStringLiteral("core") : QStringLiteral("cladding");
}

QPointF placeInCore(Mode mode, EndfaceRandom *random)
{
    constexpr double multimodeReach = 25.0; // micrometres
    constexpr double singleModeReach = 8.0;
    return placeWithin(mode == Mode::SingleMode ? singleModeReach : multimodeReach, random);
}

/// Clear of the core zone and of the rim where there is room for that, else in the middle between them.
QPointF placeInCladding(Mode mode, double size, double angle, EndfaceRandom *random)
{
    constexpr double gap = 4.5; // micrometres
    const double inner = coreZoneRadius(mode) + size / 2.0 + gap;
    const double outer = claddingRadius - size / 2.0 - gap;
    const double distance = inner < outer ? random->uniform(inner, outer) : (inner + outer) / 2.0;
    return placeAt(distance, angle);
}

void addToCladding(int count, const BlemishKind &kind, double size, Mode mode, EndfaceRandom *random,
    QVector<EndfaceDefect> *blemishes)
{
    const double firstAngle = random->uniform(0.0, 360.0);
    for (int i = 0; i < count; ++i) {
        const double angle = firstAngle + i * 360.0 / count + random->uniform(-20.0, 20.0);
        blemishes->append(spot(kind.kind, size, placeInCladding(mode, size, angle, random), kind.contrast));
    }
}

struct Cell
{
    int kind;
    Mode mode;
    int size;

    int number() const { return (kind * 2 + static_cast<int>(mode)) * 100 + size; }
};

Face face(const Cell &cell, int number)
{
    const BlemishKind &kind = kinds[static_cast<std::size_t>(cell.kind)];
    const double size = sizes()[cell.size];
    Face face;
    face.cell = cell.number();
    face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), cell.mode);
    face.standards = {standardOf(cell.mode)};
    EndfaceRandom random = blemishRandom(face.scene.seed);
    const bool inCompany = size <= largestInCompany;
    if (inCompany || number % 2 == 0)
        face.scene.defects.append(spot(kind.kind, size, placeInCore(cell.mode, &random), kind.contrast));
    if (inCompany)
        addToCladding(3, kind, size, cell.mode, &random, &face.scene.defects);
    else if (number % 2 == 1 && (cell.mode == Mode::SingleMode || size <= largestInMultimodeCladding))
        addToCladding(1, kind, size, cell.mode, &random, &face.scene.defects);
    return face;
}

/// What came out for one kind, mode, place and size.
struct Answers
{
    Proportion found;
    Sample error; ///< micrometres
    Sample size; ///< micrometres
    Proportion small; ///< taken for less than 2 micrometres
    Proportion middle; ///< for 2 to 3
    Proportion large; ///< for more
};

using AnswerMap = std::map<std::tuple<int, Mode, Place, int>, Answers>;

void add(const Inspection &inspection, int blemish, double trueSize, Answers *answers)
{
    const Finding *const finding = inspection.largestOf(blemish);
    answers->found.add(finding != nullptr);
    if (!finding)
        return;
    answers->size.add(finding->size);
    answers->error.add(finding->size - trueSize);
    answers->small.add(finding->size < 2);
    answers->middle.add(finding->size >= 2 && finding->size <= 3);
    answers->large.add(finding->size > 3);
}

AnswerMap collect(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes)
{
    AnswerMap answers;
    for (int i = 0; i < faces.size(); ++i) {
        const Inspection &inspection = outcomes[i].first();
        if (!inspection.hasVerdict())
            continue;
        const int size = faces[i].cell % 100;
        const Mode mode = static_cast<Mode>(faces[i].cell / 100 % 2);
        const int kind = faces[i].cell / 200;
        const QVector<EndfaceDefect> &blemishes = faces[i].scene.defects;
        for (int blemish = 0; blemish < blemishes.size(); ++blemish) {
            const QPointF &center = blemishes[blemish].center;
            const Place place =
                std::hypot(center.x(), center.y()) < coreZoneRadius(mode) ? Place::Core : Place::Cladding;
            add(inspection, blemish, blemishes[blemish].size, &answers[{kind, mode, place, size}]);
        }
    }
    return answers;
}

QVector<Proportion> foundBySize(const AnswerMap &answers, int kind, Mode mode, Place place)
{
    QVector<Proportion> rates;
    for (int size = 0; size < sizes().size(); ++size) {
        const auto found = answers.find({kind, mode, place, size});
        rates.append(found == answers.end() ? Proportion() : found->second.found);
    }
    return rates;
}

void tellDetection(const AnswerMap &answers, int kind, Findings *findings)
{
    const QString name = QLatin1String(kinds[static_cast<std::size_t>(kind)].name);
    Table table({QStringLiteral("Diameter, µm"), QStringLiteral("SM core"), QStringLiteral("SM cladding"),
        QStringLiteral("MM core"), QStringLiteral("MM cladding")});
    QVector<QStringList> rows;
    for (const double size : sizes())
        rows.append({QString::number(size)});
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        for (const Place place : {Place::Core, Place::Cladding}) {
            const QVector<Proportion> rates = foundBySize(answers, kind, mode, place);
            QVector<double> numbers;
            for (int size = 0; size < rates.size(); ++size) {
                rows[size].append(rates[size].toText());
                numbers.append(rates[size].rate());
            }
            findings->addValue(
                QStringLiteral("%1-%2-%3-reliable").arg(name, modeName(mode).toLower(), placeName(place)),
                reliableFrom(sizes(), numbers, reliable));
        }
    }
    for (const QStringList &row : qAsConst(rows))
        table.addRow(row);
    findings->addTable(QStringLiteral("detection-") + name, table);
}

Plot::LineChart detectionChart(const AnswerMap &answers, Mode mode, Place place)
{
    Plot::LineChart chart;
    chart.title = QStringLiteral("%1, %2").arg(
        mode == Mode::SingleMode ? QStringLiteral("Single mode") : QStringLiteral("Multimode"),
        place == Place::Core ? QStringLiteral("core zone") : QStringLiteral("cladding zone"));
    chart.x.label = QStringLiteral("True diameter, µm");
    chart.x.scale = Plot::Scale::Logarithmic;
    chart.x.minimum = sizes().first();
    chart.x.maximum = sizes().last();
    chart.y = percentAxis(QStringLiteral("Found, %"));
    for (int kind = 0; kind < static_cast<int>(kinds.size()); ++kind) {
        const QVector<Proportion> rates = foundBySize(answers, kind, mode, place);
        chart.bands.append(rateBand(sizes(), rates));
        chart.series.append(rateSeries(QString::fromUtf8(kinds[static_cast<std::size_t>(kind)].title), sizes(), rates));
    }
    return chart;
}

QString errorText(const AnswerMap &answers, int kind, Place place, int size)
{
    const auto found = answers.find({kind, Mode::SingleMode, place, size});
    if (found == answers.end() || found->second.error.count() == 0)
        return QStringLiteral("–");
    const Sample &error = found->second.error;
    return QStringLiteral("%1 ± %2").arg(signedText(error.mean(), 1), numberText(error.deviation(), 1));
}

void tellSizeError(const AnswerMap &answers, Findings *findings)
{
    QStringList head{QStringLiteral("True diameter, µm")};
    for (const BlemishKind &kind : kinds) {
        const QString title = QString::fromUtf8(kind.title);
        head << title + QStringLiteral(", core") << title + QStringLiteral(", cladding");
    }
    Table table(head);
    for (int size = 0; size < sizes().size(); ++size) {
        QStringList row{QString::number(sizes()[size])};
        for (int kind = 0; kind < static_cast<int>(kinds.size()); ++kind) {
            for (const Place place : {Place::Core, Place::Cladding}) {
                row << errorText(answers, kind, place, size);
                findings->addValue(QStringLiteral("size-error-%1-%2-%3um")
                                       .arg(QLatin1String(kinds[static_cast<std::size_t>(kind)].name), placeName(place),
                                           levelName(sizes()[size])),
                    row.last());
            }
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("size-error"), table);
}

/// Into which of the rules' size classes the pits of the core come.
void tellSizeClasses(const AnswerMap &answers, Findings *findings)
{
    Table table({QStringLiteral("True diameter, µm"), QStringLiteral("found"), QStringLiteral("taken for < 2 µm"),
        QStringLiteral("for 2 to 3 µm"), QStringLiteral("for > 3 µm")});
    for (int size = 0; size < sizes().size() && sizes()[size] <= largestInCompany; ++size) {
        const auto found = answers.find({0, Mode::SingleMode, Place::Core, size});
        const Answers cell = found == answers.end() ? Answers() : found->second;
        table.addRow({QString::number(sizes()[size]), cell.found.countText(), cell.small.rateText(),
            cell.middle.rateText(), cell.large.rateText()});
    }
    findings->addTable(QStringLiteral("size-classes"), table);
}

Plot::LineChart sizeChart(const AnswerMap &answers, Place place)
{
    Plot::LineChart chart;
    chart.title = place == Place::Core ? QStringLiteral("Core zone") : QStringLiteral("Cladding zone");
    chart.subtitle = QStringLiteral("median and 5 to 95 % of those that were found");
    chart.x.label = QStringLiteral("True diameter, µm");
    chart.x.scale = Plot::Scale::Logarithmic;
    chart.x.minimum = sizes().first();
    chart.x.maximum = sizes().last();
    chart.y.label = QStringLiteral("Measured minus true, µm");
    chart.y.minimum = -5;
    chart.y.maximum = 4;
    chart.horizontal.append({0, QString(), QString()});
    for (int kind = 0; kind < static_cast<int>(kinds.size()); ++kind) {
        Plot::Series series;
        Plot::Band band;
        series.name = QString::fromUtf8(kinds[static_cast<std::size_t>(kind)].title);
        for (int size = 0; size < sizes().size(); ++size) {
            const auto found = answers.find({kind, Mode::SingleMode, place, size});
            if (found == answers.end() || found->second.error.count() == 0)
                continue;
            const Sample &error = found->second.error;
            series.points.append({sizes()[size], error.quantile(0.5)});
            band.x.append(sizes()[size]);
            band.low.append(error.quantile(0.05));
            band.high.append(error.quantile(0.95));
        }
        chart.series.append(series);
        chart.bands.append(band);
    }
    return chart;
}
} // namespace

QVector<Face> BlemishExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    for (int kind = 0; kind < static_cast<int>(kinds.size()); ++kind) {
        for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
            for (int size = 0; size < sizes().size(); ++size) {
                const bool inCompany = sizes()[size] <= largestInCompany;
                const int count = effort.times(facesPerSize) * (inCompany ? 1 : 2);
                for (int number = 0; number < count; ++number)
                    faces.append(face({kind, mode, size}, number));
            }
        }
    }
    return faces;
}

void BlemishExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    const AnswerMap answers = collect(faces, outcomes);
    QVector<Plot::Chart> charts;
    for (int kind = 0; kind < static_cast<int>(kinds.size()); ++kind)
        tellDetection(answers, kind, findings);
    for (const Mode mode : {Mode::SingleMode, Mode::Multimode}) {
        for (const Place place : {Place::Core, Place::Cladding})
            charts.append(detectionChart(answers, mode, place));
    }
    findings->addPlot(QStringLiteral("detection"), Plot::svg(charts, 2, {900, 680}));

    tellSizeError(answers, findings);
    tellSizeClasses(answers, findings);
    const QVector<Plot::Chart> sizeCharts{sizeChart(answers, Place::Core), sizeChart(answers, Place::Cladding)};
    findings->addPlot(QStringLiteral("size-error"), Plot::svg(sizeCharts, 2, {900, 380}));
}

} // namespace Study
