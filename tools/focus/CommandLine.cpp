// SPDX-License-Identifier: Apache-2.0
#include "focus/CommandLine.h"

#include "FiberInspection/LiveReading.h"
#include "Internal/OutputFile.h"
#include "common/FilePath.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>

namespace Focus {

namespace {
constexpr qint64 maxSteps = 10000;
constexpr qint64 maxSide = 8192; // pixels
constexpr qint64 maxStride = 65536; // bytes
constexpr double maxNoise = 100; // grey levels
constexpr double maxBlur = 60; // micrometres

/// The parser knows no optional values: writes the default behind a --sweep without a number.
QStringList withSweepSteps(const QStringList &arguments, int steps)
{
    static const QRegularExpression number(QStringLiteral("\\A[0-9]+\\z"));
    QStringList result;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--"))
            return result + arguments.mid(i);
        result.append(argument);
        if (argument != QLatin1String("--sweep"))
            continue;
        const bool hasNumber = i + 1 < arguments.size() && number.match(arguments.at(i + 1)).hasMatch();
        result.last() += QStringLiteral("=%1").arg(hasNumber ? arguments.at(++i) : QString::number(steps));
    }
    return result;
}
} // namespace

CommandLine::CommandLine()
    : mSize(option("size", "Width and height of the frames in raw files.", "WxH"))
    , mStride(option("stride", "Bytes from row to row in raw files (default: the width).", "N"))
    , mSweep(option("sweep",
          "Paint an end face that moves through the focus, in so many frames (default: 31), and measure these.",
          "STEPS"))
    , mSeed(option("seed", "Of the painted face and its noise (default: 1).", "N"))
    , mNoise(option("noise", "Of the painted frames, in grey levels (default: 0.9).", "LEVELS"))
    , mIllumination(option("illumination",
          "Light that the painted frames gain from one side to the other, as a share of all (default: 0).", "SHARE"))
    , mMaxBlur(
          option("max-blur", "Of the painted frames at both ends, in micrometres (default: 6; in focus: 0.9).", "BLUR"))
    , mCsv(option("csv", "Print CSV, one line a frame."))
    , mJson(option("json", "Print one JSON object a line."))
    , mPlot(option("plot", "Draw focus against frame into this SVG file, with gnuplot.", "FILE"))
    , mVerbose(option("verbose", "Show the log of the filter on stderr."))
{
    mParser.setApplicationDescription(QStringLiteral(
        "Shows frames to the live filter and prints what it makes of them: how sharp they are, and where the fibre\n"
        "lies. A focus value of %1 or less is bad; above %2 the picture can be captured.\n\n"
        "The filter takes the whole width of a frame for 860 micrometres.\n\n"
        "Exit code: 0 the fibre was found in at least one frame, 1 it never was, 2 it was found, but some input could\n"
        "not be read or was left out of a folder, 64 wrong usage, 66 it was not found, and some input could not be\n"
        "read or was left out, 69 gnuplot, which draws the plot, is not installed, 71 out of memory, 74 the report or\n"
        "the plot cannot be written.")
                                          .arg(FiberInspection::LiveReading::badFocus, 0, 'f', 1)
                                          .arg(FiberInspection::LiveReading::captureFocus, 0, 'f', 1));
    mParser.addPositionalArgument(QStringLiteral("FOLDER|FRAME"),
        QStringLiteral("Pictures, raw NV12 files (*.nv12, *.yuv, *.raw; several frames may follow each other), and "
                       "folders of these (their subfolders are not searched)."),
        QStringLiteral("FOLDER|FRAME..."));
    mParser.addOptions({mSize, mStride, mSweep, mSeed, mNoise, mIllumination, mMaxBlur, mCsv, mJson, mPlot, mVerbose,
        mVersion, mHelp});
}

bool CommandLine::parse(const QStringList &arguments)
{
    return CommandLineBase::parse(withSweepSteps(arguments, mOptions.sweep.steps));
}

bool CommandLine::readOptions()
{
    if (mParser.isSet(mSweep))
        mOptions.action = Options::Action::MeasureSweep;
    mOptions.operands = Tools::FilePath::ofArguments(mParser.positionalArguments());
    mOptions.verbose = mParser.isSet(mVerbose);
    if (mParser.isSet(mJson))
        mOptions.format = Options::Format::Json;
    else if (mParser.isSet(mCsv))
        mOptions.format = Options::Format::Csv;
    return readNames() && readRawLayout() && readSweep() && checkCombinations();
}

