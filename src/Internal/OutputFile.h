// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/FileAccess.h"
#include "Internal/WholeFile.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// A file that is written where the user says. It is seen whole or not at all, and is what a power failure leaves
/// there. The path is looked at once, when this is made: links are followed, also to what is not there yet.
///
/// A file that is closed to writing is not replaced.
class OutputFile
{
public:
    explicit OutputFile(const QString &path);

    /// Why nothing may be written there: a device, a pipe or a folder would be replaced, or another user has put a link
    /// on the way. Empty: it may.
    QString whyRefused() const { return mPlace.whyNoFile(); }

    /// Absolute, behind all links; empty if its folder is not there.
    QString target() const { return mPlace.path(); }

    const FileAccess::Place &place() const { return mPlace; }

    // Without a commit() nothing is seen; what is false has a problem().
    bool open(); ///< the following do so if it was not done
    bool write(const QByteArray &bytes); ///< the next piece
    bool commit(); ///< false also if it is there, but may be gone after a power failure, or where nobody finds it
    QString problem() const { return mProblem; } ///< does not name the path
    int error() const { return mError; } ///< the errno of it; 0 if nothing may be written there

    /// @return false: the problem, which does not name the path, says why
    static bool write(const QString &path, const QByteArray &bytes, QString *problem);

    /// Makes the folder, and those that lead to it, but never behind a link that another user has put on the way.
    /// @return false: the problem, which does not name the path, says why
    static bool makeFolder(const QString &path, QString *problem);

private:
    bool isWhereThePathLeads();
    bool fail(int error, const QString &problem);

    const QString mPath;
    const FileAccess::Place mPlace; ///< outlives the file
    std::optional<WholeFile> mFile;
    QString mProblem;
    int mError = 0;
};
