// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

#include <algorithm>
#include <cmath>

/// Grey, all edges, and each of many pixels the centre of a circle that hundreds of them may be a part of.
/// @param size of both sides, in pixels
/// @param radius of the circles, in pixels
inline QImage bowedStripes(int size, double radius)
{
    constexpr int band = 100; // rows
    constexpr int period = 4; // columns
    QImage image(size, size, QImage::Format_Grayscale8);
    for (int y = 0; y < size; ++y) {
        const double height = y % band - static_cast<double>(band - 1) / 2;
        const double shift = std::sqrt(radius * radius - height * height) - radius;
        uchar *const line = image.scanLine(y);
        for (int x = 0; x < size; ++x) {
            const double phase = 2 * M_PI * (x - shift) / period;
            line[x] = static_cast<uchar>(std::clamp(qRound(127.5 + 127 * std::sin(phase)), 0, 255));
        }
    }
    return image;
}
