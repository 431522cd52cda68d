// SPDX-License-Identifier: Apache-2.0
#include "ImageList.h"

#include <QDir>
#include <QFileInfo>

namespace Inspect {

namespace {
QVector<InputImage> listFolder(const QString &path)
{
    static const QStringList imageFiles{QStringLiteral("*.bmp"), QStringLiteral("*.jpeg"), QStringLiteral("*.jpg"),
        QStringLiteral("*.pgm"), QStringLiteral("*.png"), QStringLiteral("*.ppm"), QStringLiteral("*.tif"),
        QStringLiteral("*.tiff"), QStringLiteral("*.webp")};

    const QFileInfo folder(path);
    if (!folder.isReadable() || !folder.isExecutable())
        return {{path, QStringLiteral("the folder cannot be read")}};

    const QDir dir(path);
    QVector<InputImage> images;
    const QStringList names = dir.entryList(imageFiles, QDir::Files, QDir::Name);
    for (const QString &name : names)
        images.append({dir.filePath(name), {}});
    if (images.isEmpty())
        return {{path, QStringLiteral("there is no image in the folder")}};
    return images;
}
} // namespace

QVector<InputImage> listImages(const QStringList &operands)
{
    QVector<InputImage> images;
    for (const QString &operand : operands) {
        if (QFileInfo(operand).isDir())
            images += listFolder(operand);
        else
            images.append({operand, {}});
    }
    return images;
}

} // namespace Inspect
