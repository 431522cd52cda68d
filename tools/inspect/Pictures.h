// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Inspect {

class OutputFolder;
struct Inspection;

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

    void forget() const; ///< what was kept of an earlier image
    void keep() const; ///< what the last analysis has painted, in place of what was kept

    // for the parent

    /// Moves what was kept into the output folder, and enters there where it is, or what went wrong.
    void take(const OutputFolder &output, Inspection *inspection) const;

private:
    QString stepsFolder() const;
    QString keptResult() const;

    QString mFolder;
};

} // namespace Inspect
