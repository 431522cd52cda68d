// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cerrno>
#include <sys/stat.h>
#include <sys/types.h>

class QFile;

/// Opens files at paths that others know as well. No function waits for the other end of a pipe; for another process to
/// give up a lease on a file, half a second.
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

bool isOwn(const struct stat &status); ///< root's or ours

/// Whether somebody other than root and us can put something into the folder that is there, or take it away.
bool isOpenToOthers(const struct stat &folder);

/// Whether only root and we can put something else in the place of the entry.
bool isHeld(const struct stat &folder, const struct stat &entry);

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

/// Where a path leads: one walk from link to link, as the kernel goes. The folder that it came to is held open, so that
/// whatever becomes of the path, nothing needs to look at it again.
///
/// The walk ends at a planted link: one that is neither root's nor ours, in a folder that is open to others.
class Place
{
public:
    enum class Missing : int {
        Stays,
        MakeFolders, ///< all of the path; the place is the folder that has no entry but "."
    };

    explicit Place(const QString &path, Missing missing = Missing::Stays);
    ~Place();
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;

    bool isPlanted() const { return mIsPlanted; }
    bool isLinked() const { return mIsLinked; } ///< whether the last part of the path was a link
    bool isLinkToNothing() const { return mIsLinked && !mIsThere && (mError == 0 || mError == ENOENT); }
    bool isBehindLinks() const { return mLinks > 0; }
    bool isWayHeld() const { return mIsWayHeld; } ///< whether only root and we can lead the path to another folder

    /// Descriptor of the folder; negative if the walk did not get there, with the errno as error().
    int folder() const { return mFolder; }
    int error() const { return mError; }

    QByteArray name() const { return mName; } ///< in the folder; a dot for the folder itself
    bool isThere() const { return mIsThere; } ///< something had the name, no link; as the following, at that time
    bool isFile() const;
    bool isFolder() const;
    const struct stat &status() const { return mStatus; }

    /// Why no file may be written there: a planted link, one without an end, a device, a pipe or a folder, which would
    /// be replaced. Empty: it may, as far as the place goes.
    QString whyNoFile() const;

    QString path() const; ///< absolute, without links; for messages and comparisons
    QString throughDescriptor() const; ///< a path by the descriptor, good while this lives

private:
    void follow(const QByteArray &path);
    void goOn(const QByteArray &name);
    void goAlong(int link);
    void fail(int error);
    void moveTo(int folder);

    QList<QByteArray> mNames; ///< still to go
    QByteArray mName;
    struct stat mStatus = {};
    const Missing mMissing;
    int mFolder = -1;
    int mError = 0;
    int mLinks = 0;
    bool mIsPlanted = false;
    bool mIsLinked = false;
    bool mIsWayHeld = true;
    bool mIsThere = false;
};

} // namespace FileAccess
