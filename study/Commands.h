// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tools {
class Program;
}

namespace Study {

// The commands of vantor-study. Each reads the arguments of the program, which begin with its name and the command's,
// and returns the exit code.

/// How far a verdict can be relied on: the tables, figures and charts of docs/accuracy.md.
int runAccuracy(const Tools::Program &program);

/// What the focus value tells: the tables, figures and charts of docs/focus.md.
int runFocus(const Tools::Program &program);

/// What each function shows for which value: the whole of docs/formatting.md, on stdout.
int runFormatting(const Tools::Program &program);

} // namespace Study
