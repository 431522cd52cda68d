// SPDX-License-Identifier: Apache-2.0
#include "simulation/EndfaceScenes.h"

#include "simulation/EndfaceRandom.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {
constexpr double pi = 3.14159265358979323846;
constexpr double inspectedDiameter = 250.0; // micrometres, the contact zone
constexpr double inspectedMargin = 20.0; // pixels on each side of it
constexpr double speckPitch = 7.0; // pixels; closer specks would melt into one another
constexpr double speckSize = 2.4; // pixels
constexpr double speckContrast = 0.8;
constexpr double sharpFocus = 0.6; // pixels; the blur of a scene of specks, which are to stay apart

enum Stream : quint32 { PresetStream = 100, RandomSceneStream, SpeckStream };

EndfaceRandom randomFor(quint32 seed, quint32 stream)
{
    return EndfaceRandom(static_cast<quint64>(stream) << 32U | seed);
}

EndfaceDefect pit(double size, QPointF center, double contrast = 0.6)
{
    EndfaceDefect defect;
    defect.size = size;
    defect.center = center;
    defect.contrast = contrast;
    return defect;
}

EndfaceDefect particle(double size, QPointF center, double contrast = 0.6)
{
    EndfaceDefect defect = pit(size, center, contrast);
    defect.kind = EndfaceDefect::Kind::Particle;
    defect.irregularity = 0.35;
    return defect;
}

EndfaceDefect scratch(double width, double length, QPointF center, double angle, double contrast = 0.5)
{
    EndfaceDefect defect = pit(width, center, contrast);
    defect.kind = EndfaceDefect::Kind::Scratch;
    defect.length = length;
    defect.angle = angle;
    defect.irregularity = 0.4;
    return defect;
}

EndfaceDefect stain(double size, QPointF center, double contrast)
{
    EndfaceDefect defect = pit(size, center, contrast);
    defect.kind = EndfaceDefect::Kind::Stain;
    defect.irregularity = 0.5;
    return defect;
}

// Evenly spread over a disc.
QPointF pointInDisc(double radius, EndfaceRandom *random)
{
    const double distance = radius * std::sqrt(random->uniform());
    const double angle = random->uniform(0.0, 2.0 * pi);
    return {distance * std::cos(angle), distance * std::sin(angle)};
}

// Small ones are more frequent: every octave of size is equally likely.
double logUniform(double low, double high, EndfaceRandom *random)
{
    return low * std::pow(high / low, random->uniform());
}

void makeMultimode(EndfaceScene *scene)
{
    scene->coreDiameter = 50.0;
    scene->gradedCore = true;
    scene->coreGrey = 150.0;
}

EndfaceScene cleanScene()
{
    EndfaceScene scene;
    scene.offset = {14.0, -9.0};
    scene.illumination = 0.03;
    scene.illuminationAngle = 25.0;
    scene.seed = 4711;
    return scene;
}

EndfaceScene scratchedScene()
{
    EndfaceScene scene = cleanScene();
    scene.offset = {-22.0, 12.0};
    scene.seed = 4712;
    scene.defects = {
        scratch(2.4, 150.0, {6.0, -3.0}, 34.0, 0.55),
        scratch(1.8, 62.0, {-24.0, 22.0}, 41.0, 0.5),
        scratch(1.6, 48.0, {26.0, -32.0}, 118.0, 0.45),
        scratch(1.5, 210.0, {70.0, 95.0}, 28.0, 0.3),
    };
    return scene;
}

EndfaceScene pittedScene()
{
    EndfaceScene scene = cleanScene();
    scene.offset = {8.0, 20.0};
    scene.seed = 4713;
    scene.defects = {
        pit(5.5, {5.0, -3.5}, 0.65),
        pit(3.2, {-19.0, 8.0}),
        pit(9.0, {31.0, 21.0}, 0.7),
        pit(4.2, {-34.0, -26.0}),
        pit(28.0, {-20.0, 36.0}, 0.6),
        pit(2.4, {12.0, 40.0}),
        pit(6.0, {88.0, -40.0}, 0.5),
        pit(11.0, {-66.0, -84.0}, 0.5),
    };
    return scene;
}

