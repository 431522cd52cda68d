// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>
#include <QTextStream>

/// The whole program: paints what the arguments (the program's name first) ask for and returns the exit code.
int runEndfaceCommand(const QStringList &arguments, QTextStream &out, QTextStream &err);
