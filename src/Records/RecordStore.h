// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "Records/Doubt.h"
#include "Records/PictureStore.h"
#include "Records/Record.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace Records {

struct OpenStore;

/// How a store was opened.
enum class Opened : int {
    No, ///< the problem tells why
    Usable, ///< for reading and writing
    Begun, ///< the same; there was none before
    BegunAnew, ///< the same; what was there is damaged, and was kept aside
    AsReader, ///< for reading, as was asked for
    InUse, ///< for reading: another program writes
    ReadOnlyFolder, ///< for reading
    FullDisk, ///< for reading
    LaterVersion, ///< for reading: a later version of this library wrote it
};

/// What opening a store came to.
///
/// @code
/// RecordStore store;
/// const Opening opening = store.open(QStringLiteral("/srv/records"));
/// if (!opening.keptAside.isEmpty())
///     qWarning() << "what was there is damaged, and was kept in" << opening.keptAside;
/// else if (!opening.canWrite())
///     qWarning() << opening.problem.text;
/// @endcode
struct Opening
{
    Opened how = Opened::No;
    Problem problem; ///< what is in the way of writing, or was wrong with what was kept aside
    QString keptAside; ///< folder with the former database and pictures; empty when there is none
    int swept = 0; ///< files that a program left which was ended while it wrote

    bool isOpen() const { return how != Opened::No; }
    bool canWrite() const { return how == Opened::Usable || how == Opened::Begun || how == Opened::BegunAnew; }
};

/// What became of a picture that an inspection names.
/// @see Verification
struct PictureFault
{
    Id inspection = noId;
    QByteArray hash;
    Fault fault = Fault::None; ///< PictureMissing, PictureDamaged, or Unusable when it cannot be read
};

/// What verify() has found.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const Verification found = store.verify().value;
/// if (!found.allWell())
///     qWarning() << found.databaseFaults;
/// for (const PictureFault &fault : found.pictureFaults)
///     qWarning() << "inspection" << fault.inspection << "without its picture" << fault.hash;
/// @endcode
struct Verification
{
    QStringList databaseFaults; ///< as the database tells them, and records that cannot be read back; the first ones
    QVector<PictureFault> pictureFaults;
    int pictures = 0; ///< that were looked at
    bool isComplete = false; ///< all was looked at

    bool allWell() const { return isComplete && databaseFaults.isEmpty() && pictureFaults.isEmpty(); }
};

/// What backup() has written.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const Answer<Backup> backup = store.backup(QStringLiteral("/media/stick/records"));
/// if (!backup.ok())
///     qWarning() << backup.problem.text;
/// else if (backup.value.missing > 0)
///     qWarning() << backup.value.missing << "pictures are not in it";
/// @endcode
struct Backup
{
    int pictures = 0;
    int missing = 0; ///< pictures that are named, but could not be read
};

/// What merge() has done.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"));
/// const Answer<Merge> merge = store.merge(QStringLiteral("/media/stick/records"));
/// if (!merge.ok())
///     qWarning() << merge.problem.text;
/// else
///     qInfo() << merge.value.inspections << "are new," << merge.value.disagreements.size() << "decided otherwise";
/// @endcode
struct Merge
{
    int jobs = 0; ///< that were added, as were these points and inspections
    int points = 0;
    int inspections = 0;
    int known = 0; ///< inspections that were here already
    QVector<Id> decisions; ///< those of them that had none here, and have it from there now
    QVector<Id> disagreements; ///< those of them that were decided differently here and there; what is here stays
    QVector<Id> contradictions; ///< those of them that are described otherwise there, by another verdict for instance
    QVector<Id> otherFibres; ///< points that are of another kind of fibre there; what is here stays
    QVector<Id> judgedAnew; ///< points that were judged here, and otherwise by what was added
    int pictures = 0; ///< that were copied
    int missing = 0; ///< pictures that are named there, but neither there nor here
    int damaged = 0; ///< pictures that are damaged there or cannot be read, and are not here
};

