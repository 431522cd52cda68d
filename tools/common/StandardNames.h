// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"

#include <QStringList>
#include <QVector>

namespace Tools {

/// Short names of the standards on the command line, in the order of the help.
QStringList standardNames();
QString defaultStandardName();

/// The standard of that name, or all of them for "all"; empty for an unknown name.
QVector<FiberInspection::Standard::Id> standardsNamed(const QString &name);

QString standardName(FiberInspection::Standard::Id id);

} // namespace Tools
