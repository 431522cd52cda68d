// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "VantorBaseRecords_export.h"

#include <QByteArray>

#include <functional>

namespace Records {

/// A folder of pictures, each under the SHA-256 of its bytes: the same picture twice is kept once, and one that has
/// changed is found out.
///
/// @code
/// const PictureStore pictures(QStringLiteral("/srv/records/pictures"));
/// const Answer<PictureStore::Kept> kept = pictures.put(QByteArrayLiteral("\xff\xd8..."));
/// if (!kept.ok())
///     qWarning() << kept.problem.text;
/// else
///     qInfo() << pictures.path(kept.value.hash) << pictures.read(kept.value.hash).value.size();
/// @endcode
///
/// A value without state: all threads and programs may read and put at once. Names are 64 lower-case hexadecimal
/// digits.
class VANTORBASERECORDS_EXPORT PictureStore
{
public:
    static constexpr qint64 maxPictureSize = 256LL * 1024 * 1024; ///< bytes

    /// A picture that is on the disk.
    struct Kept
    {
        QByteArray hash;
        bool isNew = false; ///< it was not there before
    };

    /// @param folder made with the first picture; what it lies in has to be there
    explicit PictureStore(const QString &folder);

    static QByteArray hashOf(const QByteArray &bytes);

    /// When it comes back, the picture outlives a power failure. One of the same name that has been damaged is mended.
    Answer<Kept> put(const QByteArray &bytes) const;

    Answer<QByteArray> read(const QByteArray &hash) const; ///< its bytes, which have the name as their sum
    bool contains(const QByteArray &hash) const;
    bool keeps(const QByteArray &hash) const; ///< whole, and in this folder itself, not behind a link
    bool remove(const QByteArray &hash) const;
    QString path(const QByteArray &hash) const; ///< empty for what is no name
    bool isEmpty() const;

    /// Removes pictures that are not wanted, and what writers that died have left. Nobody must put meanwhile. Returns
    /// how many files it removed; files of other names stay.
    int sweep(const std::function<bool(const QByteArray &hash)> &isWanted) const;

    /// The same for one picture, and for what a writer of it has left.
    int sweepOne(const QByteArray &hash, bool isWanted) const;

private:
    QString mFolder;
};

} // namespace Records
