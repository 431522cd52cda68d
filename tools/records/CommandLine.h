// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "records/Options.h"

namespace RecordsTool {

/// The commands of the program and their options: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;
    bool readCommand();
    bool checkThatOptionsFit();
    QString textOf(const QCommandLineOption &option) const; ///< that is stored, or searched for as it is
    bool readJob();
    bool readFilter();
    bool readTime(const QCommandLineOption &option, const QTime &timeOfDay, QDateTime *time);
    bool readStandard(const QString &name, std::optional<FiberInspection::Standard::Id> *standard);
    bool readPage();
    bool readFormat();
    bool checkThatFormatFits();
    bool readOutput();
    bool readTable();
    bool readImport();
    bool readRun();
    bool readFieldOfView();
    bool readNumber(const QCommandLineOption &option, int most, int *number);

    Options mOptions;
    const QCommandLineOption mStore;
    const QCommandLineOption mJob;
    const QCommandLineOption mJobId;
    const QCommandLineOption mVerdict;
    const QCommandLineOption mStandard;
    const QCommandLineOption mFrom;
    const QCommandLineOption mUntil;
    const QCommandLineOption mPage;
    const QCommandLineOption mLimit;
    const QCommandLineOption mJobs;
    const QCommandLineOption mCsv;
    const QCommandLineOption mJson;
    const QCommandLineOption mPdf;
    const QCommandLineOption mZip;
    const QCommandLineOption mLanguage;
    const QCommandLineOption mOutput;
    const QCommandLineOption mSeparator;
    const QCommandLineOption mDecimalComma;
    const QCommandLineOption mNoBom;
    const QCommandLineOption mFirst;
    const QCommandLineOption mLast;
    const QCommandLineOption mSide;
    const QCommandLineOption mFibre;
    const QCommandLineOption mFieldOfView;
    const QCommandLineOption mCustomer;
    const QCommandLineOption mSite;
    const QCommandLineOption mOperator;
    const QCommandLineOption mAgain;
};

} // namespace RecordsTool
