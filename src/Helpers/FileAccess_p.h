// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

class QFile;

/// Opens files at paths that others know as well. No function waits for the other end of a pipe.
namespace FileAccess {

enum class Existing : int { Overwrite, Append };

/// For reading text. Only a regular file is opened; a link to one is followed.
bool openRegular(const QString &path, QFile *file);

/// For writing text, as QFile does it. A pipe that nobody reads is not opened.
bool openForWriting(const QString &path, Existing existing, QFile *file);

/// For writing a new file that all may read, whatever the umask. What is there before is removed, a link as well.
bool createNew(const QString &path, QFile *file);

/// Copies to a file that is created as above, but with the mode of the source.
bool copyToNew(QFile *source, const QString &path);

/// For reading and writing text in a regular file that exists and is no link.
bool openForUpdate(const QString &path, QFile *file);

/// @return whether all bytes have reached the disk
bool writeThrough(QFile *file, const QByteArray &bytes);

} // namespace FileAccess
