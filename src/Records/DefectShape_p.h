// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"

/// The shape of a defect as the database keeps it. One from elsewhere may say anything.
namespace Records::DefectShape {

QByteArray packed(const StoredDefect &defect);

/// @param defect receives the shape
/// @return false for what packed() has not made
bool unpack(const QByteArray &shape, StoredDefect *defect);

bool isShape(const QByteArray &bytes); ///< that can be unpacked

/// What the shapes of one inspection may take together.
class Budget
{
public:
    bool covers(const QByteArray &shape); ///< and is smaller by it; looks at no more than the length that it tells

private:
    qint64 mLeft = qint64(RecordStore::maxOutlinePoints) * 2 * sizeof(double); // bytes
};

} // namespace Records::DefectShape
