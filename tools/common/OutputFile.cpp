// SPDX-License-Identifier: Apache-2.0
#include "common/OutputFile.h"

#include <QFileInfo>

namespace Tools {

QString OutputFile::whyRefused(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile() ? QStringLiteral("it is not a file") : QString();
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
