// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/PictureStore.h"

#include <QList>

#include <algorithm>

namespace Records {

/// Pictures that are no longer new once their record is stored; until then, what is new goes again.
class NewPictures
{
public:
    explicit NewPictures(const PictureStore &store)
        : mStore(store)
    {
    }
    ~NewPictures()
    {
        for (const QByteArray &hash : qAsConst(mNew))
            mStore.remove(hash);
    }
    NewPictures(const NewPictures &) = delete;
    NewPictures &operator=(const NewPictures &) = delete;

    /// @return its name; none for no bytes
    Answer<QByteArray> put(const QByteArray &bytes)
    {
        if (bytes.isEmpty())
            return {};
        const Answer<PictureStore::Kept> kept = mStore.put(bytes);
        if (kept.value.isNew)
            mNew << kept.value.hash;
        return {kept.value.hash, kept.problem};
    }

    void keep() { mNew.clear(); }

    /// Those that a record names.
    template <typename IsNamed>
    void keepIf(IsNamed isNamed)
    {
        mNew.erase(std::remove_if(mNew.begin(), mNew.end(), isNamed), mNew.end());
    }

private:
    const PictureStore &mStore;
    QList<QByteArray> mNew;
};

} // namespace Records
