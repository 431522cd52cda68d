// SPDX-License-Identifier: Apache-2.0
#include "Records/DefectShape_p.h"

#include <QDataStream>

#include <algorithm>
#include <cmath>
#include <limits>
#include <zlib.h>

namespace Records::DefectShape {

namespace {
constexpr auto streamVersion = QDataStream::Qt_5_15;
constexpr int compression = 1; // outlines are mostly zeroes between small numbers; more takes time and gains little
constexpr int pointSize = 2 * sizeof(double); // bytes
constexpr int shapeHead = 3 * sizeof(double) + 2 * sizeof(quint32); // bytes of the circle and two numbers of points
constexpr qint64 maxShapeSize = shapeHead + qint64(RecordStore::maxOutlinePoints) * pointSize; // bytes, unpacked

constexpr double mostRadius = std::numeric_limits<float>::max(); // pixels

bool isSomewhere(const QPointF &point)
{
    return qIsFinite(point.x()) && qIsFinite(point.y());
}

/// Believes no length that the bytes cannot hold.
bool readPoints(QDataStream &stream, QVector<QPointF> *points)
{
    quint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count > stream.device()->bytesAvailable() / pointSize)
        return false;
    points->resize(static_cast<int>(count));
    for (QPointF &point : *points)
        stream >> point;
    return stream.status() == QDataStream::Ok && std::all_of(points->cbegin(), points->cend(), isSomewhere);
}

/// What qCompress() has packed. qUncompress() would make room for more than the packed bytes say, again and again.
QByteArray unpacked(const QByteArray &packed)
{
    QDataStream head(packed);
    quint32 size = 0;
    head >> size;
    if (head.status() != QDataStream::Ok || size > maxShapeSize)
        return {};
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    uLongf length = size;
    const uLong all = static_cast<uLong>(packed.size()) - sizeof size;
    uLong used = all;
    const int result = uncompress2(reinterpret_cast<Bytef *>(bytes.data()), &length,
        reinterpret_cast<const Bytef *>(packed.constData()) + sizeof size, &used);
    return result == Z_OK && length == size && used == all ? bytes : QByteArray();
}
} // namespace

QByteArray packed(const StoredDefect &defect)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(streamVersion);
    stream << defect.enclosingCircle.center << static_cast<double>(defect.enclosingCircle.radius)
           << defect.boundingRectPoints << defect.pixels;
    return qCompress(bytes, compression);
}

bool unpack(const QByteArray &shape, StoredDefect *defect)
{
    const QByteArray bytes = unpacked(shape);
    QDataStream stream(bytes);
    stream.setVersion(streamVersion);
    double radius = 0;
    stream >> defect->enclosingCircle.center >> radius;
    if (!isSomewhere(defect->enclosingCircle.center) || !(std::abs(radius) <= mostRadius))
        return false;
    defect->enclosingCircle.radius = static_cast<float>(radius);
    return readPoints(stream, &defect->boundingRectPoints) && readPoints(stream, &defect->pixels) && stream.atEnd();
}

bool isShape(const QByteArray &bytes)
{
    StoredDefect defect;
    return unpack(bytes, &defect);
}

bool Budget::covers(const QByteArray &shape)
{
    QDataStream head(shape); // the size of what was packed stands before it
    quint32 size = 0;
    head >> size;
    mLeft -= qMax<qint64>(0, qint64(size) - shapeHead);
    return head.status() == QDataStream::Ok && mLeft >= 0;
}

} // namespace Records::DefectShape
