// SPDX-License-Identifier: Apache-2.0
#include "Helpers/WholeFile_p.h"

#include <QFileInfo>
#include <QRandomGenerator>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
/// In the same folder. Short, because the name at the path may be as long as a name can be. The application's generator
/// is left alone: what is drawn from it does not depend on what is saved in between.
QString unfinishedPath(const QString &path)
{
    constexpr int base = 36;
    return QStringLiteral("%1/.unfinished-%2")
        .arg(QFileInfo(path).path(), QString::number(QRandomGenerator::system()->generate64(), base));
}

/// After a power failure the folder has the new file, or none of it.
void syncFolderOf(const QString &path)
{
    const int folder = open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
}
} // namespace

WholeFile::WholeFile(const QString &path)
    : mPath(path)
    , mUnfinished(unfinishedPath(path))
{
}

WholeFile::~WholeFile()
{
    if (mUnfinished.isOpen())
        mUnfinished.remove();
}

bool WholeFile::open()
{
    return mUnfinished.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered);
}

bool WholeFile::write(const QByteArray &piece)
{
    return mUnfinished.write(piece) == piece.size();
}

bool WholeFile::commit()
{
    const QByteArray from = QFile::encodeName(mUnfinished.fileName());
    if (fsync(mUnfinished.handle()) != 0 || std::rename(from.constData(), QFile::encodeName(mPath).constData()) != 0)
        return false;
    mUnfinished.close();
    syncFolderOf(mPath);
    return true;
}

bool WholeFile::write(const QString &path, const QByteArray &content)
{
    WholeFile file(path);
    return file.open() && file.write(content) && file.commit();
}
