// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/FileAccess.h"

#include <QByteArray>
#include <QString>

class QDeadlineTimer;

/// The archive that had the name before: set aside while tar writes, and put back if that fails.
///
/// tar writes into a file that was made here before, and that nobody else writes at the same time. In a folder that is
/// open to others it has the owner and the mode of the former archive only where that is ours alone. What another user
/// has put there is no former archive: it makes room where it can be moved, and is never written to.
class FormerArchive
{
public:
    /// Sets it aside. Waits for who writes an archive of that name, in another thread or process.
    /// @param place of the archive, which outlives this
    FormerArchive(const FileAccess::Place &place, const QDeadlineTimer &patience);
    FormerArchive(const FormerArchive &) = delete;
    FormerArchive &operator=(const FormerArchive &) = delete;
    ~FormerArchive();

    QString problem() const { return mProblem; } ///< why it cannot be replaced; empty if it can
    static QString ofAnotherUser() { return QStringLiteral("What has the name of the archive is another user's: "); }

    QString name() const { return nameOf(mPath); }
    QString nameAside() const { return nameOf(mAside); } ///< its own meanwhile; empty if there was none

    /// Of the file that tar has to write, because others could lead the path to another one. Negative: by the path.
    int descriptor() const;

    void putBack();

    /// For the new one that tar has written. Without it, or with something else in its place, the former one is put
    /// back, and there is a problem().
    bool makeRoom();

    /// Whether it is one at all, or the beginning of one: packed, and the first block a header of tar.
    static bool isArchive(const QString &path);

private:
    static QString nameOf(const QByteArray &path);
    bool isBeingWritten() const;
    bool isNewOneThere() const;
    bool isNewOneOnDisk() const;
    bool hasNewOneBytes() const;
    bool lookUnlessWritten();
    void look();
    void setAside(const struct stat &status);
    void stayInPlace(const struct stat &status, int error);
    void begin(mode_t mode);
    void giveAway(const struct stat &former) const;
    void fail(const QString &problem);

    const FileAccess::Place &mPlace;
    const QByteArray mPath; ///< by the descriptor of the folder, as the following
    const QByteArray mFolder; ///< with the slash
    struct stat mFolderStatus = {};
    bool mIsOpen = false; ///< to others
    QByteArray mAside;
    QString mProblem;
    int mNewOne = -1; ///< open, so that no other file can have its number; or what tar writes in place
    bool mIsInPlace = false; ///< tar writes into what is there
};
