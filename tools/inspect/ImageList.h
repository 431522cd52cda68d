// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>
#include <QVector>

namespace Inspect {

struct InputImage
{
    QString path; ///< as the user wrote it; of a folder with a problem, the folder's
    QString problem; ///< why there is nothing to analyse; empty otherwise
};

/// Files stay as they are, folders become the image files in them, sorted by name. Every operand yields something.
QVector<InputImage> listImages(const QStringList &operands);

} // namespace Inspect
