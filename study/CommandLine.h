// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"

#include <optional>

namespace Study {

/// What the command lines of the studies share.
class CommandLine : public Tools::CommandLineBase
{
public:
    /// Answers --help, --version and what is wrong.
    /// @return the exit code when that was all, nothing when the study is to go on
    std::optional<int> answered(const QStringList &arguments);

protected:
    /// @param command the word that calls for this study; empty: none was given
    CommandLine(const QString &command, const char *description);

    QStringList operands() const { return mParser.positionalArguments().mid(1); }

    /// Leaves the number alone when the option is not set.
    bool readNumber(const QCommandLineOption &option, int most, int *number);
};

/// @return whether all of it has arrived on stdout
bool print(const QByteArray &text);

} // namespace Study
