// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Geometry.h"
#include "plot/Charts.h"
#include "study/focus/StudyExperiments.h"
#include "study/focus/StudyFaces.h"
#include "study/report/Statistics.h"

#include <opencv2/imgproc.hpp>

#include <array>
#include <vector>

namespace Focus {

using Study::Findings;
using Study::Proportion;
using Study::Sample;

namespace {
constexpr int firstFace = 100; ///< apart from those of the other experiments
constexpr std::array<double, 10> blurs{0.5, 0.7, 0.9, 1.1, 1.3, 1.5, 2, 3, 4, 6}; // micrometres

struct Condition
{
    const char *name;
    double noise; ///< grey levels
    double illumination; ///< from side to side, as a share
};
constexpr std::array<Condition, 5> conditions{{
    {"noise 0", 0, 0},
    {"noise 0.9", usualNoise, 0},
    {"noise 4", 4, 0},
    {"noise 8", 8, 0},
    {"noise 0.9, uneven light 40 %", usualNoise, 0.4},
}};
constexpr std::size_t usualCondition = 1;

/// The answers at one blur, under one condition.
struct Answers
{
    Proportion found;
    Proportion foundByMeans; ///< when the picture is shrunk by means of pixels instead
    int severalCircles = 0;
    Sample right; ///< pixels from the fibre to where it was found
    Sample down;
};

using AnswersByBlur = std::array<Answers, blurs.size()>;

/// The fast search, but each pixel of the small picture is the mean of those that it stands for.
bool isFoundByMeans(const QImage &picture)
{
    constexpr double shrinking = 6;
    constexpr double tolerance = 5; // pixels of the small picture
    constexpr double radius = 55; // micrometres, half the cladding zone
    static const QSize fov = FiberInspection::Device::ks20().fov;

    const cv::Mat gray(picture.height(), picture.width(), CV_8UC1, const_cast<uchar *>(picture.constBits()),
        static_cast<std::size_t>(picture.bytesPerLine()));
    cv::Mat shrunk;
    const cv::Size size(static_cast<int>(gray.cols / shrinking), static_cast<int>(gray.rows / shrinking));
    cv::resize(gray, shrunk, size, 0, 0, cv::INTER_AREA);
    const double pixels = radius * picture.width() / fov.width();
    const auto largest = static_cast<int>(pixels / shrinking + tolerance);
    std::vector<cv::Vec3f> circles; // with what the library asks of them
    cv::HoughCircles(shrunk, circles, cv::HOUGH_GRADIENT, 1.0, 60.0, 50.0, 30.0, largest - 10, largest);
    return circles.size() == 1;
}

void ask(const EndfaceScene &face, double noise, AnswersByBlur *answers)
{
    const EndfaceSurface surface = paintEndfaceSurface(face);
    const QVector<QImage> pictures = exposeAll(surface, {blurs.cbegin(), blurs.cend()}, noise, face.seed);
    const QPointF fibre = endfaceFibreCenters(face).constFirst();
    for (std::size_t i = 0; i < blurs.size(); ++i) {
        const QImage &picture = pictures.at(static_cast<int>(i));
        const StudyReading reading = readPicture(picture, fibre, blurs.at(i));
        Answers &at = answers->at(i);
        at.found.add(reading.found);
        at.foundByMeans.add(isFoundByMeans(picture));
        at.severalCircles += reading.hasSeveralCircles ? 1 : 0;
        if (reading.found) {
            at.right.add(reading.displacement.x());
            at.down.add(reading.displacement.y());
        }
    }
}

AnswersByBlur askAll(const Condition &condition, int faces)
{
    AnswersByBlur answers;
    for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
        for (int number = 0; number < faces; ++number) {
            EndfaceScene face = studyFace(firstFace + number, cleanness);
            face.illumination = condition.illumination;
            ask(face, condition.noise, &answers);
        }
    }
    return answers;
}

QString blurText(std::size_t index)
{
    return QStringLiteral("%1 µm").arg(blurs.at(index));
}

void addRates(const std::array<AnswersByBlur, conditions.size()> &answers, Findings *findings)
{
    QStringList head{QStringLiteral("Blur")};
    for (const Condition &condition : conditions)
        head.append(QString::fromUtf8(condition.name));
    Study::Table table(head);
    int frames = 0;
    int severalCircles = 0;
    for (std::size_t blur = 0; blur < blurs.size(); ++blur) {
        QStringList row{blurText(blur)};
        for (const AnswersByBlur &under : answers) {
            row.append(under.at(blur).found.toText());
            severalCircles += under.at(blur).severalCircles;
            frames += under.at(blur).found.trials();
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("found"), table);
    findings->addValue(QStringLiteral("found-frames"), QString::number(frames));
    findings->addValue(QStringLiteral("found-several"), QString::number(severalCircles));
}

void addPlaces(const AnswersByBlur &answers, Findings *findings)
{
    Study::Table table({QStringLiteral("Blur"), QStringLiteral("To the right, px"), QStringLiteral("its spread"),
        QStringLiteral("Down, px"), QStringLiteral("its spread")});
    for (std::size_t blur = 0; blur < blurs.size(); ++blur) {
        const Answers &at = answers.at(blur);
        table.addRow({blurText(blur), Study::signedText(at.right.mean(), 1), Study::numberText(at.right.deviation(), 1),
            Study::signedText(at.down.mean(), 1), Study::numberText(at.down.deviation(), 1)});
    }
    findings->addTable(QStringLiteral("displacement"), table);
}

QByteArray foundPlot(const std::array<AnswersByBlur, conditions.size()> &answers, int faces)
{
    Plot::LineChart chart;
    chart.title = QStringLiteral("How often the fast search finds the fibre");
    chart.subtitle = QStringLiteral("%1 faces, half of them with defects; noise in grey levels").arg(faces);
    chart.x.label = QStringLiteral("Blur, µm");
    chart.x.scale = Plot::Scale::Logarithmic;
    chart.y.label = QStringLiteral("Frames with the fibre found, %");
    chart.y.minimum = 0;
    chart.y.maximum = 100;
    Plot::Series byMeans;
    byMeans.name = QStringLiteral("noise 0.9, if pixels were averaged");
    byMeans.dashed = true;
    byMeans.color = QStringLiteral("#5f6368");
    for (std::size_t condition = 0; condition < conditions.size(); ++condition) {
        Plot::Series series;
        series.name = QString::fromUtf8(conditions.at(condition).name);
        for (std::size_t blur = 0; blur < blurs.size(); ++blur)
            series.points.append({blurs.at(blur), 100 * answers.at(condition).at(blur).found.rate()});
        chart.series.append(series);
    }
    for (std::size_t blur = 0; blur < blurs.size(); ++blur)
        byMeans.points.append({blurs.at(blur), 100 * answers.at(usualCondition).at(blur).foundByMeans.rate()});
    chart.series.append(byMeans);
    chart.vertical = {{Simulation::Lens::sharpestBlur, QStringLiteral("in focus"), {}}};
    return Plot::svg(chart);
}
} // namespace

void studyFound(const Effort &effort, Findings *findings)
{
    std::array<AnswersByBlur, conditions.size()> answers;
    for (std::size_t condition = 0; condition < conditions.size(); ++condition)
        answers.at(condition) = askAll(conditions.at(condition), effort.searches);
    addRates(answers, findings);
    findings->addValue(QStringLiteral("found-faces"), QString::number(2 * effort.searches));
    addPlaces(answers.at(usualCondition), findings);
    findings->addPlot(QStringLiteral("focus-found"), foundPlot(answers, 2 * effort.searches));
}

} // namespace Focus
