// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

/// Paths whose names may begin with a colon: to Qt such a path is that of a resource, and absolute.
namespace Tools::FilePath {

/// The path that the user means.
QString ofArgument(const QString &argument);
QStringList ofArguments(const QStringList &arguments);

/// The path of an entry of the folder.
QString in(const QString &folder, const QString &name);

} // namespace Tools::FilePath
