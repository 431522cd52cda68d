// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace Tools {

/// What a folder holds, without its subfolders: every entry is either one of the files or left out with a reason.
struct FolderListing
{
    static constexpr int mostEntries = 100000; ///< more are left out, and it is said

    struct LeftOut
    {
        QString path;
        QString reason;
    };

    QStringList files; ///< paths of the regular files with one of the suffixes, sorted by their bytes
    QVector<LeftOut> leftOut; ///< sorted likewise
    QString problem; ///< why the folder could not be read, or not to its end; empty otherwise

    /// Of the images that can be read, in lower case.
    static QStringList imageSuffixes();

    /// @param suffixes in lower case, without the dot
    static FolderListing of(const QString &folder, const QStringList &suffixes);
};

} // namespace Tools
