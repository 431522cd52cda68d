// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Inspect {

/// The folder that keeps the annotated images. A file appears in it whole or not at all, also for another run that
/// writes there at the same time.
class OutputFolder
{
public:
    /// @param path empty if nothing shall be kept
    explicit OutputFolder(const QString &path);

    /// Creates the folder and its parents if needed. @return whether files can be written there
    bool prepare(QString *problem) const;

    bool keepsImages() const { return !mPath.isEmpty(); }

    /// Copies the file, which may take the place of a regular file, but of nothing else, and removes it.
    /// @param most bytes; a larger one is not taken
    /// @return the path of the copy; empty if there is none, and then the problem says why
    QString take(const QString &file, const QString &name, qint64 most, QString *problem) const;

    static QString resultSuffix(); ///< what follows the output name

private:
    QString mPath;
};

} // namespace Inspect
