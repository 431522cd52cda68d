// SPDX-License-Identifier: Apache-2.0
#include "inspect/ImageList.h"

#include <QFileInfo>

namespace Inspect {

namespace {
void listFolder(const QString &path, ImageList *list)
{
    static const QStringList suffixes{QStringLiteral("bmp"), QStringLiteral("jpeg"), QStringLiteral("jpg"),
        QStringLiteral("pgm"), QStringLiteral("png"), QStringLiteral("ppm"), QStringLiteral("tif"),
        QStringLiteral("tiff"), QStringLiteral("webp")};

    const Tools::FolderListing folder = Tools::FolderListing::of(path, suffixes);
    for (const QString &file : folder.files)
        list->images.append({file, {}});
    list->leftOut += folder.leftOut;
    if (!folder.problem.isEmpty())
        list->images.append({path, folder.problem});
    else if (folder.files.isEmpty())
        list->images.append({path, QStringLiteral("there is no image in the folder")});
}
} // namespace

ImageList ImageList::of(const QStringList &operands)
{
    ImageList list;
    for (const QString &operand : operands) {
        if (QFileInfo(operand).isDir())
            listFolder(operand, &list);
        else
            list.images.append({operand, {}});
    }
    return list;
}

} // namespace Inspect
