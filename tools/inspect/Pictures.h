// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>
#include <QVector>

namespace FiberInspection {
class Inspection;
}

namespace Inspect {

class OutputFolder;
struct Inspection;
struct Options;

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

    bool prepare() const; ///< creates the folders

    /// Those into which it has to write what is asked for.
    QList<QByteArray> foldersToWrite(const Options &options) const;

    /// In place of what was kept before. @return whether the annotated image was written
    bool keep(const FiberInspection::Inspection &found, const Steps &steps) const;

    // for the parent

    /// Moves what was kept, and was asked for, into the output folder, and enters there where it is, or what went
    /// wrong.
    void take(const OutputFolder &output, const Options &options, Inspection *inspection) const;

    /// Whether the worker has written so much that it cannot be pictures of an analysis.
    bool areTooMany(const Options &options) const;

private:
    /// @return what went wrong; empty when nothing did
    QString takeSteps(const OutputFolder &output, const Options &options, const Inspection &inspection) const;
    QString stepsFolder() const;
    QString resultFolder() const;
    QString keptResult() const;

    QString mFolder;
};

} // namespace Inspect
