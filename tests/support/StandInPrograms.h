// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

/// While it lives, programs of its folder are found before the system's. Each is a shell script that a test writes to
/// see the command line that arrives, or to have an answer that the real program gives only rarely.
class StandInPrograms
{
public:
    StandInPrograms() { qputenv("PATH", QFile::encodeName(mDir.path()) + ':' + mFormerPath); }
    StandInPrograms(const StandInPrograms &) = delete;
    StandInPrograms &operator=(const StandInPrograms &) = delete;
    ~StandInPrograms() { qputenv("PATH", mFormerPath); }

    /// Hides the system's programs as well.
    void hideOthers() { qputenv("PATH", QFile::encodeName(mDir.path())); }

    bool add(const QString &name, const QByteArray &script)
    {
        QFile file(mDir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write("#!/bin/sh\n" + script + '\n') > 0
            && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// A program that notes its arguments, one a line.
    bool addRecorder(const QString &name)
    {
        return add(name, "printf '%s\\n' \"$@\" >\"" + QFile::encodeName(mDir.filePath(name)) + ".arguments\"");
    }

    QByteArray arguments(const QString &name) const
    {
        QFile file(mDir.filePath(name) + QStringLiteral(".arguments"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("not run");
    }

    /// A file beside them; empty if it is not there.
    QByteArray read(const QString &name) const
    {
        QFile file(mDir.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    const QByteArray mFormerPath = qgetenv("PATH");
    QTemporaryDir mDir;
};
