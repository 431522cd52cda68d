// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/DefectNeighbours_p.h"
#include "FiberInspection/EnclosingCircle_p.h"
#include "FiberInspection/Log_p.h"

#include <QHash>

#include <opencv2/imgproc.hpp>

#include <array>

namespace FiberInspection {

namespace {
/// Groups of defect indices that belong together, as connected components.
class MergeGroups
{
public:
    explicit MergeGroups(int defectCount)
        : mGroupOf(defectCount, none)
    {
    }

    void add(int i, int j)
    {
        const int a = mGroupOf[i];
        const int b = mGroupOf[j];
        if (a == none && b == none) {
            mGroups.append(QVector<int>());
            append(i, mGroups.size() - 1);
            append(j, mGroups.size() - 1);
        } else if (a == none) {
            append(i, b);
        } else if (b == none) {
            append(j, a);
        } else if (a != b) {
            for (const int member : qAsConst(mGroups[b]))
                append(member, a);
            mGroups[b].clear(); // not erased: the indices of the other groups stay valid
        }
    }

    bool contains(int i) const { return mGroupOf[i] != none; }
    const QVector<QVector<int>> &groups() const { return mGroups; }

    /// From the index of a defect to the index of its group.
    QHash<int, int> indexes() const
    {
        QHash<int, int> result;
        for (int i = 0; i < mGroupOf.size(); ++i) {
            if (contains(i))
                result.insert(i, mGroupOf[i]);
        }
        return result;
    }

private:
    static constexpr int none = -1;

    void append(int member, int group)
    {
        mGroupOf[member] = group;
        mGroups[group].append(member);
    }

    QVector<int> mGroupOf; ///< by index of the defect
    QVector<QVector<int>> mGroups;
};
} // namespace

Defect AnalyserPrivate::createDefectFromPixels(const std::vector<cv::Point> &pixels, float pixelSize)
{
    Defect defect;
    if (pixels.empty())
        return defect;

    const cv::RotatedRect pixelsBoundingRect = cv::minAreaRect(pixels);
    std::array<cv::Point2f, 4> corners;
    pixelsBoundingRect.points(corners.data());
    defect.boundingRectPoints.reserve(static_cast<int>(corners.size()));
    for (const cv::Point2f &corner : corners)
        defect.boundingRectPoints.append(cvPoint2fToQPoint(corner));
    defect.boundingRectSize =
        QSize(static_cast<int>(pixelsBoundingRect.size.width), static_cast<int>(pixelsBoundingRect.size.height));

    defect.enclosingCircle = smallestEnclosingCircle(pixels);
    defect.pixels = cvPoint2fVectorToQPointVector(pixels);
    defect.calculateType();
    if (!qFuzzyCompare(pixelSize, 0.0F))
        defect.calculateSize(pixelSize);
    return defect;
}

Defect AnalyserPrivate::createDefectFromPixels(const QVector<QPointF> &pixels, float pixelSize)
{
    return createDefectFromPixels(qpointVectorToCvPoint2fVector(pixels), pixelSize);
}

std::vector<Defect> AnalyserPrivate::mergeDefects(const std::vector<Defect> &defects, float maxDistanceToMerge)
{
    const auto reachesOther = [&](int i, int j) {
        const Circle &circle = defects[static_cast<std::size_t>(i)].enclosingCircle;
        const Circle &otherCircle = defects[static_cast<std::size_t>(j)].enclosingCircle;
        return distanceBetweenPoints(circle.center, otherCircle.center)
            <= circle.radius + otherCircle.radius + maxDistanceToMerge;
    };

    const int count = static_cast<int>(defects.size());
    MergeGroups groups(count);
    DefectNeighbours neighbours(defects, maxDistanceToMerge);
    for (int i = 0; i < count; ++i) {
        // In ascending order, and only those whose pixels come close enough.
        for (const int j : neighbours.after(i)) {
            if (reachesOther(i, j))
                groups.add(i, j);
        }
    }

    std::vector<Defect> result;
    for (int i = 0; i < count; ++i) {
        if (!groups.contains(i))
            result.push_back(defects[static_cast<std::size_t>(i)]);
    }
    qCDebug(messageLog) << groups.indexes() << groups.groups();
    for (const QVector<int> &group : groups.groups()) {
        if (group.isEmpty())
            continue;
        Defect mergedDefect;
        for (const int index : group)
            mergedDefect.pixels += defects[static_cast<std::size_t>(index)].pixels;
        result.push_back(std::move(mergedDefect));
    }
    return result;
}

void AnalyserPrivate::splitDefectsToZones(const std::vector<Defect> &defects, std::vector<Defect> &coreDefects,
    std::vector<Defect> &claddingDefects, std::vector<Defect> &contactDefects, const QSize &imageSize,
    const ZoneSizes &zoneSizes)
{
    Q_UNUSED(contactDefects) // what lies beyond the cladding is not graded

    const QPointF imageCenter(static_cast<qreal>(static_cast<float>(imageSize.width()) / 2),
        static_cast<qreal>(static_cast<float>(imageSize.height()) / 2));
    qCDebug(messageLog) << "coreRadius" << zoneSizes.coreRadius;
    qCDebug(messageLog) << "claddingRadius" << zoneSizes.claddingRadius;
    qCDebug(messageLog) << "contactRadius" << zoneSizes.contactRadius;
    qCDebug(messageLog) << "center" << QPoint(static_cast<int>(imageCenter.x()), static_cast<int>(imageCenter.y()));

    for (const Defect &defect : defects) {
        const float distance = distanceBetweenPoints(imageCenter, defect.enclosingCircle.center);
        if (distance < zoneSizes.coreRadius + defect.enclosingCircle.radius)
            coreDefects.push_back(defect);
        else if (distance < zoneSizes.claddingRadius + defect.enclosingCircle.radius)
            claddingDefects.push_back(defect);
    }
}

} // namespace FiberInspection
