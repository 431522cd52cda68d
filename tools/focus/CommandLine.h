// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "focus/Options.h"

namespace Focus {

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    bool parse(const QStringList &arguments) override;

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;
    bool checkCombinations();
    bool readRawLayout();
    bool readSweep();
    bool readNames();
    bool readNumber(const QCommandLineOption &option, double low, double high, double *number);
    bool readWholeNumber(const QCommandLineOption &option, qint64 low, qint64 high, qint64 *number);
    bool isAnySet(const QVector<const QCommandLineOption *> &options) const;

    Options mOptions;
    const QCommandLineOption mSize;
    const QCommandLineOption mStride;
    const QCommandLineOption mSweep;
    const QCommandLineOption mSeed;
    const QCommandLineOption mNoise;
    const QCommandLineOption mIllumination;
    const QCommandLineOption mMaxBlur;
    const QCommandLineOption mCsv;
    const QCommandLineOption mJson;
    const QCommandLineOption mPlot;
    const QCommandLineOption mVerbose;
};

} // namespace Focus
