// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <QCommandLineParser>

namespace Focus {

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine
{
public:
    CommandLine();

    /// @param arguments the program's name first
    /// @return whether the options can be obeyed; if not, problem() says why
    bool parse(const QStringList &arguments);

    const Options &options() const { return mOptions; }
    QString problem() const { return mProblem; }
    QString helpText() const { return mParser.helpText(); }

private:
    bool chooseAction();
    bool checkCombinations();
    bool readRawLayout();
    bool readSweep();
    bool readNames();
    bool readNumber(const QCommandLineOption &option, double low, double high, double *number);
    bool readWholeNumber(const QCommandLineOption &option, qint64 low, qint64 high, qint64 *number);
    bool isAnySet(const QVector<const QCommandLineOption *> &options) const;
    bool refuse(const QString &problem);
    bool refuseValue(const QCommandLineOption &option, const QString &expectation);

    Options mOptions;
    QString mProblem;
    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;
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
    const QCommandLineOption mStudy;
    const QCommandLineOption mQuick;
    const QCommandLineOption mVerbose;
};

} // namespace Focus
