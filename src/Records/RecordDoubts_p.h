// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Doubt.h"
#include "Records/InspectionRows_p.h"
#include "Records/RecordStore.h"

#include <QHash>

#include <optional>

namespace Records {

/// Which of the stored inspections are in doubt. Of each as much is read as that takes, and of all together no more
/// than RecordStore::maxJudgedParts: beyond, each is in doubt.
class RecordDoubts
{
public:
    explicit RecordDoubts(const Database &database);

    Answer<Doubt> of(Id inspection);

    /// For whoever counts: what cannot be looked at is in doubt as well.
    bool isDoubtful(Id inspection);

private:
    std::optional<FiberInspection::Standard::Id> standardOf(Id job);

    InspectionRows::Reader mReader;
    Query mStandard;
    QHash<Id, FiberInspection::Standard::Id> mStandards; ///< by job
    int mLeft = RecordStore::maxJudgedParts;
};

} // namespace Records
