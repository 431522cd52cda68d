// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

class QFile;

/// Opens files at names that others know as well. No function waits for the other end of a pipe.
namespace FileAccess {

enum class Existing : int { Overwrite, Append };

/// For reading text. Only a regular file is opened; a link to one is followed.
bool openRegular(QFile *file);

/// For writing text, as QFile does it. A pipe that nobody reads is not opened.
bool openForWriting(QFile *file, Existing existing);

/// For writing a new file that all may read, whatever the umask. What has the name before is removed, a link as well.
bool createNew(QFile *file);

/// Creates the copy as above, with the mode of the source.
bool copyToNew(QFile *source, QFile *copy);

/// For reading and writing text in a regular file that exists and is no link.
bool openForUpdate(QFile *file);

/// @return whether all bytes have reached the disk
bool writeThrough(QFile *file, const QByteArray &bytes);

} // namespace FileAccess
