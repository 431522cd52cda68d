// SPDX-License-Identifier: Apache-2.0
#include "endface/EndfaceCommand.h"

#include "Internal/OutputFile.h"
#include "common/CommandLineBase.h"
#include "common/ExitCode.h"
#include "common/FilePath.h"
#include "common/Terminal.h"
#include "simulation/EndfaceScenes.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QJsonDocument>

#include <array>
#include <cmath>
#include <optional>

namespace {
constexpr int maxRandomScenes = 100000;
constexpr int defaultQuality = 92;
constexpr double maxSeed = 4294967295.0;
constexpr double maxCount = 1e9;

/// What paints more than one picture, or none, and which options count then.
struct Mode
{
    const char *name;
    const char *options; ///< separated by blanks
};
constexpr std::array<Mode, 3> modes{{
    {"list-presets", ""},
    {"samples", "quality"},
    {"random", "seed size fov core multimode offset blur noise illumination defect specks frame quality out"},
}};

struct Choice
{
    const char *name;
    int value;
};
constexpr std::array<Choice, 4> frames{{
    {"normal", static_cast<int>(EndfaceScene::Frame::Normal)},
    {"none", static_cast<int>(EndfaceScene::Frame::NoFibre)},
    {"two", static_cast<int>(EndfaceScene::Frame::TwoFibres)},
    {"cut", static_cast<int>(EndfaceScene::Frame::CutByBorder)},
}};
constexpr std::array<Choice, 4> kinds{{
    {"pit", static_cast<int>(EndfaceDefect::Kind::Pit)},
    {"particle", static_cast<int>(EndfaceDefect::Kind::Particle)},
    {"scratch", static_cast<int>(EndfaceDefect::Kind::Scratch)},
    {"stain", static_cast<int>(EndfaceDefect::Kind::Stain)},
}};

std::optional<int> chosen(const std::array<Choice, 4> &choices, const QString &name)
{
    for (const Choice &choice : choices) {
        if (name == QLatin1String(choice.name))
            return choice.value;
    }
    return std::nullopt;
}

/// Finite numbers with a separator between them; empty unless their count is right.
QVector<double> numbers(const QString &text, QChar separator, int minCount, int maxCountOfNumbers)
{
    QVector<double> result;
    const QStringList parts = text.split(separator);
    for (const QString &part : parts) {
        bool ok = false;
        result.append(part.trimmed().toDouble(&ok));
        if (!ok || !std::isfinite(result.last()))
            return {};
    }
    if (result.size() < minCount || result.size() > maxCountOfNumbers)
        return {};
    return result;
}

std::optional<double> wholeNumber(const QString &text, double low, double high)
{
    const QVector<double> values = numbers(text, QLatin1Char(','), 1, 1);
    if (values.isEmpty() || values.first() < low || values.first() > high
        || std::floor(values.first()) != values.first())
        return std::nullopt;
    return values.first();
}

std::optional<EndfaceDefect> parseDefect(const QString &text)
{
    const QString name = text.section(QLatin1Char(','), 0, 0);
    const std::optional<int> kind = chosen(kinds, name);
    if (!kind)
        return std::nullopt;
    EndfaceDefect defect;
    defect.kind = static_cast<EndfaceDefect::Kind>(*kind);
    const bool scratch = defect.kind == EndfaceDefect::Kind::Scratch;
    const int needed = scratch ? 5 : 3;
    const QVector<double> values = numbers(text.section(QLatin1Char(','), 1), QLatin1Char(','), needed, needed + 1);
    if (values.isEmpty())
        return std::nullopt;

    int next = 0;
    defect.size = values[next++];
    if (scratch)
        defect.length = values[next++];
    const double x = values[next++];
    defect.center = {x, values[next++]};
    if (scratch)
        defect.angle = values[next++];
    if (next < values.size())
        defect.contrast = values[next];
    return defect;
}

/// The command line, and the first thing that is wrong with it.
class Command : public Tools::CommandLineBase
{
public:
    Command(QTextStream *out, QTextStream *err)
        : mStdout(out)
        , mStderr(err)
    {
        describeOptions();
    }