/// Jobs, their points and the inspections of these, kept in one folder: a database and its pictures.
///
/// @code
/// RecordStore store;
/// const Opening opening = store.open(QStringLiteral("/srv/records"));
/// if (!opening.canWrite())
///     qWarning() << opening.problem.text;
/// const QByteArray photograph = QByteArrayLiteral("...");
/// const auto inspection = inspect(decodeImage(photograph).image, Standard::IEC61300_3_35_SM_RL45);
/// const Answer<Id> id = store.addInspection(Origin::of(noId), inspection, photograph);
/// if (id.ok())
///     qInfo() << store.inspection(id.value).value.defects.size(); // as it will be next year
/// @endcode
///
/// What a call has stored when it comes back is there after a crash and after a power failure. What it could not store
/// leaves no trace. Nothing is ever deleted but files that no record names. No exception leaves a call. When the folder
/// is moved or removed while it is open, all that writes answers Fault::Gone, and nothing is made in its place.
///
/// One object belongs to one thread, the one that opened it; other threads have objects of their own on the same
/// folder, and may write as well, in turns: a merge has its turn from its look at the other store to its end. A
/// function that is asked whether to go on may read; what writes into a store that its thread is writing into answers
/// Fault::Busy, as does open(), and close() does nothing. It may destroy the object: the call ends with Fault::Stopped
/// then, whatever the answer is, and until it has come back the folder stays in use. Of all programs one writes, the
/// first to come; others read beside it. There must be a QCoreApplication.
class VANTORBASERECORDS_EXPORT RecordStore
{
public:
    enum class Mode : int { ReadWrite, ReadOnly };

    static constexpr int maxTextLength = 4000; ///< characters of a name or a note
    static constexpr int maxPointsOfRun = 1000;

    // Of one inspection; beyond, it is not stored, and a database that says so is damaged.
    static constexpr int maxZones = 4;
    static constexpr int maxRules = 256;
    static constexpr int maxDefects = 65536;
    static constexpr int maxOutlinePoints = 4 * 1024 * 1024; ///< of all its defects together, 16 bytes each

    /// Rules and defects that one call looks at to learn which records are in doubt; those beyond are.
    static constexpr int maxJudgedParts = 500'000;

    // Of a store that is merged.
    static constexpr int maxMergedJobs = 100'000;
    static constexpr int maxMergedPoints = 1'000'000; ///< of all its jobs together
    static constexpr int maxMergedPointsOfJob = 10'000; ///< also with those that the job has here

    /// Bytes of the texts that its inspections are searched by, which the index has for each of them: those of its job,
    /// the name of its point, its note.
    static constexpr int maxMergedTexts = 64 * 1024 * 1024;

    RecordStore();
    ~RecordStore();
    RecordStore(const RecordStore &) = delete;
    RecordStore &operator=(const RecordStore &) = delete;

    /// Whether there is a store in the folder, of whatever state. It is not opened, and nothing is changed.
    static bool isThere(const QString &folder);

    /// What was open before is closed. A store that cannot be written to is opened for reading. Of threads that open it
    /// at once, the first one is told what was begun, kept aside or swept; the others wait for it. A folder without a
    /// name is Fault::Invalid, here as in backup() and merge(); a relative one stays what it is at this moment.
    Opening open(const QString &folder, Mode mode = Mode::ReadWrite);
    void close();
    bool isOpen() const;
    bool canWrite() const;

    /// Whether the folder still has what was opened: not once that was moved or removed, or another store put there.
    bool isInPlace() const;

    /// @return the job with what the store has given to it
    Answer<Job> addJob(const Job &job);

    /// Changes name, customer, site, operator, and when it was closed. Its standard stays: its verdicts are by that.
    Problem updateJob(const Job &job);

    Answer<Job> job(Id id) const;
    Answer<Job> jobOf(const QUuid &identity) const;
    Answer<QVector<Job>> jobs(const Page &page = {}) const; ///< the latest first
    Answer<JobProgress> progress(Id job) const;

