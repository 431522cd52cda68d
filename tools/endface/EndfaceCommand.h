// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>
#include <QTextStream>

/// Exit codes of `vantor-endface`, as sysexits.h counts them.
enum EndfaceExitCode : int { EndfaceOk = 0, EndfaceUsageError = 64, EndfaceWriteError = 74 };

/// The whole program: paints what the arguments (the program's name first) ask for and returns the exit code.
int runEndfaceCommand(const QStringList &arguments, QTextStream &out, QTextStream &err);