// What a fingertip and a pocket leave behind: a film, and dust of all sizes.
EndfaceScene dirtyScene()
{
    constexpr int dustOnField = 260;
    constexpr int dustAroundFibre = 60;
    EndfaceScene scene = cleanScene();
    scene.offset = {-10.0, -14.0};
    scene.seed = 4714;
    EndfaceRandom random = randomFor(scene.seed, PresetStream);
    scene.defects = {stain(90.0, {-30.0, 34.0}, 0.09), stain(130.0, {95.0, -70.0}, 0.08),
        stain(60.0, {40.0, 30.0}, 0.07), particle(26.0, {34.0, -20.0}), particle(14.0, {-12.0, -38.0})};
    for (int i = 0; i < dustOnField + dustAroundFibre; ++i) {
        const QPointF center = pointInDisc(i < dustOnField ? 520.0 : 110.0, &random);
        const double size = logUniform(1.6, 14.0, &random);
        scene.defects.append(particle(size, center, random.uniform(0.25, 0.65)));
    }
    return scene;
}

EndfaceScene multimodeScene()
{
    EndfaceScene scene = cleanScene();
    makeMultimode(&scene);
    scene.offset = {20.0, -16.0};
    scene.seed = 4715;
    scene.defects = {pit(4.0, {44.0, -18.0}), pit(6.5, {-38.0, 30.0}), scratch(2.0, 47.0, {-9.0, -55.0}, 9.0, 0.6)};
    return scene;
}

// A speck in the core zone that is just so dark that an analysis may see it or not.
EndfaceScene marginScene()
{
    EndfaceScene scene = cleanScene();
    scene.offset = {-6.0, 4.0};
    scene.seed = 4716;
    scene.defects = {pit(3.2, {3.5, -6.0}, 0.23)};
    return scene;
}

struct Preset
{
    const char *name;
    const char *description;
    EndfaceScene (*scene)();
};

constexpr std::array<Preset, 6> presets{{
    {"clean", "a single-mode fibre without a blemish", cleanScene},
    {"scratched", "scratches over core and cladding", scratchedScene},
    {"pitted", "pits of several sizes in core and cladding", pittedScene},
    {"dirty", "dust of all sizes on a film of grease", dirtyScene},
    {"mm", "a multimode fibre with tolerable pits and a tolerable scratch", multimodeScene},
    {"margin", "a speck in the core zone at the margin of being seen", marginScene},
}};

const Preset *findPreset(const QString &name)
{
    const auto *const found = std::find_if(
        presets.begin(), presets.end(), [&](const Preset &preset) { return name == QLatin1String(preset.name); });
    return found == presets.end() ? nullptr : found;
}

// Specks sit in the middle of the cells of a grid, a little off it where there is room.
struct SpeckGrid
{
    double side; // micrometres
    int cellsPerSide;
};

SpeckGrid speckGrid(const EndfaceScene &scene, int specks)
{
    const double side = inspectedDiameter + 2.0 * (inspectedMargin - speckPitch) * scene.micronsPerPixel();
    return {side, static_cast<int>(std::ceil(std::sqrt(specks)))};
}
} // namespace

QStringList endfacePresets()
{
    QStringList names;
    for (const Preset &preset : presets)
        names.append(QLatin1String(preset.name));
    return names;
}

QString endfacePresetDescription(const QString &name)
{
    const Preset *preset = findPreset(name);
    return preset ? QString::fromUtf8(preset->description) : QString();
}

EndfaceScene endfacePreset(const QString &name)
{
    const Preset *preset = findPreset(name);
    return preset ? preset->scene() : cleanScene();
}

