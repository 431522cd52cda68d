// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QSaveFile>
#include <QString>

/// Files that a program writes where the user says. They are seen whole or not at all.
namespace Tools::OutputFile {

/// Why nothing may be written at the path: a device, a pipe or a folder is there, and would be replaced. Empty: it may.
QString whyRefused(const QString &path);

/// The file that is written under this name: links are followed, also to what is not there yet. Absolute.
QString target(const QString &path);

/// Opens the file and writes what it gets; without a commit() it is not seen.
/// @return false: its errorString() says why
bool fill(QSaveFile *file, const QByteArray &bytes);

/// @return false: the problem, which does not name the path, says why
bool write(const QString &path, const QByteArray &bytes, QString *problem);

} // namespace Tools::OutputFile
