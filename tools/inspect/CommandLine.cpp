// SPDX-License-Identifier: Apache-2.0
#include "inspect/CommandLine.h"

#include "common/FilePath.h"
#include "common/Micrometres.h"
#include "common/StandardNames.h"

namespace Inspect {

namespace {
constexpr int maxJobs = 256;
constexpr int maxRepeat = 100000;
constexpr int mostMegapixels = 256;
constexpr int maxTimeout = 3600; // seconds
constexpr float minScale = 0.01F;
constexpr float maxScale = 100;

QString usualFieldOfView()
{
    return Tools::fieldOfViewText(FiberInspection::Device::ks20().fov);
}
} // namespace

CommandLine::CommandLine()
    : mListStandards(option("list-standards", "List the standards with their zones and criteria."))
    , mStandard(QStringLiteral("standard"),
          QStringLiteral("Grade by these standards, separated by commas, or by all (default: %1).")
              .arg(Tools::defaultStandardName()),
          QStringLiteral("NAME"))
    , mFieldOfView(QStringLiteral("fov"),
          QStringLiteral("Field of view of the whole image in micrometres (default: %1).").arg(usualFieldOfView()),
          QStringLiteral("WxH"))
    , mScale(option("scale", "Divide the size of the image before it is analysed (default: 1).", "S"))
    , mOut(option({QStringLiteral("o"), QStringLiteral("out")},
          "Keep the annotated images in this folder (default: none are kept).", "DIR"))
    , mSteps(option("steps", "Keep images of the steps of the analysis too; needs --out."))
    , mJobs(
          option({QStringLiteral("j"), QStringLiteral("jobs")}, "Analyse with this many processes (default: 1).", "N"))
    , mMaxMegapixels(QStringLiteral("max-megapixels"),
          QStringLiteral("Do not decode images of more than so many times 1024 * 1024 pixels (default: %1); the memory "
                         "that an image may take grows with it.")
              .arg(Options::usualMegapixels),
          QStringLiteral("N"))
    , mTimeout(option("timeout",
          "Give an image up when its analysis by one standard takes longer (default: 30); with --repeat, this times "
          "the repetitions.",
          "SECONDS"))
    , mRepeat(option("repeat",
          "Analyse each image so often and count the verdicts; the worst one is reported. End faces at the margin show "
          "themselves.",
          "N"))
    , mJson(option("json", "Print one JSON object a line."))
    , mCsv(option("csv",
          "Print CSV, one line for each image and standard. A text that a spreadsheet would take for a formula gets a "
          "' in "
          "front, and so does one that begins with '."))
    , mQuiet(option({QStringLiteral("q"), QStringLiteral("quiet")},
          "No report for a person, no progress bar: the exit code tells the verdict."))
    , mVerbose(option("verbose", "Show the log of the analysis on stderr."))
{
    mParser.setApplicationDescription(QStringLiteral(
        "Grades photographs of fibre end faces by IEC 61300-3-35.\n\n"
        "What lies in a folder and is no image is told on stderr. Each image is analysed in a process\n"
        "that can neither open files nor reach a network, and that is ended when it takes too long.\n\n"
        "Exit code: 0 all passed, 1 some failed, 2 some could not be analysed or were left out of a\n"
        "folder, 64 wrong usage, 69 there is no place for temporary files, 71 out of memory,\n"
        "74 a report or a picture could not be written. Of several, 64, 69 and 74 come first, then the highest."));
    mParser.addPositionalArgument(QStringLiteral("IMAGE|FOLDER"),
        QStringLiteral("Photographs, and folders of photographs (their subfolders are not searched)."),
        QStringLiteral("IMAGE|FOLDER..."));
    mParser.addOptions({mStandard, mListStandards, mFieldOfView, mScale, mOut, mSteps, mJobs, mMaxMegapixels, mTimeout,
        mRepeat, mJson, mCsv, mQuiet, mVerbose, mVersion, mHelp});
}

bool CommandLine::readOptions()
{
    if (mParser.isSet(mListStandards)) {
        mOptions.action = Options::Action::ListStandards;
        return checkThatItOnlyLists();
    }

    mOptions.operands = Tools::FilePath::ofArguments(mParser.positionalArguments());
    mOptions.saveSteps = mParser.isSet(mSteps);
    mOptions.reportsRuns = mParser.isSet(mRepeat);
    mOptions.quiet = mParser.isSet(mQuiet);
    mOptions.verbose = mParser.isSet(mVerbose);
    if (mParser.isSet(mJson))
        mOptions.format = Options::Format::Json;
    else if (mParser.isSet(mCsv))
        mOptions.format = Options::Format::Csv;

    return readStandards() && readFieldOfView() && readScale() && readCount(mJobs, maxJobs, &mOptions.jobs)
        && readCount(mMaxMegapixels, mostMegapixels, &mOptions.maxMegapixels)
        && readCount(mTimeout, maxTimeout, &mOptions.timeout) && readCount(mRepeat, maxRepeat, &mOptions.repeat)
        && readOutput() && checkCombinations();
}

/// What would be ignored might be taken for done, and 0 for a verdict.
bool CommandLine::checkThatItOnlyLists()
{
    if (!mParser.positionalArguments().isEmpty())
        return refuse(QStringLiteral("--list-standards takes no image"));
    return mParser.optionNames().size() == 1 || refuse(QStringLiteral("--list-standards goes with no other option"));
}

bool CommandLine::checkCombinations()
{
    if (mParser.isSet(mJson) && mParser.isSet(mCsv))
        return refuse(QStringLiteral("--json and --csv exclude each other"));
    if (mOptions.quiet && mOptions.verbose)
        return refuse(QStringLiteral("--quiet and --verbose exclude each other"));
    if (mOptions.saveSteps && mOptions.outputFolder.isEmpty())
        return refuse(QStringLiteral("--steps needs --out"));
    if (mOptions.operands.isEmpty())
        return refuse(QStringLiteral("which images? See --help"));
    return true;
}

bool CommandLine::readStandards()
{
    const QStringList names = mParser.isSet(mStandard) ? mParser.value(mStandard).split(QLatin1Char(','))
                                                       : QStringList{Tools::defaultStandardName()};
    for (const QString &name : names) {
        const QVector<FiberInspection::Standard::Id> ids = Tools::standardsNamed(name);
        if (ids.isEmpty())
            return refuseValue(
                mStandard, Tools::standardNames().join(QStringLiteral(", ")) + QStringLiteral(" or all"));
        for (const FiberInspection::Standard::Id id : ids) {
            if (!mOptions.standards.contains(id))
                mOptions.standards.append(id);
        }
    }
    return true;
}

bool CommandLine::readFieldOfView()
{
    if (!mParser.isSet(mFieldOfView))
        return true;
    const QSize size = Tools::fieldOfViewOf(mParser.value(mFieldOfView));
    if (size.isEmpty()) {
        return refuseValue(
            mFieldOfView, QStringLiteral("WIDTHxHEIGHT in micrometres, such as %1").arg(usualFieldOfView()));
    }
    mOptions.device.fov = size;
    return true;
}

bool CommandLine::readScale()
{
    if (!mParser.isSet(mScale))
        return true;
    bool ok = false;
    mOptions.scale = mParser.value(mScale).toFloat(&ok);
    const bool isUsable = ok && mOptions.scale >= minScale && mOptions.scale <= maxScale;
    return isUsable || refuseValue(mScale, QStringLiteral("a number from %1 to %2").arg(minScale).arg(maxScale));
}

bool CommandLine::readCount(const QCommandLineOption &option, int most, int *count)
{
    if (!mParser.isSet(option))
        return true;
    bool ok = false;
    *count = mParser.value(option).toInt(&ok);
    return (ok && *count >= 1 && *count <= most)
        || refuseValue(option, QStringLiteral("a whole number from 1 to %1").arg(most));
}

bool CommandLine::readOutput()
{
    mOptions.outputFolder = Tools::FilePath::ofArgument(mParser.value(mOut));
    return !mParser.isSet(mOut) || !mOptions.outputFolder.isEmpty()
        || refuseValue(mOut, QStringLiteral("the name of a folder"));
}

} // namespace Inspect
