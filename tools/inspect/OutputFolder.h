// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Inspect {

/// The folder that keeps the annotated images. A file appears in it whole or not at all.
class OutputFolder
{
public:
    /// @param path empty if nothing shall be kept
    explicit OutputFolder(const QString &path);

    /// Creates the folder and its parents if needed. @return whether files can be written there
    bool prepare(QString *problem) const;

    bool keepsImages() const { return !mPath.isEmpty(); }

    /// @return the path of the file now, empty if it could not be moved
    QString takeResultImage(const QString &file, const QString &outputName, QString *problem) const;

    /// Moves all step images of that name out of the folder.
    bool takeStepImages(const QString &folder, const QString &outputName, QString *problem) const;

    /// Removes what a process that was killed meanwhile has left behind half-written.
    void removePartsOf(const QString &outputName) const;

    static QString resultSuffix(); ///< what follows the output name

private:
    QString mPath;
};

} // namespace Inspect