    int run(const QStringList &arguments)
    {
        if (!parse(arguments))
            return usageError(problem());
        if (!answer().isEmpty()) {
            *mStdout << answer();
            return Tools::Done;
        }
        if (const QString misfit = whatDoesNotFit(); !misfit.isEmpty())
            return usageError(misfit);
        if (mParser.isSet(mListPresets))
            return listPresets();
        if (mParser.isSet(mSamples))
            return writeSamples(QDir(Tools::FilePath::ofArgument(mParser.value(mSamples))));
        if (mParser.isSet(mRandom))
            return writeRandomScenes();
        return writeOne();
    }

private:
    bool readOptions() override { return true; } // each is read where it is needed
    bool mayRepeat(const QString &option) const override { return mDefect.names().contains(option); }

    /// What would be ignored, in words; empty when there is nothing.
    QString whatDoesNotFit() const
    {
        const QStringList given = mParser.optionNames();
        for (const Mode &mode : modes) {
            const QString name = QLatin1String(mode.name);
            if (!given.contains(name))
                continue;
            if (!mParser.positionalArguments().isEmpty())
                return QStringLiteral("--%1 does not go with a picture to write").arg(name);
            const QStringList fitting = QString::fromLatin1(mode.options).split(QLatin1Char(' '));
            for (const QString &option : given) {
                if (option != name && !fitting.contains(option))
                    return QStringLiteral("--%1 does not go with --%2").arg(name, option);
            }
            return {};
        }
        return mParser.isSet(mOutFolder) ? QStringLiteral("--out needs --random") : QString();
    }

    void describeOptions()
    {
        mParser.setApplicationDescription(QStringLiteral(
            "Paints the end face of a fibre connector as a bright-field microscope shows it, and writes the truth "
            "about it as JSON.\nLengths are micrometres; positions count from the fibre centre, x to the right and y "
            "down.\n\n"
            "Exit code: 0 all was painted, 64 wrong usage, 71 out of memory, 74 a picture or its truth cannot be\n"
            "written."));
        mParser.addPositionalArgument(
            QStringLiteral("FILE"), QStringLiteral("The picture to write, .jpg or .png."), QStringLiteral("FILE"));
        mParser.addOptions({mPreset, mListPresets, mSeed, mSize, mFov, mCore, mMultimode, mOffset, mBlur, mNoise,
            mIllumination, mDefect, mSpecks, mFrame, mTruth, mQuality, mSamples, mRandom, mOutFolder, mVersion, mHelp});
    }

    int usageError(const QString &text)
    {
        *mStderr << "vantor-endface: " << Tools::Terminal::printable(text) << '\n';
        return Tools::WrongUsage;
    }

    int writeError(const QString &path, const QString &reason)
    {
        *mStderr << "vantor-endface: cannot write " << Tools::Terminal::printableName(path) << ": " << reason << '\n';
        return Tools::NotWritten;
    }

    int invalidValue(const QCommandLineOption &option, const QString &expectation)
    {
        return usageError(QStringLiteral("--%1 needs %2, not \"%3\"")
                              .arg(option.names().constFirst(), expectation, mParser.value(option)));
    }

    int listPresets()
    {
        const QStringList names = endfacePresets();
        for (const QString &name : names)
            *mStdout << name.leftJustified(10) << ' ' << endfacePresetDescription(name) << '\n';
        return Tools::Done;
    }

    int writeOne()
    {
        const QStringList files = Tools::FilePath::ofArguments(mParser.positionalArguments());
        if (files.size() != 1)
            return usageError(QStringLiteral("one picture to write is needed, see --help"));
        const QString preset = mParser.isSet(mPreset) ? mParser.value(mPreset) : QStringLiteral("clean");
        if (!endfacePresets().contains(preset))
            return invalidValue(mPreset, QStringLiteral("a name that --list-presets shows"));
        EndfaceScene scene = endfacePreset(preset);
        const int code = applyOptions(&scene);
        return code == Tools::Done ? write(scene, files.first(), Tools::FilePath::ofArgument(mParser.value(mTruth)))
                                   : code;
    }

