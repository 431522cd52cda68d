// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Writes a file that is seen whole or not at all, also after a power failure.
///
/// The bytes go to the disk beside the path, in a file that no other writer knows of, which commit() renames: many may
/// write to one path at once, and the last one wins. What is there before is replaced, a link as well; a folder stays.
class WholeFile
{
public:
    explicit WholeFile(const QString &path);
    ~WholeFile(); ///< without a commit() nothing is left
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;

    bool open();

    /// Who could not read or write the file at the path before cannot do so after; nobody gets more than usual.
    /// @return false also if that file is closed to writing, which is not to be replaced then
    bool respectFormer();

    bool write(const QByteArray &piece);
    bool commit();

    /// The errno of the step that failed. After a commit(): why a power failure might undo it; 0 if it cannot.
    int error() const { return mError; }
    QString reason() const; ///< of that, in words

    /// All of it in one go.
    static bool write(const QString &path, const QByteArray &content);

    /// Whether a file of that name is what a writer has left that died.
    static bool isUnfinished(const QString &fileName);

    /// Removes from a folder of ours what writers have left that died more than an hour ago. Of others nothing is
    /// touched, and no link is followed. @return how many files
    static int sweep(const QString &folder);

    /// What was done to the entries of the folder outlives a power failure.
    static bool syncFolder(const QString &folder);

private:
    bool noted(bool isDone);

    const QString mPath;
    QFile mUnfinished;
    int mError = 0;
    bool mIsThere = false;
};
