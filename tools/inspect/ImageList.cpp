// SPDX-License-Identifier: Apache-2.0
#include "inspect/ImageList.h"

#include "inspect/Fetcher.h"

#include <QFile>

#include <cerrno>
#include <sys/stat.h>

namespace Inspect {

namespace {
void listFolder(const QString &path, ImageList *list)
{
    const Tools::FolderListing folder = Tools::FolderListing::of(path, Tools::FolderListing::imageSuffixes());
    for (const QString &file : folder.files)
        list->images.append({file, {}});
    list->leftOut += folder.leftOut;
    if (!folder.problem.isEmpty())
        list->images.append({path, NoVerdict::ofRun(folder.problem)});
    else if (folder.files.isEmpty())
        list->images.append({path, NoVerdict::ofRun(QStringLiteral("there is no image in the folder"))});
}
} // namespace

ImageList ImageList::of(const QStringList &operands)
{
    ImageList list;
    for (const QString &operand : operands) {
        struct stat status
        {
        };
        if (stat(QFile::encodeName(operand).constData(), &status) != 0)
            list.images.append({operand, Fetched::ofError(errno).problem()});
        else if (S_ISDIR(status.st_mode))
            listFolder(operand, &list);
        else
            list.images.append({operand, {}});
    }
    return list;
}

} // namespace Inspect
