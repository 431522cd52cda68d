// SPDX-License-Identifier: Apache-2.0
#include "inspect/ReportJson.h"

#include "FiberInspection/EnumeratorNames.h"
#include "Internal/JsonWriter.h"
#include "common/FileNameCodec.h"
#include "common/StandardNames.h"
#include "inspect/Inspection.h"
#include "inspect/Options.h"

namespace Inspect {

using FiberInspection::Defect;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::ZoneResult;

namespace {
/// A path that is no text comes a second time, in a form that leads back to the file.
void writePath(JsonWriter &json, const char *name, const char *nameOfBytes, const QString &path)
{
    json.member(name, path);
    if (!Tools::FileNameCodec::isText(path))
        json.member(nameOfBytes, Tools::FileNameCodec::percentEncoded(path));
}

void writePoint(JsonWriter &json, const QPointF &point)
{
    json.beginObject().member("x", point.x()).member("y", point.y()).endObject();
}

void writeRule(JsonWriter &json, const RuleResult &rule)
{
    json.beginObject()
        .member("rule", rule.standardRule.toString())
        .member("type", FiberInspection::wordOf(rule.standardRule.defectType))
        .member("operator", FiberInspection::enumeratorOf(rule.standardRule.ruleOperator))
        .member("minSize", rule.standardRule.minSize)
        .member("maxSize", rule.standardRule.maxSize)
        .member("maxAllowedAmount", rule.standardRule.maxAllowedAmount)
        .member("defectCount", rule.defectCount)
        .member("violated", rule.violated)
        .endObject();
}

void writeDefect(JsonWriter &json, const Defect &defect, int pixelCount)
{
    json.beginObject().member("type", FiberInspection::wordOf(defect.type)).member("size", defect.size);
    writePoint(json.key("center"), defect.enclosingCircle.center);
    json.member("radius", defect.enclosingCircle.radius).key("boundingRect").beginArray();
    for (const QPointF &corner : defect.boundingRectPoints)
        writePoint(json, corner);
    json.endArray().member("pixelCount", pixelCount).member("causesFailure", defect.causesFailure).endObject();
}

void writeZone(
    JsonWriter &json, const ZoneResult &zone, const QVector<Defect> &defects, const QVector<int> &pixelCounts)
{
    json.beginObject().member("violations", zone.violations).key("rules").beginArray();
    for (const RuleResult &rule : zone.rules)
        writeRule(json, rule);
    json.endArray().key("defects").beginArray();
    for (int i = 0; i < defects.size(); ++i)
        writeDefect(json, defects.at(i), pixelCounts.at(i));
    json.endArray().endObject();
}

void writeMeasurements(JsonWriter &json, const Measurements &measured)
{
    json.member("elapsedMs", measured.elapsedMs)
        .member("pixelSize", measured.pixelSize)
        .key("cladding")
        .beginObject()
        .member("x", measured.cladding.center.x())
        .member("y", measured.cladding.center.y())
        .member("radius", measured.cladding.radius)
        .endObject()
        .key("crop")
        .beginArray()
        .value(measured.crop.x())
        .value(measured.crop.y())
        .value(measured.crop.width())
        .value(measured.crop.height())
        .endArray()
        .member("claddingColor", measured.grayLevels.cladding)
        .member("colorAroundCore", measured.grayLevels.aroundCore)
        .member("colorAroundCladding", measured.grayLevels.aroundCladding)
        .member("contours", measured.counts.contours)
        .member("rawDefects", measured.counts.raw)
        .member("mergedDefects", measured.counts.merged);
}
} // namespace

QByteArray jsonReport(const Inspection &inspection, const Options &options)
{
    const FiberInspection::TestResult &result = inspection.result;
    JsonWriter json;
    json.beginObject();
    writePath(json, "image", "imageBytes", inspection.task.image.path);
    json.member("standard", FiberInspection::enumeratorOf(inspection.task.standardId))
        .member("standardName", Standard::name(inspection.task.standardId))
        .member("error", result.error())
        .member("reason", inspection.reason.text())
        .member("passed", result.passed());
    writePath(json, "resultImage", "resultImageBytes", inspection.resultImage);
    writeMeasurements(json, inspection.measurements);
    json.key("zones").beginObject();
    writeZone(json.key("Core"), result.core(), result.coreDefects(), inspection.corePixels);
    writeZone(json.key("Cladding"), result.cladding(), result.claddingDefects(), inspection.claddingPixels);
    json.endObject();
    if (options.reportsRuns) {
        json.key("repeat")
            .beginObject()
            .member("runs", inspection.repetition.runs)
            .member("passed", inspection.repetition.passed)
            .member("failed", inspection.repetition.failed)
            .member("errors", inspection.repetition.errors)
            .endObject();
    }
    return json.endObject().bytes() + '\n';
}

} // namespace Inspect
