// SPDX-License-Identifier: Apache-2.0
#include "common/CommandLineBase.h"

#include <QCoreApplication>

namespace Tools {

CommandLineBase::CommandLineBase()
    : mHelp(option({QStringLiteral("h"), QStringLiteral("help")}, "Show this text."))
    , mVersion(option("version", "Show the version."))
{
}

bool CommandLineBase::parse(const QStringList &arguments)
{
    if (!mParser.parse(arguments))
        return refuse(mParser.errorText());
    return !answer().isEmpty() || (checkRepetitions() && readOptions());
}

bool CommandLineBase::mayRepeat(const QString & /*option*/) const
{
    return false;
}

/// All values but the last one would be ignored: of two standards only one would be graded by.
bool CommandLineBase::checkRepetitions()
{
    const QStringList names = mParser.optionNames();
    for (const QString &name : names) {
        if (mParser.values(name).size() > 1 && !mayRepeat(name)) {
            const QString dashes = QString(name.size() == 1 ? 1 : 2, QLatin1Char('-'));
            return refuse(QStringLiteral("%1%2 is given twice").arg(dashes, name));
        }
    }
    return true;
}

QString CommandLineBase::answer() const
{
    if (mParser.isSet(mHelp))
        return mParser.helpText();
    if (mParser.isSet(mVersion))
        return QCoreApplication::applicationName() + QStringLiteral(" " VANTORBASE_VERSION "\n");
    return {};
}

QCommandLineOption CommandLineBase::option(const QStringList &names, const char *description, const char *valueName)
{
    return {names, QString::fromUtf8(description), QString::fromUtf8(valueName)};
}

QCommandLineOption CommandLineBase::option(const char *name, const char *description, const char *valueName)
{
    return option({QString::fromUtf8(name)}, description, valueName);
}

bool CommandLineBase::refuse(const QString &problem)
{
    mProblem = problem;
    return false;
}

bool CommandLineBase::refuseValue(const QCommandLineOption &option, const QString &expectation)
{
    return refuse(QStringLiteral("--%1 needs %2, not \"%3\"")
                      .arg(option.names().constLast(), expectation, mParser.value(option)));
}

} // namespace Tools
