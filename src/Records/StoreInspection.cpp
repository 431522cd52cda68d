// SPDX-License-Identifier: Apache-2.0
#include "Records/AnnotatedPicture_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/NewPictures_p.h"
#include "Records/StoreInspection_p.h"

#include <QBuffer>

namespace Records {

using FiberInspection::Inspection;

namespace {
/// A record from elsewhere may ask for any number.
constexpr qint64 maxPixelsAgain = FiberInspection::InspectionOptions::defaultMaxImagePixels;

/// Whether the point is there, or none is meant, and has to be inspected by this standard.
Problem checkPoint(const Database &database, Id point, FiberInspection::Standard::Id standard)
{
    if (point == noId)
        return {};
    const Answer<QVariant> wanted =
        database.value("SELECT job.standard FROM point JOIN job ON job.id = point.job WHERE point.id = ?", {point});
    if (!wanted.ok())
        return wanted.problem;
    if (!wanted.value.isValid())
        return {Fault::NotFound, QStringLiteral("There is no point %1").arg(point)};
    if (wanted.value.toInt() != static_cast<int>(standard))
        return {Fault::Invalid, QStringLiteral("The job of point %1 is by another standard").arg(point)};
    return {};
}

/// Whether a picture can be inspected so.
bool isUsable(const Origin &origin)
{
    constexpr float leastScale = 0.01F;
    constexpr float mostScale = 1000;
    constexpr int mostField = 100000; // micrometres
    const QSize &field = origin.device.fov;
    return origin.scale >= leastScale && origin.scale <= mostScale && !field.isEmpty() && field.width() <= mostField
        && field.height() <= mostField;
}

Origin completed(Origin origin)
{
    if (!origin.made.isValid())
        origin.made = QDateTime::currentDateTimeUtc();
    if (origin.software.isEmpty())
        origin.software = Origin::ownSoftware();
    return origin;
}

/// Empty where there is none, or none that is shown anywhere: it is too large.
QByteArray pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && image.save(&buffer, "PNG") && isAnnotatedPicture(bytes) ? bytes : QByteArray();
}
} // namespace

Answer<Id> storeInspection(
    const OpenStore &store, const Origin &told, const Inspection &inspection, const QByteArray &picture)
{
    if (inspection.hasVerdict() && picture.isEmpty())
        return {noId, {Fault::Invalid, QStringLiteral("A verdict without the picture that it rests on is not kept")}};
    const Origin origin = completed(told);
    const QByteArray annotated = pngOf(inspection.annotatedImage());
    const StoreLock::Turn turn(*store.lock);
    if (!turn.problem().ok())
        return {noId, turn.problem()};
    if (!store.lock->note({PictureStore::hashOf(picture), PictureStore::hashOf(annotated)}))
        return {noId, {Fault::DiskFull, QStringLiteral("There is no room to note what is stored")}};
    NewPictures pictures(store.pictures);
    const Answer<QByteArray> source = pictures.put(picture);
    const Answer<QByteArray> painted = source.ok() ? pictures.put(annotated) : Answer<QByteArray>();
    for (const Problem &problem : {source.problem, painted.problem}) {
        if (!problem.ok())
            return {noId, problem};
    }

    Transaction transaction(*store.database);
    if (!transaction.problem().ok())
        return {noId, transaction.problem()};
    const Problem misplaced = checkPoint(*store.database, origin.point, inspection.standardId());
    if (!misplaced.ok())
        return {noId, misplaced};
    const Answer<Id> id = InspectionRows::add(*store.database, origin, inspection, {source.value, painted.value});
    if (!id.ok())
        return {noId, id.problem};
    const Problem problem = transaction.commit();
    if (!problem.ok())
        return {noId, problem};
    pictures.keep();
    return id;
}

Answer<StoredInspection> readInspection(const OpenStore &store, Id id)
{
    Answer<StoredInspection> stored = InspectionRows::one(*store.database, id);
    stored.value.isPictureThere = store.pictures.contains(stored.value.picture);
    stored.value.isAnnotatedPictureThere = store.pictures.contains(stored.value.annotatedPicture);
    return stored;
}

Answer<QString> findPicture(const OpenStore &store, const QByteArray &hash)
{
    if (store.pictures.contains(hash))
        return {store.pictures.path(hash), {}};
    return {{}, {Fault::PictureMissing, QStringLiteral("There is no picture %1").arg(QString::fromLatin1(hash))}};
}

Answer<bool> restorePicture(const OpenStore &store, const QByteArray &picture)
{
    const QByteArray hash = PictureStore::hashOf(picture);
    const StoreLock::Turn turn(*store.lock);
    if (!turn.problem().ok())
        return {false, turn.problem()};
    const Answer<bool> isNamed = InspectionRows::isNamed(*store.database, hash);
    if (!isNamed.ok() || !isNamed.value)
        return {false,
            isNamed.ok() ? Problem{Fault::NotFound, QStringLiteral("No inspection has this picture")}
                         : isNamed.problem};
    if (store.pictures.keeps(hash))
        return {false, {}};
    const Problem problem = store.pictures.put(picture).problem;
    return {problem.ok(), problem};
}

Answer<Inspection> inspectPictureOf(const OpenStore &store, Id id)
{
    const Answer<StoredInspection> stored = readInspection(store, id);
    if (!stored.ok())
        return {{}, stored.problem};
    const Answer<QByteArray> bytes = store.pictures.read(stored.value.picture);
    if (!bytes.ok())
        return {{}, bytes.problem};
    const Origin &origin = stored.value.origin;
    if (!isUsable(origin))
        return {{},
            {Fault::Invalid, QStringLiteral("The scale or the field of view of inspection %1 cannot be used").arg(id)}};
    FiberInspection::InspectionOptions options = origin.options();
    options.maxImagePixels = qMin(options.maxImagePixels, maxPixelsAgain);
    const FiberInspection::LoadedImage loaded = FiberInspection::decodeImage(bytes.value, options.maxImagePixels);
    if (loaded.reason == Inspection::Reason::ImageTooLarge && origin.maxImagePixels > maxPixelsAgain)
        return {{}, {Fault::TooLarge, QStringLiteral("The picture is too large: %1").arg(loaded.detail)}};
    if (loaded.image.isNull())
        return {{}, {Fault::Invalid, QStringLiteral("The picture cannot be decoded: %1").arg(loaded.detail)}};
    return {FiberInspection::inspect(loaded.image, stored.value.standard, origin.device, options), {}};
}

} // namespace Records
