// SPDX-License-Identifier: Apache-2.0
#include "inspect/InspectionMessage.h"

#include <QDataStream>

#include <algorithm>
#include <cstring>

namespace Inspect {

using FiberInspection::Circle;
using FiberInspection::Defect;
using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
constexpr int longestText = 4096; // characters
constexpr int corners = 4; // of the rectangle around a defect
constexpr int whitest = 255; // grey level

// --- Writing

void write(QDataStream &stream, const Circle &circle)
{
    stream << circle.center << circle.radius;
}

void write(QDataStream &stream, const QVector<Defect> &defects, const QVector<int> &pixelCounts)
{
    stream << static_cast<qint32>(defects.size());
    for (int i = 0; i < defects.size(); ++i) {
        const Defect &defect = defects.at(i);
        stream << static_cast<qint32>(defect.type) << static_cast<qint32>(pixelCounts.at(i)) << defect.size;
        write(stream, defect.enclosingCircle);
        for (int corner = 0; corner < corners; ++corner)
            stream << defect.boundingRectPoints.value(corner);
    }
}

void write(QDataStream &stream, const Measurements &measured)
{
    const FiberInspection::GrayLevels &levels = measured.grayLevels;
    const FiberInspection::DefectCounts &counts = measured.counts;
    stream << measured.pixelSize << measured.crop << levels.cladding << levels.aroundCore << levels.aroundCladding
           << counts.contours << counts.raw << counts.merged << measured.elapsedMs;
    write(stream, measured.cladding);
}

// --- Reading

/// What is not a number stands for nothing found, also in honest messages.
bool isLength(double value)
{
    return !(value < 0);
}

bool isGrey(int value)
{
    return value >= 0 && value <= whitest;
}

bool read(QDataStream &stream, Circle *circle)
{
    stream >> circle->center >> circle->radius;
    return stream.status() == QDataStream::Ok && isLength(static_cast<double>(circle->radius));
}

/// A reason that an inspection can have: there is one at least if it came to no verdict, and no detail otherwise.
bool read(QDataStream &stream, NoVerdict *why)
{
    using Reason = NoVerdict::Reason;
    qint32 reason = -1;
    stream >> reason >> why->detail;
    why->reason = static_cast<Reason>(reason);
    const bool isReason =
        why->reason != Reason::NotInspected && !FiberInspection::Inspection::reasonText(why->reason).isEmpty();
    return stream.status() == QDataStream::Ok && why->detail.size() <= longestText
        && (isReason || (!why->isThere() && why->detail.isEmpty()));
}

bool read(QDataStream &stream, Defect *defect, int *pixelCount) // NOLINT(readability-non-const-parameter)
{
    qint32 type = -1;
    stream >> type >> *pixelCount >> defect->size;
    if (!read(stream, &defect->enclosingCircle))
        return false;
    for (int corner = 0; corner < corners; ++corner) {
        QPointF point;
        stream >> point;
        defect->boundingRectPoints.append(point);
    }
    defect->type = type == static_cast<int>(Defect::Type::Scratch) ? Defect::Type::Scratch : Defect::Type::Defect;
    return stream.status() == QDataStream::Ok && type == static_cast<int>(defect->type) && *pixelCount >= 0
        && isLength(static_cast<double>(defect->size));
}

bool read(QDataStream &stream, QVector<Defect> *defects, QVector<int> *pixelCounts)
{
    qint32 count = 0;
    stream >> count;
    if (count > InspectionMessage::mostDefects)
        return false;
    for (int i = 0; i < count; ++i) { // no memory is taken for what has not come
        Defect defect;
        int pixelCount = 0;
        if (!read(stream, &defect, &pixelCount))
            return false;
        defects->append(defect);
        pixelCounts->append(pixelCount);
    }
    return stream.status() == QDataStream::Ok && count >= 0;
}

bool read(QDataStream &stream, Measurements *measured)
{
    FiberInspection::GrayLevels &levels = measured->grayLevels;
    FiberInspection::DefectCounts &counts = measured->counts;
    stream >> measured->pixelSize >> measured->crop >> levels.cladding >> levels.aroundCore >> levels.aroundCladding
        >> counts.contours >> counts.raw >> counts.merged >> measured->elapsedMs;
    const QRect &crop = measured->crop;
    return read(stream, &measured->cladding) && isLength(static_cast<double>(measured->pixelSize))
        && isLength(measured->elapsedMs) && crop.x() >= 0 && crop.y() >= 0 && crop.width() >= 0 && crop.height() >= 0
        && levels.cladding <= whitest && isGrey(levels.aroundCore) && isGrey(levels.aroundCladding)
        && std::min({counts.contours, counts.raw, counts.merged}) >= 0;
}

bool read(QDataStream &stream, Repetition *repetition)
{
    stream >> repetition->runs >> repetition->passed >> repetition->failed >> repetition->errors;
    return std::min({repetition->passed, repetition->failed, repetition->errors}) >= 0
        && qint64(repetition->passed) + repetition->failed + repetition->errors == repetition->runs;
}

std::optional<Inspection> fromBytes(const QByteArray &bytes, const Task &task)
{
    QDataStream stream(bytes);
    Inspection inspection;
    inspection.task = task;
    inspection.result = TestResult(Standard(task.standardId));
    QVector<Defect> core;
    QVector<Defect> cladding;
    bool isGraded = false;
    stream >> isGraded >> inspection.hasKeptResult;
    const bool isSound = read(stream, &inspection.reason) && read(stream, &inspection.measurements)
        && read(stream, &inspection.repetition) && read(stream, &core, &inspection.corePixels)
        && read(stream, &cladding, &inspection.claddingPixels) && stream.atEnd();
    if (!isSound || isGraded == inspection.reason.isThere())
        return std::nullopt;
    if (isGraded) {
        inspection.result.processDefects(core, cladding);
        inspection.result.setError(false);
    }
    return inspection;
}
} // namespace

QByteArray InspectionMessage::toBytes(const Inspection &inspection)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    const TestResult &result = inspection.result;
    const Repetition &repetition = inspection.repetition;
    stream << !result.error() << inspection.hasKeptResult << static_cast<qint32>(inspection.reason.reason)
           << inspection.reason.detail.left(longestText);
    write(stream, inspection.measurements);
    stream << repetition.runs << repetition.passed << repetition.failed << repetition.errors;
    write(stream, result.coreDefects(), inspection.corePixels);
    write(stream, result.claddingDefects(), inspection.claddingPixels);

    const auto size = static_cast<quint32>(bytes.size());
    return QByteArray(reinterpret_cast<const char *>(&size), sizeof size) + bytes;
}

std::optional<Inspection> InspectionMessage::take(QByteArray *bytes, const Task &task, bool *isDamaged)
{
    quint32 size = 0;
    if (bytes->size() < static_cast<int>(sizeof size))
        return std::nullopt;
    std::memcpy(&size, bytes->constData(), sizeof size);
    const qint64 whole = qint64(sizeof size) + size;
    // A worker has one task at a time, so nothing can follow its message.
    *isDamaged = size > static_cast<quint32>(mostBytes) || bytes->size() > whole;
    if (*isDamaged || bytes->size() < whole)
        return std::nullopt;

    std::optional<Inspection> inspection = fromBytes(bytes->mid(sizeof size), task);
    *isDamaged = !inspection;
    bytes->clear();
    return inspection;
}

} // namespace Inspect
