// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace Study {

enum ExitCode : int { Measured = 0, Failed = 1, WrongUsage = 64, NotWritten = 74 };

// The commands of vantor-study. Each reads the arguments of the program, which begin with its name and the command's,
// and returns an ExitCode.

/// How far a verdict can be relied on: the tables, figures and charts of docs/accuracy.md.
int runAccuracy(const QStringList &arguments);

/// What the focus value tells: the tables, figures and charts of docs/focus.md.
int runFocus(const QStringList &arguments);

/// What each function shows for which value: the whole of docs/formatting.md, on stdout.
int runFormatting(const QStringList &arguments);

} // namespace Study
