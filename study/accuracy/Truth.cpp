// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Truth.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Study {

using FiberInspection::Circle;
using FiberInspection::Defect;
using FiberInspection::Standard;
using FiberInspection::TestResult;
using FiberInspection::Zone;

namespace {
constexpr double pi = 3.14159265358979323846;
constexpr double mergeDistance = 4.0; // micrometres; point-like defects that are not farther apart count as one
constexpr double touchDistance = 0.0; // blemishes that touch make one outline, whatever they are

double distanceBetween(const QPointF &a, const QPointF &b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

/// All points within a radius of a line; a point where the line has no length.
struct Capsule
{
    QPointF from;
    QPointF to;
    double radius = 0;

    explicit Capsule(const EndfaceDefect &blemish)
        : from(blemish.center)
        , to(blemish.center)
        , radius(blemish.size / 2.0)
    {
        if (blemish.kind != EndfaceDefect::Kind::Scratch)
            return;
        const double angle = blemish.angle * pi / 180.0;
        const QPointF half = QPointF(std::cos(angle), std::sin(angle)) * std::max(0.0, blemish.length / 2.0 - radius);
        from -= half;
        to += half;
    }

    double distanceOfAxisTo(const QPointF &point) const
    {
        const QPointF axis = to - from;
        const double square = QPointF::dotProduct(axis, axis);
        if (square <= 0.0)
            return distanceBetween(from, point);
        const double share = std::clamp(QPointF::dotProduct(point - from, axis) / square, 0.0, 1.0);
        return distanceBetween(from + axis * share, point);
    }
};

/// On which side of a line a point lies.
double sideOf(const QPointF &from, const QPointF &to, const QPointF &point)
{
    const QPointF axis = to - from;
    const QPointF other = point - from;
    return axis.x() * other.y() - axis.y() * other.x();
}

bool axesCross(const Capsule &a, const Capsule &b)
{
    return sideOf(a.from, a.to, b.from) * sideOf(a.from, a.to, b.to) < 0.0
        && sideOf(b.from, b.to, a.from) * sideOf(b.from, b.to, a.to) < 0.0;
}

/// Between the outlines; negative where they overlap.
double gapBetween(const Capsule &a, const Capsule &b)
{
    double distance = 0.0;
    if (!axesCross(a, b)) {
        distance = std::min({a.distanceOfAxisTo(b.from), a.distanceOfAxisTo(b.to), b.distanceOfAxisTo(a.from),
            b.distanceOfAxisTo(a.to)});
    }
    return distance - a.radius - b.radius;
}

using Group = QVector<int>; // indices of blemishes

class TruthGrader
{
public:
    TruthGrader(const EndfaceScene &scene, Standard::Id id, ScratchSize scratchSize)
        : mScene(scene)
        , mStandard(id)
        , mScratchSize(scratchSize)
    {
        for (const EndfaceDefect &blemish : scene.defects)
            mCapsules.emplace_back(blemish);
    }

    TrueVerdict grade() const
    {
        QVector<Defect> core;
        QVector<Defect> cladding;
        TrueVerdict verdict;
        QVector<TrueDefect> claddingTruth;
        const QVector<Group> allGroups = groups();
        for (const Group &group : allGroups) {
            const Defect defect = defectOf(group);
            const double distance = std::hypot(defect.enclosingCircle.center.x(), defect.enclosingCircle.center.y());
            const double nearest = distance - static_cast<double>(defect.enclosingCircle.radius);
            if (nearest < mStandard.core().outerDiameter / 2.0) {
                core.append(defect);
                verdict.defects.append({group, defect.type, Zone::Core, static_cast<double>(defect.size), false});
            } else if (nearest < mScene.claddingDiameter / 2.0) {
                cladding.append(defect);
                claddingTruth.append({group, defect.type, Zone::Cladding, static_cast<double>(defect.size), false});
            }
        }
        verdict.defects += claddingTruth;

        TestResult result(mStandard);
        result.processDefects(core, cladding);
        verdict.passed = result.passed();
        for (int i = 0; i < verdict.defects.size(); ++i) {
            verdict.defects[i].causesFailure = i < core.size()
                ? result.coreDefects()[i].causesFailure
                : result.claddingDefects()[i - core.size()].causesFailure;
        }
        return verdict;
    }

private:
    const Capsule &capsule(int blemish) const { return mCapsules[static_cast<std::size_t>(blemish)]; }

    QVector<Group> groups() const
    {
        QVector<Group> groups;
        for (int i = 0; i < mScene.defects.size(); ++i)
            groups.append(Group{i});
        const auto anyKind = [this](const Group &group) { return !standsAlone(group); };
        const auto pointLike = [this](const Group &group) {
            return !standsAlone(group) && defectOf(group).type == Defect::Type::Defect;
        };
        join(&groups, touchDistance, anyKind);
        join(&groups, mergeDistance, pointLike);
        return groups;
    }

    /// By their width scratches are told apart even where they cross.
    bool standsAlone(const Group &group) const
    {
        return mScratchSize == ScratchSize::Width && mScene.defects[group.first()].kind == EndfaceDefect::Kind::Scratch;
    }

    /// Joins groups that are not farther apart, directly or by way of others; only those that were eligible before.
    template <typename Eligible>
    void join(QVector<Group> *groups, double distance, Eligible isEligible) const
    {
        QVector<Group> open;
        QVector<Group> done;
        for (const Group &group : qAsConst(*groups))
            (isEligible(group) ? open : done).append(group);
        while (!open.isEmpty()) {
            Group group = open.takeFirst();
            for (int i = 0; i < open.size();) {
                if (!areClose(group, open[i], distance)) {
                    ++i;
                    continue;
                }
                group += open.takeAt(i);
                i = 0; // the group has grown
            }
            done.append(group);
        }
        *groups = done;
    }

    bool areClose(const Group &a, const Group &b, double distance) const
    {
        return std::any_of(a.cbegin(), a.cend(), [&](int i) {
            return std::any_of(
                b.cbegin(), b.cend(), [&](int j) { return gapBetween(capsule(i), capsule(j)) <= distance; });
        });
    }

    /// Lengths of the result are micrometres, but for the rectangle, which decides about scratches in pixels.
    Defect defectOf(const Group &group) const
    {
        Defect defect;
        const std::vector<cv::Point2f> points = outline(group);
        const cv::RotatedRect rectangle = cv::minAreaRect(points);
        const auto inPixels = [this](float length) {
            return static_cast<int>(static_cast<double>(length) / mScene.micronsPerPixel());
        };
        defect.boundingRectSize = {inPixels(rectangle.size.width), inPixels(rectangle.size.height)};
        const Defect::Type type = standsAlone(group) ? Defect::Type::Scratch : defect.calculateType();

        Defect result;
        result.type = type;
        result.enclosingCircle = circleAround(group, points);
        result.size = 2 * result.enclosingCircle.radius;
        if (standsAlone(group))
            result.size = static_cast<float>(mScene.defects[group.first()].size);
        return result;
    }

    Circle circleAround(const Group &group, const std::vector<cv::Point2f> &points) const
    {
        if (group.size() == 1) { // exactly, for the sizes on the bounds of the rules
            const Capsule &only = capsule(group.first());
            const double radius = distanceBetween(only.from, only.to) / 2.0 + only.radius;
            return {(only.from + only.to) / 2.0, static_cast<float>(radius)};
        }
        cv::Point2f center;
        float radius = 0;
        cv::minEnclosingCircle(points, center, radius);
        return {center.x, center.y, radius};
    }

    std::vector<cv::Point2f> outline(const Group &group) const
    {
        constexpr int pointsPerEnd = 64;
        std::vector<cv::Point2f> points;
        for (const int blemish : group) {
            const Capsule &shape = capsule(blemish);
            for (int i = 0; i < pointsPerEnd; ++i) {
                const double angle = 2.0 * pi * i / pointsPerEnd;
                const QPointF radius = QPointF(std::cos(angle), std::sin(angle)) * shape.radius;
                for (const QPointF &point : {shape.from + radius, shape.to + radius})
                    points.emplace_back(static_cast<float>(point.x()), static_cast<float>(point.y()));
            }
        }
        return points;
    }

    const EndfaceScene &mScene;
    Standard mStandard;
    ScratchSize mScratchSize;
    std::vector<Capsule> mCapsules;
};
} // namespace

bool liesOn(const EndfaceDefect &blemish, const QPointF &place, double reach)
{
    const Capsule shape(blemish);
    return shape.distanceOfAxisTo(place) <= shape.radius + reach;
}

TrueVerdict gradeTruth(const EndfaceScene &scene, Standard::Id standard, ScratchSize scratchSize)
{
    return TruthGrader(scene, standard, scratchSize).grade();
}

} // namespace Study
