// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/Standard.h"

#include <QHash>
#include <QVector>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

/// The defect functions once more, as slow and plain as they can be said: every pair, every pixel, no short cut.
namespace Reference {

using FiberInspection::Circle;
using FiberInspection::Defect;
using FiberInspection::Rule;
using FiberInspection::ZoneSizes;

/// A coordinate cut to a whole pixel. What no int holds becomes the nearest int, NaN the lowest one.
inline qint64 wholePixel(double coordinate)
{
    if (std::isnan(coordinate))
        return std::numeric_limits<int>::min();
    return static_cast<qint64>(std::trunc(
        std::clamp(coordinate, double(std::numeric_limits<int>::min()), double(std::numeric_limits<int>::max()))));
}

inline float wholePixelDistance(const QPointF &from, const QPointF &to)
{
    const auto dx = static_cast<double>(wholePixel(from.x()) - wholePixel(to.x()));
    const auto dy = static_cast<double>(wholePixel(from.y()) - wholePixel(to.y()));
    return static_cast<float>(std::sqrt(std::pow(dx, 2) + std::pow(dy, 2)));
}

inline bool matchesRule(const Rule &rule, const Defect &defect)
{
    if (defect.type != rule.defectType)
        return false;
    if (rule.ruleOperator == Rule::SmallerThan)
        return defect.size < float(rule.maxSize);
    if (rule.ruleOperator == Rule::SmallerThanOrEqual)
        return defect.size <= float(rule.maxSize);
    if (rule.ruleOperator == Rule::GreaterThan)
        return defect.size > float(rule.minSize);
    if (rule.ruleOperator == Rule::GreaterThanOrEqual)
        return defect.size >= float(rule.minSize);
    if (rule.ruleOperator == Rule::ClosedRange)
        return float(rule.minSize) <= defect.size && defect.size <= float(rule.maxSize);
    return false;
}

inline bool isCloseTo(const Defect &defect, const Defect &other, float threshold)
{
    for (const QPointF &pixel : defect.pixels) {
        for (const QPointF &otherPixel : other.pixels) {
            if (wholePixelDistance(pixel, otherPixel) <= threshold)
                return true;
        }
    }
    return false;
}

inline Defect createDefectFromPixels(const std::vector<cv::Point> &pixels, float pixelSize)
{
    Defect defect;
    if (pixels.empty())
        return defect;

    const cv::RotatedRect rectangle = cv::minAreaRect(pixels);
    cv::Point2f corners[4];
    rectangle.points(corners);
    for (const cv::Point2f &corner : corners)
        defect.boundingRectPoints.append(QPointF(double(corner.x), double(corner.y)));
    const int width = int(rectangle.size.width);
    const int height = int(rectangle.size.height);
    defect.boundingRectSize = QSize(width, height);

    cv::Point2f center;
    float radius = 0;
    cv::minEnclosingCircle(pixels, center, radius);
    defect.enclosingCircle.center = QPointF(double(center.x), double(center.y));
    defect.enclosingCircle.radius = radius;

    for (const cv::Point &pixel : pixels)
        defect.pixels.append(QPointF(pixel.x, pixel.y));

    const bool isNarrow = std::min(width, height) <= 7;
    const bool isLong = std::max(width, height) >= 30;
    defect.type = isNarrow && isLong ? Defect::Type::Scratch : Defect::Type::Defect;
    if (pixelSize != 0)
        defect.size = 2 * radius * pixelSize;
    return defect;
}

inline std::vector<Defect> mergeDefects(const std::vector<Defect> &defects, float maxDistanceToMerge)
{
    std::vector<Defect> result;
    QHash<int, int> mergesIndexes;
    QVector<QVector<int>> merges;

    const auto addMerge = [&](int i, int j) {
        const int a = mergesIndexes.value(i, -1);
        const int b = mergesIndexes.value(j, -1);
        if (a == -1 && b == -1) {
            merges.append(QVector<int>{i, j});
            mergesIndexes[i] = merges.size() - 1;
            mergesIndexes[j] = merges.size() - 1;
        } else if (a == -1) {
            mergesIndexes[i] = b;
            merges[b].append(i);
        } else if (b == -1) {
            mergesIndexes[j] = a;
            merges[a].append(j);
        } else if (a != b) {
            const QVector<int> moved = merges[b];
            for (const int member : moved) {
                merges[a].append(member);
                mergesIndexes[member] = a;
            }
            merges[b].clear();
        }
    };

    const int count = int(defects.size());
    for (int i = 0; i < count; ++i) {
        const Defect &defect = defects[std::size_t(i)];
        if (defect.type == Defect::Type::Scratch)
            continue;
        for (int j = i + 1; j < count; ++j) {
            const Defect &defect2 = defects[std::size_t(j)];
            if (defect2.type == Defect::Type::Scratch)
                continue;
            const float distance = wholePixelDistance(defect.enclosingCircle.center, defect2.enclosingCircle.center);
            const float maxDistance =
                defect.enclosingCircle.radius + defect2.enclosingCircle.radius + maxDistanceToMerge;
            if (distance <= maxDistance && isCloseTo(defect, defect2, maxDistanceToMerge))
                addMerge(i, j);
        }
    }

    for (int i = 0; i < count; ++i) {
        if (!mergesIndexes.contains(i))
            result.push_back(defects[std::size_t(i)]);
    }
    merges.removeAll(QVector<int>());
    for (const QVector<int> &group : qAsConst(merges)) {
        Defect mergedDefect;
        for (const int index : group)
            mergedDefect.pixels += defects[std::size_t(index)].pixels;
        result.push_back(mergedDefect);
    }
    return result;
}

inline void splitDefectsToZones(const std::vector<Defect> &defects, std::vector<Defect> &coreDefects,
    std::vector<Defect> &claddingDefects, const QSize &imageSize, const ZoneSizes &zoneSizes)
{
    const float imageXCenter = float(imageSize.width()) / 2;
    const float imageYCenter = float(imageSize.height()) / 2;
    const QPointF imageCenter{double(imageXCenter), double(imageYCenter)};
    for (const Defect &defect : defects) {
        const float distance = wholePixelDistance(imageCenter, defect.enclosingCircle.center);
        if (distance < zoneSizes.coreRadius + defect.enclosingCircle.radius)
            coreDefects.push_back(defect);
        else if (distance < zoneSizes.claddingRadius + defect.enclosingCircle.radius)
            claddingDefects.push_back(defect);
    }
}

} // namespace Reference
