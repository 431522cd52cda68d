// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace Inspect {

class OutputFolder;
struct Inspection;
struct Options;

/// What one worker sees of images, and the pictures that it paints, in the worker's own folder: the worker keeps those
/// that matter there, the parent takes them away when the worker has reported.
class Pictures
{
public:
    /// @param folder of the worker
    explicit Pictures(const QString &folder);

    /// Makes the file descriptor the image that is to be analysed; once for all images.
    bool prepare(int image) const;

    QString imagePath() const; ///< the step images land beside it

    // for the worker

    /// Those into which it has to write what is asked for.
    QList<QByteArray> foldersToWrite(const Options &options) const;

    void forget() const; ///< what was kept of an earlier image
    void keep() const; ///< what the last analysis has painted, in place of what was kept

    // for the parent

    /// Moves what was kept, and was asked for, into the output folder, and enters there where it is, or what went
    /// wrong.
    void take(const OutputFolder &output, const Options &options, Inspection *inspection) const;

    /// Whether the worker has written so much that it cannot be pictures of an analysis.
    bool areTooMany(const Options &options) const;

private:
    void takeSteps(const OutputFolder &output, const Options &options, Inspection *inspection) const;
    QString stepsFolder() const;
    QString keptResult() const;

    QString mFolder;
};

} // namespace Inspect