    int writeSamples(const QDir &folder)
    {
        QString problem;
        if (!OutputFile::makeFolder(folder.path(), &problem))
            return writeError(folder.path(), QStringLiteral("cannot create the folder: ") + problem);
        const QStringList names = endfacePresets();
        for (const QString &name : names) {
            const int code = write(endfacePreset(name), folder.filePath(name + QLatin1String(".jpg")), {});
            if (code != Tools::Done)
                return code;
        }
        return Tools::Done;
    }

    int writeRandomScenes()
    {
        const std::optional<double> count = wholeNumber(mParser.value(mRandom), 1, maxRandomScenes);
        if (!count)
            return invalidValue(mRandom, QStringLiteral("a number from 1 to %1").arg(maxRandomScenes));
        const std::optional<double> firstSeed = mParser.isSet(mSeed) ? seedOption() : std::optional<double>(1.0);
        if (!firstSeed || *firstSeed + *count - 1.0 > maxSeed)
            return invalidValue(mSeed, QStringLiteral("a number from 0 to 4294967295"));
        if (!mParser.isSet(mOutFolder))
            return usageError(QStringLiteral("--random needs --out FOLDER"));
        const QDir folder(Tools::FilePath::ofArgument(mParser.value(mOutFolder)));
        QString problem;
        if (!OutputFile::makeFolder(folder.path(), &problem))
            return writeError(folder.path(), QStringLiteral("cannot create the folder: ") + problem);

        EndfaceRandomOptions options;
        options.multimode = mParser.isSet(mMultimode);
        for (int i = 0; i < static_cast<int>(*count); ++i) {
            EndfaceScene scene =
                randomEndfaceScene(static_cast<quint32>(*firstSeed) + static_cast<quint32>(i), options);
            const quint32 seed = scene.seed;
            int code = applyOptions(&scene);
            scene.seed = seed;
            const QString name = QStringLiteral("face-%1.jpg").arg(seed, 6, 10, QLatin1Char('0'));
            if (code == Tools::Done)
                code = write(scene, folder.filePath(name), {});
            if (code != Tools::Done)
                return code;
        }
        return Tools::Done;
    }

    std::optional<double> seedOption() const { return wholeNumber(mParser.value(mSeed), 0, maxSeed); }

    int applyOptions(EndfaceScene *scene)
    {
        for (const auto apply : {&Command::applyGeometry, &Command::applyOptics, &Command::applyBlemishes}) {
            const int code = (this->*apply)(scene);
            if (code != Tools::Done)
                return code;
        }
        const QString problem = scene->problem();
        return problem.isEmpty() ? Tools::Done : usageError(problem);
    }

    int applyGeometry(EndfaceScene *scene)
    {
        if (mParser.isSet(mSize)) {
            const QVector<double> sides = numbers(mParser.value(mSize), QLatin1Char('x'), 2, 2);
            const bool usable = !sides.isEmpty() && std::abs(sides[0]) < maxCount && std::abs(sides[1]) < maxCount;
            if (!usable)
                return invalidValue(mSize, QStringLiteral("WIDTHxHEIGHT in pixels"));
            scene->size = {static_cast<int>(sides[0]), static_cast<int>(sides[1])};
        }
        if (mParser.isSet(mMultimode)) {
            const EndfaceScene multimode = endfacePreset(QStringLiteral("mm"));
            scene->coreDiameter = multimode.coreDiameter;
            scene->gradedCore = multimode.gradedCore;
            scene->coreGrey = multimode.coreGrey;
        }
        if (mParser.isSet(mFrame)) {
            const std::optional<int> frame = chosen(frames, mParser.value(mFrame));
            if (!frame)
                return invalidValue(mFrame, QStringLiteral("normal, none, two or cut"));
            scene->frame = static_cast<EndfaceScene::Frame>(*frame);
        }
        if (mParser.isSet(mOffset)) {
            const QVector<double> offset = numbers(mParser.value(mOffset), QLatin1Char(','), 2, 2);
            if (offset.isEmpty())
                return invalidValue(mOffset, QStringLiteral("X,Y in micrometres"));
            scene->offset = {offset[0], offset[1]};
        }
        if (!applyNumber(mFov, &scene->fovWidth) || !applyNumber(mCore, &scene->coreDiameter))
            return Tools::WrongUsage;
        return Tools::Done;
    }

