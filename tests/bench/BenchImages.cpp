// SPDX-License-Identifier: Apache-2.0
#include "BenchImages.h"

#include "simulation/EndfacePainter.h"

#include <QImage>

#include <random>

BenchImages::BenchImages()
{
    makeFolder(QStringLiteral("tmp"));
}

QString BenchImages::paint(const EndfaceScene &scene, const QString &fileName) const
{
    const QString file = path(fileName);
    if (!paintEndface(scene).save(file, nullptr, 92))
        qFatal("cannot write %s", qPrintable(file));
    return file;
}

QString BenchImages::paintNoise(int width, int height, int noiseSpan, const QString &fileName) const
{
    constexpr double micrometresPerPicture = 860;
    constexpr double fibreRadius = 62.5; // micrometres
    constexpr int ferruleLevel = 230;
    constexpr int fibreLevel = 60;
    const double radius = fibreRadius * width / micrometresPerPicture;
    std::mt19937 random(1);
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        uchar *const line = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const double dx = x - width / 2.0;
            const double dy = y - height / 2.0;
            const int level = dx * dx + dy * dy < radius * radius ? fibreLevel : ferruleLevel;
            line[x] = static_cast<uchar>(
                qBound(0, level + static_cast<int>(random() % static_cast<unsigned>(noiseSpan)) - noiseSpan / 2, 255));
        }
    }
    const QString file = path(fileName);
    if (!image.save(file, nullptr, 95))
        qFatal("cannot write %s", qPrintable(file));
    return file;
}
