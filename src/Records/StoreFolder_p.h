// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"

#include <QString>

#include <sys/types.h>

namespace Records {

/// A file itself, whatever name leads to it.
class FileIdentity
{
public:
    FileIdentity() = default; ///< of none
    static FileIdentity of(const QString &path);
    static FileIdentity of(int descriptor);

    bool isSomething() const { return mNumber != 0; }
    bool operator==(const FileIdentity &other) const { return mDevice == other.mDevice && mNumber == other.mNumber; }
    bool operator!=(const FileIdentity &other) const { return !(*this == other); }

private:
    dev_t mDevice = 0;
    ino_t mNumber = 0;
};

/// Names of what lies in the folder of a store.
class StoreFolder
{
public:
    explicit StoreFolder(const QString &path);

    /// Invalid for no name, which would mean the root of all folders.
    static Problem checkName(const QString &path);

    /// Absolute: the program may go to another folder, and SQLite takes what begins with "file:" for an address.
    const QString &path() const { return mPath; }

    /// Where it is not there yet. From then on the path is the one behind all links. Refused is one that leads by a
    /// link which another user has put into a folder that is open to others; what else goes wrong shows with the first
    /// file.
    Problem make();
    QString database() const;
    QString pictures() const;
    QString lock() const;
    QString suspicion() const; ///< a file that is there since the database was seen to be damaged

    bool hasDatabase() const; ///< one that is not empty
    bool hasJournal() const; ///< of the database: what has not found its way into it yet, or must go out of it again

    /// What lies where the database opens files, and is none: it would wait for a pipe. Empty when all is well.
    QString obstacle() const;

    /// What lies where the database opens files, and is a link: SQLite looks for journals beside what that leads to.
    /// Empty when all is well.
    QString link() const;

    /// What lies where something is written or removed, and leads elsewhere or is of another kind. Empty when all is
    /// well.
    QString detour() const;

    void removeDatabase() const; ///< one that nobody has open, with its journals

    /// Pictures or a journal without their database: the database was taken away, or lost.
    bool isBeheaded() const;

    /// Moves database, journal and pictures into a new folder beside them, named after the database and the time.
    /// Returns its path; empty when that could not be done.
    QString setAside() const;

private:
    QString mPath;
};

} // namespace Records
