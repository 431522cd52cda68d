// SPDX-License-Identifier: Apache-2.0
#include "simulation/EndfacePainter.h"

#include "simulation/EndfaceRandom.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <cmath>

namespace {
constexpr double pi = 3.14159265358979323846;
constexpr int samplesPerSide = 3; // of a pixel that a blemish crosses
constexpr double maxBlurPixels = 64.0;
constexpr double edgeSoftness = 0.5; // micrometres from full to no effect at the edge of a blemish
constexpr double rimSoftness = 2.0; // micrometres over which cladding and ferrule melt into one another
constexpr double ringMiddle = -0.5; // micrometres beyond the rim; the edge of the glass is a little rounded
constexpr double ringWaviness = 0.2; // share by which the ring's width varies
constexpr double calmReach = 50.0; // micrometres beyond the rim within which the polish grows calm
constexpr double calmness = 0.85; // share of the grain that is missing at the rim

// The fibres of a picture with two lie to both sides of the place of the one.
constexpr double twinDistanceX = 115.0; // micrometres
constexpr double twinDistanceY = 24.0;
constexpr double visibleShareOfCutFibre = 0.6; // of its diameter

// Zone diameters of the standard, in micrometres; the zone begins where the one before it ends.
struct ZoneLimit
{
    const char *name;
    double singleMode;
    double multimode;
};
constexpr std::array<ZoneLimit, 4> zoneLimits{{
    {"core", 25.0, 65.0},
    {"cladding", 110.0, 110.0},
    {"adhesive", 135.0, 135.0},
    {"contact", 250.0, 250.0},
}};

enum Stream : quint32 { GrainStream, FerruleMarkStream, RingStream, NoiseStream, FirstDefectStream };

quint64 streamSeed(quint32 seed, quint32 stream)
{
    return static_cast<quint64>(stream) << 32U | seed;
}

double smoothStep(double from, double to, double value)
{
    const double t = std::clamp((value - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double square(double value)
{
    return value * value;
}

/// A wavy line around a centre: -1 to 1, depending on the direction only.
class Waviness
{
public:
    explicit Waviness(EndfaceRandom *random)
    {
        double sum = 0.0;
        for (Wave &wave : mWaves) {
            const double phase = random->uniform(0.0, 2.0 * pi);
            const double height = random->uniform(0.3, 1.0);
            wave = {height * std::cos(phase), height * std::sin(phase)};
            sum += height;
        }
        for (Wave &wave : mWaves)
            wave = {wave.cosine / sum, wave.sine / sum};
    }

    double at(double dx, double dy) const
    {
        const double distance = std::sqrt(dx * dx + dy * dy);
        if (distance <= 0.0)
            return 0.0;
        const double c = dx / distance;
        const double s = dy / distance;
        double cosine = c * c - s * s; // of twice the angle; the single one would only shift the shape
        double sine = 2.0 * c * s;
        double height = 0.0;
        for (const Wave &wave : mWaves) {
            height += wave.cosine * cosine - wave.sine * sine;
            const double next = cosine * c - sine * s;
            sine = sine * c + cosine * s;
            cosine = next;
        }
        return height;
    }

private:
    struct Wave
    {
        double cosine;
        double sine;
    };
    std::array<Wave, 8> mWaves{};
};

/// How much of the light a round blemish takes at a place, 0 to 1 (below 0 where it shines).
class Spot
{
public:
    Spot(const EndfaceDefect &defect, EndfaceRandom *random)
        : mKind(defect.kind)
        , mRadius(defect.size / 2.0)
        , mIrregularity(defect.irregularity)
        , mWaviness(random)
        , mSpark{random->uniform(-0.3, 0.3), random->uniform(-0.3, 0.3)}
    {
    }

    double at(double dx, double dy) const
    {
        const double outline = mRadius * (1.0 - mIrregularity * (0.5 - 0.5 * mWaviness.at(dx, dy)));
        const double distance = std::sqrt(dx * dx + dy * dy);
        if (mKind == EndfaceDefect::Kind::Stain)
            return 1.0 - smoothStep(0.6 * outline, outline, distance);

        const double softness = std::min(edgeSoftness, mRadius) / 2.0;
        const double body = 1.0 - smoothStep(outline - softness, outline + softness, distance);
        if (mKind == EndfaceDefect::Kind::Pit)
            return body * (0.8 + 0.2 * distance / outline);

        // Dust bundles the light: a bright spot, a little off its middle, inside a dark rim.
        const double lensing = smoothStep(1.5, 4.0, mRadius);
        const double fromSpark = square(dx - mSpark.x() * mRadius) + square(dy - mSpark.y() * mRadius);
        const double spark = 1.0 - smoothStep(0.0, square(0.6 * outline), fromSpark);
        return body * (1.0 - 1.2 * lensing * spark);
    }

    double extentX() const { return mRadius + edgeSoftness; }
    double extentY() const { return mRadius + edgeSoftness; }

private:
    EndfaceDefect::Kind mKind;
    double mRadius;
    double mIrregularity;
    Waviness mWaviness;
    QPointF mSpark;
};

/// The same for a straight line that grows thin towards its ends and is not equally deep everywhere.
class Stroke
{
public:
    Stroke(const EndfaceDefect &defect, EndfaceRandom *random)
        : mHalfWidth(defect.size / 2.0)
        , mHalfLength(defect.length / 2.0)
        , mTaper(std::min(10.0, defect.length / 4.0))
        , mCosine(std::cos(defect.angle * pi / 180.0))
        , mSine(std::sin(defect.angle * pi / 180.0))
    {
        for (double &depth : mDepths)
            depth = 1.0 - defect.irregularity * random->uniform();
    }

    double at(double dx, double dy) const
    {
        const double along = dx * mCosine + dy * mSine;
        const double across = std::abs(dy * mCosine - dx * mSine);
        const double toEnd = mHalfLength - std::abs(along);
        const double softness = std::min(edgeSoftness, mHalfWidth) / 2.0;
        if (toEnd <= 0.0 || across >= mHalfWidth + softness)
            return 0.0;
        const double body = 1.0 - smoothStep(mHalfWidth - softness, mHalfWidth + softness, across);
        return body * smoothStep(0.0, mTaper, toEnd) * depth(along);
    }

    double extentX() const { return std::abs(mCosine) * mHalfLength + std::abs(mSine) * mHalfWidth + edgeSoftness; }
    double extentY() const { return std::abs(mSine) * mHalfLength + std::abs(mCosine) * mHalfWidth + edgeSoftness; }

private:
    double depth(double along) const
    {
        constexpr int last = static_cast<int>(std::tuple_size_v<decltype(mDepths)>) - 1;
        const double position = std::clamp((along / mHalfLength + 1.0) / 2.0, 0.0, 1.0) * last;
        const auto left = static_cast<std::size_t>(std::min(static_cast<int>(position), last - 1));
        const double share = smoothStep(0.0, 1.0, position - static_cast<double>(left));
        return mDepths[left] + (mDepths[left + 1] - mDepths[left]) * share;
    }

    double mHalfWidth;
    double mHalfLength;
    double mTaper;
    double mCosine;
    double mSine;
    std::array<double, 13> mDepths{};
};

class SurfacePainter
{
public:
    explicit SurfacePainter(const EndfaceScene &scene)
        : mScene(scene)
        , mWidth(scene.size.width())
        , mHeight(scene.size.height())
        , mScale(scene.micronsPerPixel())
        , mGrey(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(mHeight),
              static_cast<float>(scene.ferruleGrey))
    {
    }

    EndfaceSurface paint()
    {
        paintGrain();
        paintFerruleMarks();
        const QVector<QPointF> fibres = endfaceFibreCenters(mScene);
        EndfaceRandom ringRandom(streamSeed(mScene.seed, RingStream));
        for (const QPointF &center : fibres)
            paintFibre(center, &ringRandom);
        paintDefects();
        applyLight();
        return {mScene.size, mScale, std::move(mGrey)};
    }

private:
    float *row(int y) { return mGrey.data() + static_cast<std::ptrdiff_t>(y) * mWidth; }

    QPointF middle() const { return {(mWidth - 1) / 2.0, (mHeight - 1) / 2.0}; }

    // Polished zirconia: crystals at the limit of the resolution, and the broad unevenness of the polish.
    void paintGrain()
    {
        EndfaceRandom random(streamSeed(mScene.seed, GrainStream));
        addGrain(1.7, 5.5 * mScene.texture, &random);
        addGrain(4.3, 3.0 * mScene.texture, &random);
        addGrain(38.0, 2.5 * mScene.texture, &random);
    }

    // Adds smoothly interpolated random values, one per cell, from -amplitude to amplitude.
    void addGrain(double cell, double amplitude, EndfaceRandom *random)
    {
        const double step = mScale / std::max(cell, mScale); // cells per pixel
        const int columns = static_cast<int>(mWidth * step) + 2;
        const int rows = static_cast<int>(mHeight * step) + 2;
        std::vector<float> lattice(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
        for (float &value : lattice)
            value = static_cast<float>(random->uniform(-amplitude, amplitude));

        std::vector<float> line(static_cast<std::size_t>(columns));
        for (int y = 0; y < mHeight; ++y) {
            const int above = static_cast<int>(y * step);
            const auto below = static_cast<float>(smoothStep(0.0, 1.0, y * step - above));
            const float *upper = lattice.data() + static_cast<std::ptrdiff_t>(above) * columns;
            for (int i = 0; i < columns; ++i)
                line[static_cast<std::size_t>(i)] = upper[i] + (upper[i + columns] - upper[i]) * below;
            addInterpolated(line, step, row(y));
        }
    }

    void addInterpolated(const std::vector<float> &line, double step, float *out) const
    {
        for (int x = 0; x < mWidth; ++x) {
            const int left = static_cast<int>(x * step);
            const auto share = static_cast<float>(x * step - left);
            const float *values = line.data() + left;
            out[x] += values[0] + (values[1] - values[0]) * (share * share * (3.0F - 2.0F * share));
        }
    }

    // Hairlines of the last polish, and places where a crystal broke out. Both keep clear of the fibre's surroundings.
    void paintFerruleMarks()
    {
        constexpr int hairlines = 26;
        constexpr int pores = 130;
        constexpr double clearRadius = 90.0; // micrometres
        EndfaceRandom random(streamSeed(mScene.seed, FerruleMarkStream));
        const double fovHeight = mHeight * mScale;
        for (int i = 0; i < hairlines + pores; ++i) {
            EndfaceDefect mark;
            mark.kind = i < hairlines ? EndfaceDefect::Kind::Scratch : EndfaceDefect::Kind::Pit;
            mark.size = i < hairlines ? random.uniform(0.6, 1.2) : random.uniform(1.0, 2.6);
            mark.length = random.uniform(60.0, 360.0);
            mark.angle = random.uniform(0.0, 180.0);
            mark.center = {random.uniform(-0.5, 0.5) * mScene.fovWidth, random.uniform(-0.5, 0.5) * fovHeight};
            const bool shines = i < hairlines && i % 2 == 0;
            mark.contrast = mScene.texture * (i < hairlines ? random.uniform(0.01, 0.035) : random.uniform(0.05, 0.2));
            mark.contrast = std::min(shines ? -mark.contrast : mark.contrast, 1.0);
            mark.irregularity = 0.5;
            const QPointF fromFibre = mark.center - mScene.offset;
            if (i < hairlines || fromFibre.x() * fromFibre.x() + fromFibre.y() * fromFibre.y() > square(clearRadius))
                paintDefect(mark, middle(), &random);
        }
    }

    void paintFibre(const QPointF &center, EndfaceRandom *random)
    {
        const double radius = mScene.claddingDiameter / 2.0;
        const double reach = radius + calmReach;
        const double halfEdge = std::max(rimSoftness, mScale) / 2.0;
        const double adhesiveGrey = mScene.claddingGrey * (1.0 - mScene.ringContrast);
        const Waviness waviness(random);
        forEachPixelAround(center, reach, reach, [&](float &grey, double dx, double dy) {
            const double distance = std::sqrt(dx * dx + dy * dy);
            if (distance > reach)
                return;
            const double calm = calmness * (1.0 - smoothStep(radius + 0.2 * calmReach, reach, distance));
            const double ferrule = grey + (mScene.ferruleGrey - grey) * calm;
            const double glass = 1.0 - smoothStep(radius - halfEdge, radius + halfEdge, distance);
            const double level = ferrule + (fibreGrey(distance, radius) - ferrule) * glass;
            const double ring = ringShare(distance - radius, waviness.at(dx, dy));
            grey = static_cast<float>(level + (adhesiveGrey - level) * ring);
        });
    }

    // The adhesive fills a gap that is not equally wide everywhere.
    double ringShare(double beyondRim, double waviness) const
    {
        const double width = mScene.ringWidth * (1.0 + ringWaviness * waviness);
        if (width <= 0.0)
            return 0.0;
        const double fromMiddle = std::abs(beyondRim - ringMiddle);
        return std::min(1.0, (1.0 - smoothStep(0.25 * width, width, fromMiddle)) * (0.9 + 0.2 * waviness));
    }

    double fibreGrey(double distance, double claddingRadius) const
    {
        const double coreRadius = mScene.coreDiameter / 2.0;
        const double lift = mScene.coreGrey - mScene.claddingGrey;
        const double roundedEdge = 0.05 * smoothStep(claddingRadius - 4.0, claddingRadius, distance);
        const double cladding = mScene.claddingGrey * (1.0 - roundedEdge);
        if (mScene.gradedCore) {
            const double profile = std::max(0.0, 1.0 - square(distance / coreRadius));
            const double disc = 1.0 - smoothStep(coreRadius - 1.5, coreRadius + 1.5, distance);
            return cladding + lift * (0.65 * profile + 0.35 * disc);
        }
        const double disc = 1.0 - smoothStep(coreRadius - 0.6, coreRadius + 0.6, distance);
        const double glow = square(std::max(0.0, 1.0 - square(distance / (coreRadius + 6.0))));
        return cladding + lift * (0.75 * disc + 0.25 * glow);
    }

    void paintDefects()
    {
        const QVector<QPointF> fibres = endfaceFibreCenters(mScene);
        const QPointF origin = fibres.isEmpty() ? middle() + mScene.offset / mScale : fibres.first();
        quint32 stream = FirstDefectStream;
        for (const EndfaceDefect &defect : mScene.defects) {
            EndfaceRandom random(streamSeed(mScene.seed, stream++));
            paintDefect(defect, origin, &random);
        }
    }

    void paintDefect(const EndfaceDefect &defect, const QPointF &origin, EndfaceRandom *random)
    {
        const QPointF center = origin + defect.center / mScale;
        if (defect.kind == EndfaceDefect::Kind::Scratch)
            paintShape(Stroke(defect, random), center, defect.contrast);
        else
            paintShape(Spot(defect, random), center, defect.contrast);
    }

    // Each pixel gets the mean over its area, so that blemishes smaller than a pixel keep their weight.
    template <typename Shape>
    void paintShape(const Shape &shape, const QPointF &center, double contrast)
    {
        const double step = mScale / samplesPerSide;
        const double first = -step * (samplesPerSide - 1) / 2.0;
        forEachPixelAround(center, shape.extentX(), shape.extentY(), [&](float &grey, double dx, double dy) {
            double sum = 0.0;
            for (int i = 0; i < samplesPerSide; ++i) {
                for (int j = 0; j < samplesPerSide; ++j)
                    sum += shape.at(dx + first + i * step, dy + first + j * step);
            }
            grey *= static_cast<float>(1.0 - contrast * sum / (samplesPerSide * samplesPerSide));
        });
    }

    // Visits the pixels of a rectangle with their distance from its centre; all lengths but the centre's in
    // micrometres.
    template <typename Visitor>
    void forEachPixelAround(const QPointF &center, double extentX, double extentY, Visitor visit)
    {
        const int left = pixelAt(center.x() - extentX / mScale, mWidth);
        const int right = pixelAt(center.x() + extentX / mScale + 2.0, mWidth);
        const int top = pixelAt(center.y() - extentY / mScale, mHeight);
        const int bottom = pixelAt(center.y() + extentY / mScale + 2.0, mHeight);
        for (int y = top; y < bottom; ++y) {
            float *greys = row(y);
            for (int x = left; x < right; ++x)
                visit(greys[x], (x - center.x()) * mScale, (y - center.y()) * mScale);
        }
    }

    static int pixelAt(double position, int limit)
    {
        return static_cast<int>(std::clamp<double>(position, 0.0, limit));
    }

    void applyLight()
    {
        const double directionX = std::cos(mScene.illuminationAngle * pi / 180.0) / mWidth;
        const double directionY = std::sin(mScene.illuminationAngle * pi / 180.0) / mWidth;
        const QPointF center = middle();
        const double cornerSquared = square(center.x()) + square(center.y());
        for (int y = 0; y < mHeight; ++y) {
            float *greys = row(y);
            const double dy = y - center.y();
            for (int x = 0; x < mWidth; ++x) {
                const double dx = x - center.x();
                const double falloff = 1.0 - mScene.vignetting * (dx * dx + dy * dy) / cornerSquared;
                const double slope = 1.0 + mScene.illumination * (dx * directionX + dy * directionY);
                greys[x] *= static_cast<float>(falloff * slope);
            }
        }
    }

    const EndfaceScene &mScene;
    int mWidth;
    int mHeight;
    double mScale; // micrometres per pixel
    std::vector<float> mGrey;
};

// Weights from the middle outwards; together with their mirror image they sum up to 1.
std::vector<float> gaussianWeights(double sigma)
{
    const int reach = static_cast<int>(std::ceil(3.0 * sigma));
    std::vector<double> weights;
    double sum = 0.0;
    for (int i = 0; i <= reach; ++i) {
        weights.push_back(std::exp(-square(i / sigma) / 2.0));
        sum += i == 0 ? weights.back() : 2.0 * weights.back();
    }
    std::vector<float> result;
    result.reserve(weights.size());
    for (const double weight : weights)
        result.push_back(static_cast<float>(weight / sum));
    return result;
}

void addWeighted(const float *a, const float *b, float weight, int count, float *sum)
{
    for (int x = 0; x < count; ++x)
        sum[x] += weight * (a[x] + b[x]);
}

void blurRow(const std::vector<float> &weights, int width, std::vector<float> *padded, float *out)
{
    const int reach = static_cast<int>(weights.size()) - 1;
    float *in = padded->data() + reach;
    std::copy(out, out + width, in);
    std::fill(padded->data(), in, in[0]);
    std::fill(in + width, in + width + reach, in[width - 1]);
    for (int x = 0; x < width; ++x)
        out[x] = weights[0] * in[x];
    for (int i = 1; i <= reach; ++i)
        addWeighted(in - i, in + i, weights[static_cast<std::size_t>(i)], width, out);
}

std::vector<float> blurred(const EndfaceSurface &surface, double sigma)
{
    const int width = surface.size.width();
    const int height = surface.size.height();
    const std::vector<float> weights = gaussianWeights(sigma);
    const int reach = static_cast<int>(weights.size()) - 1;
    const auto sourceRow = [&](int y) {
        return surface.grey.data() + static_cast<std::ptrdiff_t>(std::clamp(y, 0, height - 1)) * width;
    };

    std::vector<float> result(surface.grey.size());
    std::vector<float> padded(static_cast<std::size_t>(width + 2 * reach));
    for (int y = 0; y < height; ++y) {
        float *out = result.data() + static_cast<std::ptrdiff_t>(y) * width;
        const float *in = sourceRow(y);
        for (int x = 0; x < width; ++x)
            out[x] = weights[0] * in[x];
        for (int i = 1; i <= reach; ++i)
            addWeighted(sourceRow(y - i), sourceRow(y + i), weights[static_cast<std::size_t>(i)], width, out);
        blurRow(weights, width, &padded, out);
    }
    return result;
}

bool isBetween(double value, double low, double high)
{
    return value >= low && value <= high; // false for NaN
}

QString defectProblem(const EndfaceDefect &defect)
{
    constexpr double maxLength = 10000.0; // micrometres
    if (!isBetween(defect.size, 0.1, 2000.0))
        return QStringLiteral("the size of a defect must be 0.1 to 2000 micrometres");
    if (defect.kind == EndfaceDefect::Kind::Scratch && !isBetween(defect.length, 0.1, maxLength))
        return QStringLiteral("the length of a scratch must be 0.1 to 10000 micrometres");
    if (!isBetween(defect.angle, -360.0, 360.0))
        return QStringLiteral("the angle of a scratch must be -360 to 360 degrees");
    if (!isBetween(defect.center.x(), -maxLength, maxLength) || !isBetween(defect.center.y(), -maxLength, maxLength))
        return QStringLiteral("a defect must lie within 10000 micrometres of the fibre centre");
    if (!isBetween(defect.contrast, -1.0, 1.0))
        return QStringLiteral("the contrast of a defect must be -1 to 1");
    if (!isBetween(defect.irregularity, 0.0, 0.9))
        return QStringLiteral("the irregularity of a defect must be 0 to 0.9");
    return {};
}

QString kindName(EndfaceDefect::Kind kind)
{
    switch (kind) {
    case EndfaceDefect::Kind::Pit:
        return QStringLiteral("pit");
    case EndfaceDefect::Kind::Particle:
        return QStringLiteral("particle");
    case EndfaceDefect::Kind::Scratch:
        return QStringLiteral("scratch");
    case EndfaceDefect::Kind::Stain:
        return QStringLiteral("stain");
    }
    return {};
}

QString frameName(EndfaceScene::Frame frame)
{
    switch (frame) {
    case EndfaceScene::Frame::Normal:
        return QStringLiteral("normal");
    case EndfaceScene::Frame::NoFibre:
        return QStringLiteral("none");
    case EndfaceScene::Frame::TwoFibres:
        return QStringLiteral("two");
    case EndfaceScene::Frame::CutByBorder:
        return QStringLiteral("cut");
    }
    return {};
}

// What was calculated is given to a thousandth, so that the last bits of a libm do not show.
double rounded(double value)
{
    return std::round(value * 1000.0) / 1000.0;
}

QJsonObject pointJson(const QPointF &point)
{
    return {{QStringLiteral("x"), rounded(point.x())}, {QStringLiteral("y"), rounded(point.y())}};
}

// Distances of the nearest and the farthest point of a defect from the fibre centre, in micrometres.
struct Reach
{
    double nearest;
    double farthest;
};

Reach reachOf(const EndfaceDefect &defect)
{
    const double radius = defect.size / 2.0;
    const QPointF c = defect.center;
    if (defect.kind != EndfaceDefect::Kind::Scratch) {
        const double distance = std::hypot(c.x(), c.y());
        return {std::max(0.0, distance - radius), distance + radius};
    }
    const double half = defect.length / 2.0;
    const QPointF direction(std::cos(defect.angle * pi / 180.0), std::sin(defect.angle * pi / 180.0));
    const QPointF nearest = c + direction * std::clamp(-QPointF::dotProduct(c, direction), -half, half);
    const QPointF one = c + direction * half;
    const QPointF other = c - direction * half;
    return {std::max(0.0, std::hypot(nearest.x(), nearest.y()) - radius),
        std::max(std::hypot(one.x(), one.y()), std::hypot(other.x(), other.y())) + radius};
}

QJsonArray zonesTouched(const Reach &reach, bool multimode)
{
    QJsonArray names;
    double inner = 0.0;
    for (const ZoneLimit &zone : zoneLimits) {
        const double outer = (multimode ? zone.multimode : zone.singleMode) / 2.0;
        if (reach.nearest < outer && reach.farthest >= inner)
            names.append(QLatin1String(zone.name));
        inner = outer;
    }
    return names;
}

QJsonObject defectJson(const EndfaceDefect &defect, const QPointF &fibre, const EndfaceScene &scene)
{
    const Reach reach = reachOf(defect);
    const bool scratch = defect.kind == EndfaceDefect::Kind::Scratch;
    QJsonObject json{
        {QStringLiteral("kind"), kindName(defect.kind)},
        {QStringLiteral("size"), scratch ? std::max(defect.length, defect.size) : defect.size},
        {QStringLiteral("center"), pointJson(defect.center)},
        {QStringLiteral("centerPx"), pointJson(fibre + defect.center / scene.micronsPerPixel())},
        {QStringLiteral("contrast"), defect.contrast},
        {QStringLiteral("irregularity"), defect.irregularity},
        {QStringLiteral("nearest"), rounded(reach.nearest)},
        {QStringLiteral("farthest"), rounded(reach.farthest)},
        {QStringLiteral("zones"), zonesTouched(reach, scene.isMultimode())},
    };
    if (scratch) {
        json.insert(QStringLiteral("width"), defect.size);
        json.insert(QStringLiteral("length"), defect.length);
        json.insert(QStringLiteral("angle"), defect.angle);
    }
    return json;
}
} // namespace

QString EndfaceScene::problem() const
{
    if (!isBetween(size.width(), minSide, maxSide) || !isBetween(size.height(), minSide, maxSide))
        return QStringLiteral("the picture must be %1 to %2 pixels wide and high").arg(minSide).arg(maxSide);
    if (!isBetween(fovWidth, 20.0, 20000.0))
        return QStringLiteral("the field of view must be 20 to 20000 micrometres wide");
    if (!isBetween(claddingDiameter, 1.0, 2000.0))
        return QStringLiteral("the cladding must be 1 to 2000 micrometres wide");
    if (!isBetween(coreDiameter, 0.1, claddingDiameter))
        return QStringLiteral("the core must be wider than 0.1 micrometres and fit into the cladding");
    if (!isBetween(offset.x(), -10000.0, 10000.0) || !isBetween(offset.y(), -10000.0, 10000.0))
        return QStringLiteral("the offset must be -10000 to 10000 micrometres");
    for (const double grey : {ferruleGrey, claddingGrey, coreGrey}) {
        if (!isBetween(grey, 0.0, 255.0))
            return QStringLiteral("grey levels must be 0 to 255");
    }
    if (!isBetween(ringWidth, 0.0, 50.0) || !isBetween(texture, 0.0, 20.0))
        return QStringLiteral("the adhesive ring must be 0 to 50 micrometres wide and the texture 0 to 20 strong");
    for (const double share : {ringContrast, vignetting}) {
        if (!isBetween(share, 0.0, 1.0))
            return QStringLiteral("ring contrast and vignetting must be 0 to 1");
    }
    if (!isBetween(illumination, -1.0, 1.0) || !isBetween(illuminationAngle, -360.0, 360.0))
        return QStringLiteral("the illumination must be -1 to 1, its angle -360 to 360 degrees");
    if (!isBetween(blurSigma, 0.0, maxBlurPixels * micronsPerPixel()))
        return QStringLiteral("the blur must be 0 to %1 pixels").arg(maxBlurPixels);
    if (!isBetween(noiseSigma, 0.0, 255.0))
        return QStringLiteral("the noise must be 0 to 255 grey levels");
    if (defects.size() > maxDefects)
        return QStringLiteral("a scene holds at most %1 defects").arg(maxDefects);
    for (const EndfaceDefect &defect : defects) {
        const QString text = defectProblem(defect);
        if (!text.isEmpty())
            return text;
    }
    return {};
}

QVector<QPointF> endfaceFibreCenters(const EndfaceScene &scene)
{
    const double scale = scene.micronsPerPixel();
    const QPointF middle((scene.size.width() - 1) / 2.0, (scene.size.height() - 1) / 2.0);
    const QPointF center = middle + scene.offset / scale;
    const QPointF twin(twinDistanceX / scale, twinDistanceY / scale);
    switch (scene.frame) {
    case EndfaceScene::Frame::Normal:
        return {center};
    case EndfaceScene::Frame::NoFibre:
        return {};
    case EndfaceScene::Frame::TwoFibres:
        return {center - twin, center + twin};
    case EndfaceScene::Frame::CutByBorder:
        return {{scene.claddingDiameter * (visibleShareOfCutFibre - 0.5) / scale - 0.5, center.y()}};
    }
    return {};
}

EndfaceSurface paintEndfaceSurface(const EndfaceScene &scene)
{
    if (!scene.problem().isEmpty())
        return {};
    return SurfacePainter(scene).paint();
}

QImage exposeEndface(const EndfaceSurface &surface, double blurSigma, double noiseSigma, quint32 seed)
{
    if (surface.grey.empty())
        return {};
    const double sigma = std::min(blurSigma / surface.micronsPerPixel, maxBlurPixels);
    constexpr double sharp = 0.05; // pixels; less blur than this changes no grey level
    std::vector<float> softened;
    if (sigma > sharp)
        softened = blurred(surface, sigma);
    const float *grey = softened.empty() ? surface.grey.data() : softened.data();

    const auto noise = static_cast<float>(noiseSigma);
    EndfaceRandom random(streamSeed(seed, NoiseStream));
    QImage image(surface.size, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y) {
        uchar *line = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            const float value = *grey++ + noise * random.normal() + 0.5F;
            line[x] = static_cast<uchar>(std::clamp(value, 0.0F, 255.0F));
        }
    }
    return image;
}

QImage paintEndface(const EndfaceScene &scene)
{
    return exposeEndface(paintEndfaceSurface(scene), scene.blurSigma, scene.noiseSigma, scene.seed);
}

QJsonObject endfaceTruth(const EndfaceScene &scene)
{
    const QVector<QPointF> fibres = endfaceFibreCenters(scene);
    const QPointF middle((scene.size.width() - 1) / 2.0, (scene.size.height() - 1) / 2.0);
    const QPointF origin = fibres.isEmpty() ? middle + scene.offset / scene.micronsPerPixel() : fibres.first();

    QJsonArray fibreList;
    for (const QPointF &fibre : fibres)
        fibreList.append(pointJson(fibre));
    QJsonArray defectList;
    for (const EndfaceDefect &defect : scene.defects)
        defectList.append(defectJson(defect, origin, scene));
    QJsonObject zones;
    for (const ZoneLimit &zone : zoneLimits)
        zones.insert(QLatin1String(zone.name), scene.isMultimode() ? zone.multimode : zone.singleMode);

    return {
        {QStringLiteral("width"), scene.size.width()},
        {QStringLiteral("height"), scene.size.height()},
        {QStringLiteral("fovWidth"), scene.fovWidth},
        {QStringLiteral("micronsPerPixel"), scene.micronsPerPixel()},
        {QStringLiteral("frame"), frameName(scene.frame)},
        {QStringLiteral("mode"), scene.isMultimode() ? QStringLiteral("multimode") : QStringLiteral("single-mode")},
        {QStringLiteral("offset"), pointJson(scene.offset)},
        {QStringLiteral("fibresPx"), fibreList},
        {QStringLiteral("claddingDiameter"), scene.claddingDiameter},
        {QStringLiteral("claddingRadiusPx"), rounded(scene.claddingDiameter / 2.0 / scene.micronsPerPixel())},
        {QStringLiteral("coreDiameter"), scene.coreDiameter},
        {QStringLiteral("gradedCore"), scene.gradedCore},
        {QStringLiteral("ferruleGrey"), scene.ferruleGrey},
        {QStringLiteral("claddingGrey"), scene.claddingGrey},
        {QStringLiteral("coreGrey"), scene.coreGrey},
        {QStringLiteral("texture"), scene.texture},
        {QStringLiteral("ringWidth"), scene.ringWidth},
        {QStringLiteral("ringContrast"), scene.ringContrast},
        {QStringLiteral("vignetting"), scene.vignetting},
        {QStringLiteral("illumination"), scene.illumination},
        {QStringLiteral("illuminationAngle"), scene.illuminationAngle},
        {QStringLiteral("blurSigma"), scene.blurSigma},
        {QStringLiteral("noiseSigma"), scene.noiseSigma},
        {QStringLiteral("seed"), static_cast<double>(scene.seed)},
        {QStringLiteral("zones"), zones},
        {QStringLiteral("defects"), defectList},
    };
}