    int applyOptics(EndfaceScene *scene)
    {
        if (mParser.isSet(mSeed)) {
            const std::optional<double> seed = seedOption();
            if (!seed)
                return invalidValue(mSeed, QStringLiteral("a number from 0 to 4294967295"));
            scene->seed = static_cast<quint32>(*seed);
        }
        if (mParser.isSet(mIllumination)) {
            const QVector<double> light = numbers(mParser.value(mIllumination), QLatin1Char(','), 1, 2);
            if (light.isEmpty())
                return invalidValue(mIllumination, QStringLiteral("SHARE or SHARE,ANGLE"));
            scene->illumination = light[0];
            scene->illuminationAngle = light.value(1, scene->illuminationAngle);
        }
        if (!applyNumber(mBlur, &scene->blurSigma) || !applyNumber(mNoise, &scene->noiseSigma))
            return Tools::WrongUsage;
        return Tools::Done;
    }

    int applyBlemishes(EndfaceScene *scene)
    {
        const QStringList texts = mParser.values(mDefect);
        for (const QString &text : texts) {
            const std::optional<EndfaceDefect> defect = parseDefect(text);
            if (!defect) {
                return usageError(QStringLiteral("--defect needs KIND,SIZE,X,Y[,CONTRAST] or "
                                                 "scratch,WIDTH,LENGTH,X,Y,ANGLE[,CONTRAST], not \"%1\"")
                                      .arg(text));
            }
            scene->defects.append(*defect);
        }
        if (!mParser.isSet(mSpecks))
            return Tools::Done;
        if (!scene->problem().isEmpty())
            return usageError(scene->problem());
        const int most = maxEndfaceSpecks(*scene);
        const std::optional<double> specks = wholeNumber(mParser.value(mSpecks), 0, most);
        if (!specks)
            return invalidValue(mSpecks, QStringLiteral("a number from 0 to %1 on this picture").arg(most));
        addEndfaceSpecks(scene, static_cast<int>(*specks));
        return Tools::Done;
    }

    bool applyNumber(const QCommandLineOption &option, double *value)
    {
        if (!mParser.isSet(option))
            return true;
        const QVector<double> parsed = numbers(mParser.value(option), QLatin1Char(','), 1, 1);
        if (parsed.isEmpty()) {
            invalidValue(option, QStringLiteral("a number"));
            return false;
        }
        *value = parsed.first();
        return true;
    }

    int write(const EndfaceScene &scene, const QString &picturePath, const QString &truthPath)
    {
        const QFileInfo picture(picturePath);
        const QString suffix = picture.suffix().toLower();
        const bool jpeg = suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg");
        if (!jpeg && suffix != QLatin1String("png"))
            return usageError(QStringLiteral("the picture must end in .jpg or .png, not \"%1\"").arg(picturePath));
        const std::optional<double> quality = mParser.isSet(mQuality) ? wholeNumber(mParser.value(mQuality), 1, 100)
                                                                      : std::optional<double>(defaultQuality);
        if (!quality)
            return invalidValue(mQuality, QStringLiteral("a number from 1 to 100"));

        QBuffer encoded;
        QImageWriter writer(&encoded, jpeg ? "jpeg" : "png");
        if (jpeg)
            writer.setQuality(static_cast<int>(*quality));
        if (!writer.write(paintEndface(scene)))
            return writeError(picturePath, writer.errorString());
        const QByteArray truth = QJsonDocument(endfaceTruth(scene)).toJson();
        const QString besidePicture =
            picture.path() + QLatin1Char('/') + picture.completeBaseName() + QLatin1String(".json");
        return writeBoth(picturePath, encoded.data(), truthPath.isEmpty() ? besidePicture : truthPath, truth);
    }

