// SPDX-License-Identifier: Apache-2.0
#include "Reports/JsonExport.h"

#include "Internal/JsonWriter.h"
#include "Reports/RecordWords.h"

namespace Reports {

using namespace FiberInspection;
using namespace Records;

namespace {
QString textOf(const QUuid &identity)
{
    return identity.toString(QUuid::WithoutBraces);
}

void writeStandard(JsonWriter &json, Standard::Id id)
{
    json.member("standard", Words::enumeratorOf(id)).member("standardName", Words::nameOf(id));
}

void writePoint(JsonWriter &json, const Point &point)
{
    json.beginObject()
        .member("name", point.name)
        .member("position", point.position)
        .member("side", Words::of(point.side))
        .member("fibre", Words::of(point.fibre))
        .endObject();
}

void writeJob(JsonWriter &json, const ExportedJob &exported)
{
    const Job &job = exported.job;
    json.beginObject()
        .member("id", job.id)
        .member("identity", textOf(job.identity))
        .member("name", job.name)
        .member("customer", job.customer)
        .member("site", job.site)
        .member("operator", job.operatorName);
    writeStandard(json, job.standard);
    json.member("created", Words::utcTime(job.created)).member("closed", Words::utcTime(job.closed));
    json.key("points").beginArray();
    for (const Point &point : exported.points)
        writePoint(json, point);
    json.endArray().endObject();
}

void writeOrigin(JsonWriter &json, const Origin &origin)
{
    json.beginObject()
        .member("scope", origin.device.name)
        .member("fieldOfViewWidth", origin.device.fov.width())
        .member("fieldOfViewHeight", origin.device.fov.height())
        .member("scale", origin.scale)
        .member("maxImagePixels", origin.maxImagePixels)
        .member("software", origin.software);
    if (origin.seed)
        json.member("seed", QString::number(*origin.seed)); // more digits than many readers keep of a number
    if (origin.focusValue)
        json.member("focusValue", *origin.focusValue);
    json.endObject();
}

void writeMeasurements(JsonWriter &json, const StoredInspection &record)
{
    json.member("micronsPerPixel", record.micronsPerPixel)
        .key("cladding")
        .beginObject()
        .member("x", record.claddingCircle.center.x())
        .member("y", record.claddingCircle.center.y())
        .member("radius", record.claddingCircle.radius)
        .endObject()
        .key("crop")
        .beginArray()
        .value(record.crop.x())
        .value(record.crop.y())
        .value(record.crop.width())
        .value(record.crop.height())
        .endArray()
        .member("claddingColor", record.grayLevels.cladding)
        .member("colorAroundCore", record.grayLevels.aroundCore)
        .member("colorAroundCladding", record.grayLevels.aroundCladding)
        .member("contours", record.counts.contours)
        .member("rawDefects", record.counts.raw)
        .member("mergedDefects", record.counts.merged);
}

void writeRule(JsonWriter &json, const StoredRule &stored)
{
    json.beginObject()
        .member("rule", stored.rule.toString())
        .member("type", Words::of(stored.rule.defectType))
        .member("operator", Words::of(stored.rule.ruleOperator))
        .member("minSize", stored.rule.minSize)
        .member("maxSize", stored.rule.maxSize)
        .member("maxAllowedAmount", stored.rule.maxAllowedAmount)
        .member("defectCount", stored.found)
        .member("violated", stored.violated)
        .endObject();
}

void writeDefect(JsonWriter &json, const GradedDefect &defect)
{
    json.beginObject()
        .member("type", Words::of(defect.kind))
        .member("size", defect.sizeMicrons)
        .member("x", defect.centerMicrons.x())
        .member("y", defect.centerMicrons.y())
        .member("causesFailure", defect.causesFailure)
        .endObject();
}

void writeZone(JsonWriter &json, const StoredZone &zone, const QVector<StoredDefect> &defects)
{
    json.beginObject()
        .member("zone", Words::of(zone.zone))
        .member("innerDiameter", zone.innerDiameter)
        .member("outerDiameter", zone.outerDiameter)
        .member("violations", zone.violations)
        .key("rules")
        .beginArray();
    for (const StoredRule &rule : zone.rules)
        writeRule(json, rule);
    json.endArray().key("defects").beginArray();
    for (const StoredDefect &defect : defects) {
        if (defect.graded.zone == zone.zone)
            writeDefect(json, defect.graded);
    }
    json.endArray().endObject();
}

QString stateOfPicture(bool isThere, Fault fault)
{
    if (!isThere || fault == Fault::PictureMissing)
        return QStringLiteral("missing");
    if (fault == Fault::None)
        return QStringLiteral("whole");
    return fault == Fault::PictureDamaged ? QStringLiteral("damaged") : QStringLiteral("unreadable");
}

void writePicture(JsonWriter &json, const char *name, const QByteArray &hash, const QString &state)
{
    if (!hash.isEmpty())
        json.key(name).beginObject().member("sha256", QString::fromLatin1(hash)).member("state", state).endObject();
}
} // namespace

QByteArray jsonBegin(const QVector<ExportedJob> &jobs, const QString &software)
{
    JsonWriter head;
    head.beginObject()
        .member("format", QStringLiteral("vantor-records"))
        .member("version", jsonVersion)
        .member("software", software)
        .member("exported", Words::utcTime(QDateTime::currentDateTimeUtc()));
    QByteArray text = head.bytes() + ",\"jobs\":[";
    for (int i = 0; i < jobs.size(); ++i) {
        JsonWriter json;
        writeJob(json, jobs[i]);
        text += (i > 0 ? ",\n" : "\n") + json.bytes();
    }
    return text + "],\"inspections\":[";
}

QByteArray jsonInspection(const ExportedInspection &inspection, bool isFirst)
{
    const StoredInspection &record = inspection.record;
    JsonWriter json;
    json.beginObject()
        .member("id", record.id)
        .member("identity", textOf(record.identity))
        .member("made", Words::utcTime(record.made));
    if (record.point != noId) {
        json.member("job", textOf(inspection.job.identity))
            .member("point", record.pointName)
            .member("side", Words::of(record.side));
    }
    writeStandard(json, record.standard);
    json.member("verdict", Words::of(record.verdict))
        .member("reason", Words::reasonOf(record))
        .member("doubt", inspection.doubts())
        .member("decision", Words::of(record.decision))
        .member("note", record.note);
    writeOrigin(json.key("origin"), record.origin);
    writeMeasurements(json, record);
    json.key("zones").beginArray();
    for (const StoredZone &zone : record.zones)
        writeZone(json, zone, record.defects);
    json.endArray();
    writePicture(json, "picture", record.picture, stateOfPicture(record.isPictureThere, inspection.pictureFault));
    writePicture(json, "annotatedPicture", record.annotatedPicture,
        stateOfPicture(record.isAnnotatedPictureThere, inspection.annotatedFault));
    return (isFirst ? "\n" : ",\n") + json.endObject().bytes();
}

QByteArray jsonEnd(const QVector<Id> &unreadable)
{
    JsonWriter json;
    json.beginArray();
    for (const Id id : unreadable)
        json.value(id);
    json.endArray();
    return "],\"unreadable\":" + json.bytes() + "}\n";
}

} // namespace Reports
