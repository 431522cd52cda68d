// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"
#include "Records/Record.h"

namespace Records {

/// Stores an inspection with its pictures: these are on the disk before a row names them.
/// @param told what is missing in it is added
Answer<Id> storeInspection(const OpenStore &store, const Origin &told, const FiberInspection::Inspection &inspection,
    const QByteArray &picture);

Answer<StoredInspection> readInspection(const OpenStore &store, Id id);
Answer<QString> findPicture(const OpenStore &store, const QByteArray &hash); ///< the path of its file

/// Puts back what is gone or damaged. Answers whether it was.
Answer<bool> restorePicture(const OpenStore &store, const QByteArray &picture);

/// Inspects its picture in the way that it was inspected.
Answer<FiberInspection::Inspection> inspectPictureOf(const OpenStore &store, Id id);

} // namespace Records
