// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMetaType>
#include <QString>

namespace Records {

/// What kept a call from doing its work.
enum class Fault : int {
    None,
    NotOpen, ///< the store was not opened, or could not be
    WrongThread, ///< not the one that opened the store
    ReadOnly, ///< the store, its folder, or the disk
    DiskFull, ///< nothing was changed; the call may be repeated when there is room again
    Busy, ///< another program writes, for longer than was waited; or this thread does, and asks whether to go on
    LaterVersion, ///< written by a later version of this library
    Damaged, ///< the database; opening the store again mends its index, or keeps it aside and begins a new one
    Foreign, ///< a database, but none of ours
    NotFound, ///< there is no such record
    Invalid, ///< the arguments make no record
    PictureMissing,
    PictureDamaged, ///< its bytes do not have its name as their sum, or an annotated one is no picture that is shown
    Unusable, ///< files or database, for a reason that only the text tells
    OutOfMemory,
    NoDriver, ///< Qt's plug-in for SQLite is not installed
    Stopped, ///< by who called
    TooLarge, ///< a picture, to be inspected again; a store, to be merged
    Gone, ///< the store was moved or removed while it was open; nothing was stored
};

/// Whether something went wrong: for programs, and for people.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"));
/// const Problem problem = store.setDecision(1, Decision::Accepted, QStringLiteral("beside the fibre"));
/// if (problem.fault == Fault::DiskFull)
///     qWarning() << "make room, then say it again";
/// else if (!problem.ok())
///     qWarning() << problem.text;
/// @endcode
struct Problem
{
    Fault fault = Fault::None;
    QString text; ///< one line; empty when all is well

    bool ok() const { return fault == Fault::None; }
};

/// A value, or why there is none.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const Answer<Job> job = store.job(1);
/// if (job.ok())
///     qInfo() << job.value.name;
/// else
///     qWarning() << job.problem.text;
/// @endcode
template <typename Value>
struct Answer
{
    Value value{};
    Problem problem;

    bool ok() const { return problem.ok(); }
};

} // namespace Records

Q_DECLARE_METATYPE(Records::Fault)
