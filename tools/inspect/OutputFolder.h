// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "inspect/FileId.h"

#include <QSet>
#include <QString>
#include <QVector>

namespace Inspect {

struct InputImage;

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

    /// From now on nothing takes the place of these images, however they are reached.
    void spare(const QVector<InputImage> &images);

    /// The output names, in folded case, of which a file would have the place of an image.
    QSet<QString> namesInUse() const;

    /// Copies the file, which may take the place of a regular file that is no image of the run, but of nothing else,
    /// and removes it.
    /// @param most bytes; a larger one is not taken
    /// @return the path of the copy; empty if there is none, and then the problem says why
    QString take(const QString &file, const QString &name, qint64 most, QString *problem) const;

    static QString resultSuffix(); ///< what follows the output name

private:
    QString hindrance(const QByteArray &target) const; ///< empty when the file can be put there

    QString mPath;
    QSet<FileId> mSpared;
};

} // namespace Inspect
