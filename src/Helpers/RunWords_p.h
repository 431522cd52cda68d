// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/CommandProcess_p.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Runs a command to its end, with the limits of SystemHelper and the lines that it logs.
/// @param words what is started
/// @param command what the log tells of it
/// @param timeout milliseconds
/// @param output, exitCode as those of SystemHelper::runCommand(); may be null
/// @return whether it ended by itself with 0
bool runWords(CommandProcess &process, const QStringList &words, const QString &command, quint32 timeout,
    QByteArray *output, int *exitCode);
