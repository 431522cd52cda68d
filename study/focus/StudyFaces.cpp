// SPDX-License-Identifier: Apache-2.0
#include "study/focus/StudyFaces.h"

#include "focus/LiveMeter.h"
#include "simulation/EndfaceScenes.h"
#include "simulation/VideoFrames.h"

#include <QtConcurrentMap>

#include <functional>
#include <numeric>

namespace Focus {

namespace {
/// Numbers from zero up, in order; the pictures of them are painted side by side.
QVector<QImage> paintAll(int count, const std::function<QImage(const int &)> &paint)
{
    QVector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return QtConcurrent::blockingMapped<QVector<QImage>>(numbers, paint);
}
} // namespace

EndfaceScene studyFace(int number, Cleanness cleanness, const QSize &size)
{
    constexpr quint32 firstSeed = 4100;
    EndfaceRandomOptions options;
    options.size = size;
    options.maxIllumination = 0;
    if (cleanness == Cleanness::Clean)
        options.maxPits = options.maxParticles = options.maxScratches = 0;
    return randomEndfaceScene(firstSeed + static_cast<quint32>(number), options);
}

StudyReading readPicture(const QImage &picture, const QPointF &fibre, double blur)
{
    const Measurement measured = measure(Simulation::videoFrame(picture));
    StudyReading reading;
    reading.blur = blur;
    reading.found = measured.found;
    reading.hasSeveralCircles = !measured.found && measured.remark == LiveRemark::severalCircles();
    reading.focus = measured.focus;
    reading.displacement = measured.position - fibre;
    return reading;
}

StudyReading measureFace(const EndfaceScene &face, double blur, double noise)
{
    const QImage picture = exposeEndface(paintEndfaceSurface(face), blur, noise, face.seed);
    return readPicture(picture, endfaceFibreCenters(face).constFirst(), blur);
}

QVector<QImage> exposeAll(const EndfaceSurface &surface, const QVector<double> &blurs, double noise, quint32 seed)
{
    return paintAll(blurs.size(), [&](int i) { return exposeEndface(surface, blurs.at(i), noise, seed); });
}

QVector<StudyReading> measureStack(const EndfaceScene &face, int steps, double maxBlur, double noise)
{
    const Simulation::FocusStack stack(face, steps, maxBlur);
    const QPointF fibre = endfaceFibreCenters(face).constFirst();
    const QVector<QImage> pictures = paintAll(stack.steps(), [&](int step) { return stack.frameAt(step, noise); });

    QVector<StudyReading> readings;
    for (int step = 0; step < stack.steps(); ++step)
        readings.append(readPicture(pictures.at(step), fibre, stack.blurAt(step)));
    return readings;
}

} // namespace Focus