    // Nothing is replaced before everything is on the disk.
    int writeBoth(
        const QString &picturePath, const QByteArray &picture, const QString &truthPath, const QByteArray &truth)
    {
        OutputFile pictureFile(picturePath);
        OutputFile truthFile(truthPath);
        if (!pictureFile.whyRefused().isEmpty())
            return writeError(picturePath, pictureFile.whyRefused());
        if (!truthFile.whyRefused().isEmpty())
            return writeError(truthPath, truthFile.whyRefused());
        if (!pictureFile.target().isEmpty() && pictureFile.target() == truthFile.target())
            return writeError(truthPath, QStringLiteral("it is the picture"));

        if (!pictureFile.write(picture))
            return writeError(picturePath, pictureFile.problem());
        if (!truthFile.write(truth))
            return writeError(truthPath, truthFile.problem());
        if (!pictureFile.commit())
            return writeError(picturePath, pictureFile.problem());
        if (!truthFile.commit())
            return writeError(truthPath, truthFile.problem());
        return Tools::Done;
    }

    QTextStream *mStdout;
    QTextStream *mStderr;
    const QCommandLineOption mPreset = option("preset", "Starts from a prepared scene (default: clean).", "NAME");
    const QCommandLineOption mListPresets = option("list-presets", "Lists the prepared scenes.");
    const QCommandLineOption mSeed = option("seed", "Seed of grain, outlines and noise.", "N");
    const QCommandLineOption mSize = option("size", "Size of the picture in pixels (default: 800x600).", "WxH");
    const QCommandLineOption mFov = option("fov", "Width of the field of view (default: 860).", "WIDTH");
    const QCommandLineOption mCore = option("core", "Diameter of the core.", "DIAMETER");
    const QCommandLineOption mMultimode = option("multimode", "Paints a graded core of 50 micrometres.");
    const QCommandLineOption mOffset = option("offset", "Fibre centre, from the middle of the picture.", "X,Y");
    const QCommandLineOption mBlur = option("blur", "Standard deviation of the focus blur in micrometres.", "SIGMA");
    const QCommandLineOption mNoise =
        option("noise", "Standard deviation of the sensor noise in grey levels.", "SIGMA");
    const QCommandLineOption mIllumination =
        option("illumination", "Light gained across the picture, and its direction in degrees.", "SHARE[,ANGLE]");
    const QCommandLineOption mDefect = option("defect",
        "Adds a pit, particle or stain: KIND,SIZE,X,Y[,CONTRAST], or a scratch: "
        "scratch,WIDTH,LENGTH,X,Y,ANGLE[,CONTRAST]. Can be repeated.",
        "DEFECT");
    const QCommandLineOption mSpecks = option("specks", "Adds separate specks around the fibre.", "N");
    const QCommandLineOption mFrame = option("frame", "normal, none, two or cut: the fibres to be seen.", "KIND");
    const QCommandLineOption mTruth = option("truth", "The truth (default: .json beside the picture).", "FILE");
    const QCommandLineOption mQuality = option("quality", "JPEG quality, 1 to 100 (default: 92).", "N");
    const QCommandLineOption mSamples = option("samples", "Writes all prepared scenes into a folder.", "FOLDER");
    const QCommandLineOption mRandom = option("random", "Writes random scenes with the seeds SEED and up.", "N");
    const QCommandLineOption mOutFolder = option("out", "Folder of the random scenes.", "FOLDER");
};
} // namespace

int runEndfaceCommand(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    const int code = Command(&out, &err).run(arguments);
    out.flush();
    err.flush();
    return code;
}
