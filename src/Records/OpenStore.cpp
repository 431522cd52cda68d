// SPDX-License-Identifier: Apache-2.0
#include "Records/OpenStore_p.h"

#include <QThread>

namespace Records {

OpenStore::OpenStore(const StoreFolder &place)
    : folder(place)
    , pictures(place.pictures())
    , thread(QThread::currentThread())
{
}

OpenStore::~OpenStore()
{
    close();
}

void OpenStore::close()
{
    database.reset();
    use.reset();
    if (lock)
        StoreLock::release(std::move(lock));
    lock.reset();
}

Problem OpenStore::whyNotWriting() const
{
    if (!lock)
        return {Fault::ReadOnly, QStringLiteral("The store is open for reading only")};
    return database->checkPlace();
}

GoesOn OpenStore::asking(const GoesOn &goesOn) const
{
    return [this, goesOn](int done, int all) { return (!goesOn || goesOn(done, all)) && !isAbandoned; };
}

} // namespace Records