bool CommandLine::checkCombinations()
{
    const bool hasSweep = mParser.isSet(mSweep);
    const bool hasFiles = !mOptions.operands.isEmpty();
    if (mParser.isSet(mJson) && mParser.isSet(mCsv))
        return refuse(QStringLiteral("--json and --csv exclude each other"));
    if (hasSweep && hasFiles)
        return refuse(QStringLiteral("frames and --sweep exclude each other"));
    if (!hasSweep && isAnySet({&mSeed, &mNoise, &mIllumination, &mMaxBlur}))
        return refuse(QStringLiteral("--seed, --noise, --illumination and --max-blur need --sweep"));
    if (!hasFiles && isAnySet({&mSize, &mStride}))
        return refuse(QStringLiteral("--size and --stride are for files"));
    if (!hasSweep && !hasFiles)
        return refuse(QStringLiteral("which frames? See --help"));
    return true;
}

bool CommandLine::readNames()
{
    mOptions.plotFile = Tools::FilePath::ofArgument(mParser.value(mPlot));
    if (!mParser.isSet(mPlot))
        return true;
    const QString target = OutputFile(mOptions.plotFile).target(); // no photograph
    for (const QString &name : {mOptions.plotFile, target.isEmpty() ? mOptions.plotFile : target}) {
        if (!name.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive))
            return refuseValue(mPlot, QStringLiteral("the name of a file that ends in .svg"));
    }
    return true;
}

bool CommandLine::readRawLayout()
{
    if (!mParser.isSet(mSize))
        return !mParser.isSet(mStride) || refuse(QStringLiteral("--stride needs --size"));
    static const QRegularExpression pattern(QStringLiteral("\\A([0-9]{1,5})x([0-9]{1,5})\\z"));
    const QRegularExpressionMatch match = pattern.match(mParser.value(mSize));
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const bool isEven = size.width() % 2 == 0 && size.height() % 2 == 0;
    if (size.isEmpty() || !isEven || size.width() > maxSide || size.height() > maxSide)
        return refuseValue(mSize, QStringLiteral("even WIDTHxHEIGHT up to %1, such as 800x600").arg(maxSide));

    qint64 stride = size.width();
    if (!readWholeNumber(mStride, size.width(), maxStride, &stride))
        return false;
    mOptions.rawLayout = {size, static_cast<int>(stride)};
    return true;
}

bool CommandLine::readSweep()
{
    SweepSettings &sweep = mOptions.sweep;
    qint64 steps = sweep.steps;
    qint64 seed = sweep.seed;
    const bool ok = readWholeNumber(mSweep, 2, maxSteps, &steps)
        && readWholeNumber(mSeed, 0, std::numeric_limits<quint32>::max(), &seed)
        && readNumber(mNoise, 0, maxNoise, &sweep.noise) && readNumber(mIllumination, -1, 1, &sweep.illumination)
        && readNumber(mMaxBlur, Simulation::Lens::sharpestBlur, maxBlur, &sweep.maxBlur);
    sweep.steps = static_cast<int>(steps);
    sweep.seed = static_cast<quint32>(seed);
    return ok;
}

bool CommandLine::readNumber(const QCommandLineOption &option, double low, double high, double *number)
{
    if (!mParser.isSet(option))
        return true;
    bool ok = false;
    *number = mParser.value(option).toDouble(&ok);
    return (ok && *number >= low && *number <= high)
        || refuseValue(option, QStringLiteral("a number from %1 to %2").arg(low).arg(high));
}

bool CommandLine::readWholeNumber(const QCommandLineOption &option, qint64 low, qint64 high, qint64 *number)
{
    if (!mParser.isSet(option))
        return true;
    bool ok = false;
    *number = mParser.value(option).toLongLong(&ok);
    return (ok && *number >= low && *number <= high)
        || refuseValue(option, QStringLiteral("a whole number from %1 to %2").arg(low).arg(high));
}

bool CommandLine::isAnySet(const QVector<const QCommandLineOption *> &options) const
{
    return std::any_of(
        options.cbegin(), options.cend(), [this](const QCommandLineOption *option) { return mParser.isSet(*option); });
}

} // namespace Focus
