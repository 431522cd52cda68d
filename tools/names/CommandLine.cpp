// SPDX-License-Identifier: Apache-2.0
#include "names/CommandLine.h"

namespace Names {

CommandLine::CommandLine()
    : mPrefix(option("prefix", "Text to put in front of every name, as it is.", "P"))
    , mMax(QStringLiteral("max"),
          QStringLiteral("Most names to print (default: %1).").arg(TestNameGenerator::maxPermittedGeneration),
          QStringLiteral("N"))
    , mJson(option("json", "Print one JSON object."))
{
    mParser.setApplicationDescription(QStringLiteral(
        "Prints the run of test names between two names, column by column: A1 to B3 gives A1, A2, A3, B1, B2, B3.\n"
        "A column is one character, or a number. If a pair breaks a rule, a sentence says which, and where.\n\n"
        "Exit code: 0 the names were printed, 1 the pair breaks a rule, 64 wrong usage, 74 the names cannot be\n"
        "written."));
    mParser.addPositionalArgument(QStringLiteral("FIRST"), QStringLiteral("The first name."));
    mParser.addPositionalArgument(
        QStringLiteral("LAST"), QStringLiteral("The last name; behind -- if it starts with a dash."));
    mParser.addOptions({mPrefix, mMax, mJson, mVersion, mHelp});
}

bool CommandLine::readOptions()
{
    const QStringList names = mParser.positionalArguments();
    if (names.size() != 2)
        return refuse(QStringLiteral("a first and a last name are needed; see --help"));
    mOptions.first = names[0];
    mOptions.last = names[1];
    mOptions.prefix = mParser.value(mPrefix);
    mOptions.isJson = mParser.isSet(mJson);

    bool isNumber = true;
    if (mParser.isSet(mMax))
        mOptions.max = mParser.value(mMax).toInt(&isNumber);
    if (!isNumber || mOptions.max < 0)
        return refuse(
            QStringLiteral("--max needs a whole number that is not negative, not \"%1\"").arg(mParser.value(mMax)));
    return true;
}

} // namespace Names
