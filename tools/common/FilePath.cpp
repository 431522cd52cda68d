// SPDX-License-Identifier: Apache-2.0
#include "common/FilePath.h"

namespace Tools {

QString FilePath::ofArgument(const QString &argument)
{
    return argument.startsWith(QLatin1Char(':')) ? QStringLiteral("./") + argument : argument;
}

QStringList FilePath::ofArguments(const QStringList &arguments)
{
    QStringList paths;
    for (const QString &argument : arguments)
        paths.append(ofArgument(argument));
    return paths;
}

QString FilePath::in(const QString &folder, const QString &name)
{
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

} // namespace Tools