    /// @param sizeEdges micrometres, each larger than the one before; at most JobStatistics::maxEdges
    Answer<JobStatistics> statistics(Id job, const QVector<double> &sizeEdges = {}) const;

    /// Adds the points behind those that the job has: all of the run, or none.
    Answer<QVector<Point>> addPoints(Id job, const PointRun &run);
    Answer<QVector<Point>> points(Id job) const; ///< in their order

    /// Stores all that the inspection says. Its verdict may be shown when this has come back. One of a point is by the
    /// standard of its job, or Fault::Invalid.
    /// @param picture the bytes of the image file that was inspected; may be empty where there is no verdict, which
    /// rests on it
    Answer<Id> addInspection(
        const Origin &origin, const FiberInspection::Inspection &inspection, const QByteArray &picture);

    /// A record that contradicts itself is not accepted, but may be repeated.
    Problem setDecision(Id inspection, Decision decision, const QString &note);

    Answer<QVector<InspectionSummary>> list(const Filter &filter = {}, const Page &page = {}) const;
    Answer<int> count(const Filter &filter = {}) const;
    Answer<StoredInspection> inspection(Id id) const;

    /// Why the verdict of an inspection is not to be relied on, by its record and the standard of its job. For lists:
    /// the outlines of its defects are not read, and whether its pictures are there is not looked at.
    Answer<Doubt> doubt(Id inspection) const;

    /// The same of many, in their order.
    Answer<QVector<Doubt>> doubts(const QVector<Id> &inspections) const;
    Answer<QByteArray> picture(const QByteArray &hash) const; ///< the bytes that were stored

    /// The absolute path of a stored picture, to show it without a copy. The file is there, but its sum is not looked
    /// at. It must only be read: all inspections of the same picture have this one file.
    Answer<QString> picturePath(const QByteArray &hash) const;

    /// Puts a picture back whose file is gone or damaged: the bytes that were stored. Answers whether it was; one that
    /// no inspection names is Fault::NotFound.
    Answer<bool> restorePicture(const QByteArray &picture);

    /// Inspects the stored picture again, in the same way. With a seed, the same version finds the same. A picture of
    /// more pixels than InspectionOptions::defaultMaxImagePixels is Fault::TooLarge, whatever the record allowed.
    Answer<FiberInspection::Inspection> inspectAgain(Id id) const;

    /// Removes pictures that no inspection names. Opening does it when it is needed.
    Answer<int> sweep();

    /// Checks the database, the index for searching, all values, whether each inspection can be read back, and the sums
    /// of all pictures. What a later version has written may have values that are not known here, and these are not
    /// looked at. Takes its time.
    /// @param goesOn if given, is told of each inspection, and ends the work by answering false, with Fault::Stopped
    Answer<Verification> verify(const std::function<bool(int done, int all)> &goesOn = {}) const;

    /// Writes a copy into a folder that holds no store yet and does not lie among our pictures: a store itself, as it
    /// is at this moment. Others may write meanwhile. The database gets its name when all the rest is on the disk.
    Answer<Backup> backup(const QString &folder) const;

    /// Takes over what the store of another unit has and this one does not: jobs and inspections are told by their
    /// identity, points of a job by name and side, so twice is once. All of it, or nothing. What comes counts as later
    /// than what is here, in its own order; a job that both have stays as it is here. The other store is only read, and
    /// refused if it is damaged or was written by a later version.
    /// @param goesOn if given, is told how far it is, and ends the work by answering false, with Fault::Stopped. It is
    /// not asked before SQLite has looked at the other database as a whole, which takes seconds for a large one.
    Answer<Merge> merge(const QString &folder, const std::function<bool(int done, int all)> &goesOn = {});

private:
    std::shared_ptr<OpenStore> mOpen; ///< null when it is not open
};

} // namespace Records