EndfaceScene randomEndfaceScene(quint32 seed, const EndfaceRandomOptions &options)
{
    EndfaceRandom random = randomFor(seed, RandomSceneStream);
    EndfaceScene scene;
    scene.seed = seed;
    scene.size = options.size;
    if (options.multimode)
        makeMultimode(&scene);
    scene.offset = {random.uniform(-1.0, 1.0) * options.maxOffsetX, random.uniform(-1.0, 1.0) * options.maxOffsetY};
    const double brightness = random.uniform(-8.0, 8.0);
    scene.ferruleGrey += brightness + random.uniform(-4.0, 4.0);
    scene.claddingGrey += brightness;
    scene.coreGrey += brightness;
    scene.texture = random.uniform(0.7, 1.2);
    scene.ringWidth = random.uniform(0.9, 1.3);
    scene.ringContrast = random.uniform(0.08, 0.16);
    scene.illumination = random.uniform() * options.maxIllumination;
    scene.illuminationAngle = random.uniform(0.0, 360.0);
    scene.blurSigma = random.uniform(std::min(0.7, options.maxBlurSigma), options.maxBlurSigma);
    scene.noiseSigma = random.uniform(std::min(0.5, options.maxNoiseSigma), options.maxNoiseSigma);

    const double reach = 0.6 * scene.claddingDiameter;
    const int pits = random.integer(0, options.maxPits);
    const int particles = random.integer(0, options.maxParticles);
    const int scratches = random.integer(0, options.maxScratches);
    for (int i = 0; i < pits + particles; ++i) {
        const double size = logUniform(options.minDefectSize, options.maxDefectSize, &random);
        const QPointF center = pointInDisc(reach, &random);
        const double contrast = random.uniform(0.35, 0.75);
        scene.defects.append(i < pits ? pit(size, center, contrast) : particle(size, center, contrast));
    }
    for (int i = 0; i < scratches; ++i) {
        const double width = random.uniform(1.0, 3.5);
        const double length = logUniform(15.0, 180.0, &random);
        const QPointF center = pointInDisc(reach, &random);
        const double angle = random.uniform(0.0, 180.0);
        scene.defects.append(scratch(width, length, center, angle, random.uniform(0.3, 0.65)));
    }
    return scene;
}

int maxEndfaceSpecks(const EndfaceScene &scene)
{
    const int perSide = static_cast<int>(speckGrid(scene, 1).side / (speckPitch * scene.micronsPerPixel()));
    return std::min(perSide * perSide, EndfaceScene::maxDefects - scene.defects.size());
}

void addEndfaceSpecks(EndfaceScene *scene, int specks)
{
    const int wanted = std::min(specks, maxEndfaceSpecks(*scene));
    if (wanted <= 0)
        return;
    const SpeckGrid grid = speckGrid(*scene, wanted);
    const double pitch = grid.side / grid.cellsPerSide;
    const double room = (pitch - speckPitch * scene->micronsPerPixel()) / 2.0;
    EndfaceRandom random = randomFor(scene->seed, SpeckStream);

    int cellsLeft = grid.cellsPerSide * grid.cellsPerSide;
    int specksLeft = wanted;
    for (int cell = 0; specksLeft > 0; ++cell, --cellsLeft) {
        if (random.integer(1, cellsLeft) > specksLeft)
            continue; // of the cells left over a random choice stays empty
        --specksLeft;
        const int row = cell / grid.cellsPerSide;
        const int column = cell % grid.cellsPerSide;
        const QPointF middle = QPointF(column + 0.5, row + 0.5) * pitch - QPointF(grid.side, grid.side) / 2.0;
        const QPointF jitter{random.uniform(-room, room), random.uniform(-room, room)};
        EndfaceDefect speck = pit(speckSize * scene->micronsPerPixel(), middle + jitter, speckContrast);
        speck.irregularity = 0.0;
        scene->defects.append(speck);
    }
}

EndfaceScene dirtyEndfaceScene(quint32 seed, int specks)
{
    constexpr std::array<QSize, 2> sizes{{{800, 600}, {1600, 1200}}};
    EndfaceScene scene;
    scene.seed = seed;
    for (const QSize size : sizes) {
        scene.size = size;
        if (maxEndfaceSpecks(scene) >= specks)
            break;
    }
    scene.blurSigma = sharpFocus * scene.micronsPerPixel();
    addEndfaceSpecks(&scene, specks);
    return scene;
}
