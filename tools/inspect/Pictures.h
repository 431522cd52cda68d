// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QString>
#include <QVector>

namespace FiberInspection {
class Inspection;
}

namespace Inspect {

class OutputFolder;
struct Inspection;

/// The pictures that one worker paints, in the worker's own folder: the worker keeps those that matter there, the
/// parent takes them away when the worker has reported.
class Pictures
{
public:
    struct Step
    {
        QString name; ///< "01_gray"
        QImage picture;
    };
    using Steps = QVector<Step>;

    /// @param folder of the worker
    explicit Pictures(const QString &folder);

    // for the worker

    bool prepare() const; ///< creates the folder

    /// In place of what was kept before. @return whether the annotated image was written
    bool keep(const FiberInspection::Inspection &found, const Steps &steps) const;

    // for the parent

    /// Moves what was kept into the output folder, and enters there where it is, or what went wrong.
    void take(const OutputFolder &output, Inspection *inspection) const;

private:
    QString stepsFolder() const;
    QString keptResult() const;

    QString mFolder;
};

} // namespace Inspect
