// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/FolderListing.h"
#include "inspect/NoVerdict.h"

namespace Inspect {

struct InputImage
{
    QString path; ///< as the user wrote it; of a folder with a problem, the folder's
    NoVerdict problem; ///< why there is nothing to analyse
};

struct ImageList
{
    QVector<InputImage> images;
    QVector<Tools::FolderListing::LeftOut> leftOut; ///< all else that lies in the folders

    /// Files stay as they are, folders become the image files in them, sorted by name. Every operand yields an image;
    /// what is not there now is not read later, when it might be a picture that the run itself has left there.
    static ImageList of(const QStringList &operands);
};

} // namespace Inspect
