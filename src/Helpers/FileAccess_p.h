// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

class QFile;

/// Opens files at paths that others know as well. No function waits for the other end of a pipe.
///
/// A file is ours alone if it is a regular one that belongs to root or to us, has one name and can be written by its
/// owner, and root's group, only. In a folder with the sticky bit nobody else can put something in its place then. What
/// is at such a path and is not ours alone may have been planted there: it is never read, and takes no part in what is
/// written.
namespace FileAccess {

constexpr mode_t readableForAll = 0644;

enum class Existing : int { Overwrite, Append };

/// What is at a path.
enum class Found : int {
    Nothing,
    Ours, ///< ours alone, and open
    Planted, ///< of another user, or could have been written by one; a link; a second name; told in the log
    Unusable, ///< nobody else's doing, but no file that can be read
};

/// For reading text. Only a regular file is opened; a link to one is followed.
bool openRegular(const QString &path, QFile *file);

/// For reading text behind a link. The link, and the regular file that it leads to, belong to root or to us.
bool openLinked(const QString &path, QFile *file);

/// For reading text of another user that a third one can neither have written nor put there: only its owner and root
/// can write the regular file, and only root and we its folder. The last part of the path must be no link.
bool openForeign(const QString &path, QFile *file);

/// For reading text that can only have been written by root or us. The last part of the path must be no link.
Found openOurs(const QString &path, QFile *file);

bool isNothing(const QString &path); ///< not even a link that leads nowhere
bool isOwnFile(const QString &path); ///< regular, and of root or us; no link to one

/// Whether a path leads to the folder or below it, behind all links. It need not be there yet; the folder has to be.
bool isWithin(const QString &path, const QString &folder);

/// Whether something is there that is neither root's nor ours, a link as well, in a folder that others can write.
bool isPlanted(const QString &path);

/// For writing text, as QFile does it. A pipe that nobody reads is not opened.
bool openForWriting(const QString &path, Existing existing, QFile *file);

/// For writing a new file with that mode, whatever the umask. What is there before is removed, a link as well; a folder
/// of another user is moved aside.
bool createNew(const QString &path, QFile *file, mode_t mode = readableForAll);

/// Gives the file this content and mode: whole or not at all, on the disk, and only if it has not got them already.
/// What is there before is replaced as above. A failure is told in the log.
bool replace(const QString &path, const QByteArray &bytes, mode_t mode = readableForAll);

/// Removes what a replacement has left beside a file when the power was cut. Not while another one is under way.
void removeUnfinished(const QString &path);

/// @return whether all bytes have reached the disk
bool writeThrough(QFile *file, const QByteArray &bytes);

/// All that can be read, also from a file of the kernel, whose size tells nothing.
/// @return false if it is more than the limit, or cannot be read
bool readAll(QFile *file, qint64 limit, QByteArray *bytes);

} // namespace FileAccess
