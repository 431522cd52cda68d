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
    bool write(const QByteArray &piece);
    bool commit();

    /// All of it in one go.
    static bool write(const QString &path, const QByteArray &content);

private:
    const QString mPath;
    QFile mUnfinished;
};
