// SPDX-License-Identifier: Apache-2.0
#include "common/OutputFile.h"

#include "common/FilePath.h"

#include <QDir>
#include <QFileInfo>

namespace Tools {

QString OutputFile::whyRefused(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile() ? QStringLiteral("it is not a file") : QString();
}

QString OutputFile::target(const QString &path)
{
    constexpr int maxLinks = 40; // as the kernel follows
    QFileInfo info(path);
    for (int i = 0; i < maxLinks && info.isSymLink(); ++i)
        info.setFile(info.symLinkTarget());
    const QString folder = QFileInfo(info.path()).canonicalFilePath();
    return folder.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : FilePath::in(folder, info.fileName());
}

bool OutputFile::fill(QSaveFile *file, const QByteArray &bytes)
{
    if (!file->open(QIODevice::WriteOnly))
        return false;
    qint64 written = 0;
    qint64 more = 1;
    while (more > 0 && written < bytes.size()) { // of a write that ends early, only the next one knows the reason
        more = file->write(bytes.constData() + written, bytes.size() - written);
        written += more;
    }
    return more > 0;
}

bool OutputFile::write(const QString &path, const QByteArray &bytes, QString *problem)
{
    *problem = whyRefused(path);
    if (!problem->isEmpty())
        return false;
    QSaveFile file(path);
    if (fill(&file, bytes) && file.commit())
        return true;
    *problem = file.errorString();
    return false;
}

} // namespace Tools
