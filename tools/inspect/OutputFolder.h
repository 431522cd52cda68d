// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/FileAccess.h"
#include "inspect/FileId.h"

#include <QSet>
#include <QString>
#include <QVector>

#include <memory>

namespace Inspect {

struct InputImage;

/// The folder that keeps the annotated images. A file appears in it whole or not at all, also for another run that
/// writes there at the same time.
class OutputFolder
{
public:
    /// @param path empty if nothing shall be kept
    explicit OutputFolder(const QString &path);

    /// Creates the folder and its parents if needed, and holds it open. The following need it.
    /// @return whether files can be written there
    bool prepare(QString *problem);

    bool keepsImages() const { return !mPath.isEmpty(); }

    /// From now on nothing takes the place of these images, however they are reached.
    void spare(const QVector<InputImage> &images);

    /// The output names, in folded case, of which a file would have the place of an image.
    QSet<QString> namesInUse() const;

    /// Copies the regular file, which may take the place of another one that is no image of the run and not closed to
    /// writing, but of nothing else, and removes it.
    /// @param most bytes; a larger one is not taken
    /// @return the path of the copy; empty if there is none, and then the problem says why
    QString take(const QString &file, const QString &name, qint64 most, QString *problem) const;

    static QString resultSuffix(); ///< what follows the output name

private:
    QString held(const QString &name) const;
    bool isWhereThePathLeads() const;
    QString hindrance(const QString &target) const; ///< empty when the file can be put there

    QString mPath;
    std::unique_ptr<FileAccess::Place> mPlace;
    QSet<FileId> mSpared;
};

} // namespace Inspect
