// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

/// SystemHelper::compressFile(): what tar is told, what it must not be told, and where it writes.
bool packFiles(const QStringList &sourceFiles, const QString &targetFilePath);
