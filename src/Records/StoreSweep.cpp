// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionRows_p.h"
#include "Records/StoreSweep_p.h"

namespace Records {

Answer<int> sweepStore(const OpenStore &store)
{
    const Answer<QSet<QByteArray>> names = InspectionRows::pictureNames(*store.database);
    if (!names.ok())
        return {0, names.problem}; // what is named is not known, so everything may be
    return {store.pictures.sweep([&names](const QByteArray &hash) { return names.value.contains(hash); }), {}};
}

Answer<int> sweepAfterInterruption(const OpenStore &store)
{
    const StoreLock::Interruption &former = store.lock->interruption();
    if (!former.hasHappened)
        return {};
    if (!former.isOfThisBoot || former.pictures.contains(StoreLock::anyPicture))
        return sweepStore(store);
    int swept = 0;
    for (const QByteArray &hash : former.pictures) {
        const Answer<bool> isNamed = InspectionRows::isNamed(*store.database, hash);
        if (!isNamed.ok())
            return {swept, isNamed.problem};
        swept += store.pictures.sweepOne(hash, isNamed.value);
    }
    return {swept, {}};
}

} // namespace Records
