// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/RecordStore.h"

#include <QSet>

/// Inspections in the tables. What changes them runs within a transaction of the caller.
namespace Records::InspectionRows {

/// The names of the pictures of an inspection, empty where there is none.
struct Pictures
{
    QByteArray source;
    QByteArray annotated;
};

Answer<Id> add(
    Database &database, const Origin &origin, const FiberInspection::Inspection &inspection, const Pictures &pictures);
Problem decide(Database &database, Id id, Decision decision, const QString &note);

/// Reads one inspection after the other.
class Reader
{
public:
    enum class Parts : int {
        All,
        ForDoubt, ///< of the defects neither where they are nor their outlines, which are most of the bytes
    };

    explicit Reader(const Database &database, Parts parts = Parts::All);

    /// Of one that is damaged the value tells how much there was.
    Answer<StoredInspection> read(Id id);

private:
    Problem readZones(StoredInspection *stored);
    Problem readRules(StoredInspection *stored);
    Problem readDefects(StoredInspection *stored);

    const Parts mParts;
    Query mRow;
    Query mZones;
    Query mRules;
    Query mDefects;
};

Answer<StoredInspection> one(const Database &database, Id id);
Answer<QVector<InspectionSummary>> some(const Database &database, const Filter &filter, const Page &page);
Answer<int> count(const Database &database, const Filter &filter);

/// Makes an inspection found by the words that it has now.
Problem index(Database &database, Id id);

/// Makes the inspections of the job found by the words that it has now.
Problem indexJob(Database &database, Id job);

/// The pictures of one inspection.
struct Named
{
    Id inspection = noId;
    Pictures pictures;
};
Answer<QVector<Named>> allPictures(const Database &database);
Answer<QSet<QByteArray>> pictureNames(const Database &database); ///< the same, each once

/// Whether an inspection names the picture. Looks at all of them.
Answer<bool> isNamed(const Database &database, const QByteArray &hash);

} // namespace Records::InspectionRows
