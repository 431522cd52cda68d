// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"

namespace Study {

/// What the command lines of the studies share.
class CommandLine : public Tools::CommandLineBase
{
public:
protected:
    /// @param command the word that calls for this study; empty: none was given
    CommandLine(const QString &command, const char *description);

    QStringList operands() const { return mParser.positionalArguments().mid(1); }

    /// Leaves the number alone when the option is not set.
    bool readNumber(const QCommandLineOption &option, int most, int *number);
};

} // namespace Study
