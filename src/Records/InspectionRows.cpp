// SPDX-License-Identifier: Apache-2.0
#include "Records/Choice_p.h"
#include "Records/DefectShape_p.h"
#include "Records/InspectionColumns_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/RowChecks_p.h"

#include <algorithm>
#include <cmath>

namespace Records::InspectionRows {

using namespace FiberInspection;
using Reason = Inspection::Reason;
using Column = InspectionColumns::Index;

namespace {
constexpr float mostScale = 1e12F; // beyond, no picture can be scaled

constexpr char insertZone[] =
    "INSERT INTO zone (inspection, zone, inner_diameter, outer_diameter, violations) VALUES (?, ?, ?, ?, ?)";
constexpr char insertRule[] =
    "INSERT INTO rule (inspection, zone, position, kind, operator, min_size, max_size, allowed, found, violated) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr char insertDefect[] = "INSERT INTO defect (inspection, position, zone, kind, size, x, y, fails, shape) "
                                "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)";

constexpr char words[] =
    "INSERT OR REPLACE INTO search (rowid, job, customer, site, operator, point, note) "
    "SELECT inspection.id, job.name, job.customer, job.site, job.operator, point.name, inspection.note "
    "FROM inspection LEFT JOIN point ON point.id = inspection.point LEFT JOIN job ON job.id = point.job ";

constexpr char ofPointAndJob[] = "substr(point.name, 1, 4001), point.side, job.id, substr(job.name, 1, 4001)";
static_assert(RecordStore::maxTextLength == 4000, "there is one character too much where a text is too long");
enum ColumnBehind : int { PointName = InspectionColumns::count, PointSide, JobId, JobName };
constexpr char withPointAndJob[] =
    "LEFT JOIN point ON point.id = inspection.point LEFT JOIN job ON job.id = point.job ";

constexpr char zonesOf[] =
    "SELECT zone, inner_diameter, outer_diameter, violations FROM zone WHERE inspection = ? ORDER BY zone LIMIT ?";
constexpr char rulesOf[] = "SELECT zone, kind, operator, min_size, max_size, allowed, found, violated FROM rule "
                           "WHERE inspection = ? ORDER BY zone, position LIMIT ?";
constexpr char defectsOf[] =
    "SELECT zone, kind, size, fails%1 FROM defect WHERE inspection = ? ORDER BY position LIMIT ?";
constexpr char restOfDefect[] = ", x, y, shape";

/// Words, because the numbers of the reasons may change from version to version.
struct ReasonName
{
    Reason reason;
    const char *name;
};
constexpr ReasonName reasonNames[] = {
    {Reason::None, "none"},
    {Reason::FileMissing, "file missing"},
    {Reason::NotAFile, "not a file"},
    {Reason::FileUnreadable, "file unreadable"},
    {Reason::FileEmpty, "file empty"},
    {Reason::UnknownFormat, "unknown format"},
    {Reason::ImageDamaged, "image damaged"},
    {Reason::ImageTooLarge, "image too large"},
    {Reason::NoImage, "no image"},
    {Reason::NotConvertible, "not convertible"},
    {Reason::UnusableScale, "unusable scale"},
    {Reason::NoFibre, "no fibre"},
    {Reason::SeveralFibres, "several fibres"},
    {Reason::FibreAtBorder, "fibre at border"},
    {Reason::AnalysisBroken, "analysis broken"},
};

QString nameOf(Reason reason)
{
    const auto *const found = std::find_if(std::begin(reasonNames), std::end(reasonNames),
        [reason](const ReasonName &entry) { return entry.reason == reason; });
    return found == std::end(reasonNames) ? QString() : QString::fromLatin1(found->name);
}

/// A reason that only a later version knows is as good as none that is known: there is no verdict, and the detail
/// tells.
Reason reasonOf(const QString &name)
{
    const auto *const found = std::find_if(std::begin(reasonNames), std::end(reasonNames),
        [&name](const ReasonName &entry) { return name == QLatin1String(entry.name); });
    return found == std::end(reasonNames) ? Reason::AnalysisBroken : found->reason;
}

// A number that is missing is stored as nothing, not as 0.
QVariant orNothing(bool isThere, qint64 number)
{
    return isThere ? QVariant(number) : QVariant(QVariant::LongLong);
}

QVariant hashValue(const QByteArray &hash)
{
    return hash.isEmpty() ? QVariant(QVariant::ByteArray) : QVariant(QByteArray::fromHex(hash));
}

/// No table takes a scale without end. An inspection that failed by it is stored all the same.
double scaleOf(const Origin &origin, Reason reason)
{
    const bool isKept = reason != Reason::UnusableScale || std::abs(origin.scale) <= mostScale;
    return isKept ? static_cast<double>(origin.scale) : 0;
}

Problem checkSize(const QVector<StoredDefect> &defects)
{
    qint64 points = 0;
    for (const StoredDefect &defect : defects)
        points += defect.boundingRectPoints.size() + defect.pixels.size();
    if (defects.size() <= RecordStore::maxDefects && points <= RecordStore::maxOutlinePoints)
        return {};
    return {Fault::Invalid,
        QStringLiteral("An inspection with %1 defects of %2 points is not kept").arg(defects.size()).arg(points)};
}

Problem damaged(Id inspection, const QString &what)
{
    return {Fault::Damaged, QStringLiteral("Inspection %1: %2").arg(QString::number(inspection), what)};
}

QVariantList valuesOf(const Origin &origin, const Inspection &inspection, const Pictures &pictures)
{
    const Circle &cladding = inspection.claddingCircle();
    const QRect &crop = inspection.crop();
    QVector<QVariant> values(InspectionColumns::count);
    values[Column::Identity] = QUuid::createUuid().toRfc4122();
    values[Column::Point] = orNothing(origin.point != noId, origin.point);
    values[Column::Made] = toValue(origin.made);
    values[Column::Standard] = static_cast<int>(inspection.standardId());
    values[Column::Verdict] = static_cast<int>(verdictOf(inspection));
    values[Column::Reason] = nameOf(inspection.reason());
    values[Column::Detail] = toValue(inspection.detail().left(RecordStore::maxTextLength));
    values[Column::Decision] = static_cast<int>(Decision::Undecided);
    values[Column::Note] = toValue(QString());
    values[Column::Scope] = toValue(origin.device.name);
    values[Column::FovWidth] = origin.device.fov.width();
    values[Column::FovHeight] = origin.device.fov.height();
    values[Column::Scale] = scaleOf(origin, inspection.reason());
    values[Column::MaxPixels] = origin.maxImagePixels;
    values[Column::Seed] = orNothing(origin.seed.has_value(), static_cast<qint64>(origin.seed.value_or(0)));
    values[Column::Focus] = origin.focusValue ? QVariant(*origin.focusValue) : QVariant(QVariant::Double);
    values[Column::Software] = toValue(origin.software);
    values[Column::MicronsPerPixel] = static_cast<double>(inspection.micronsPerPixel());
    values[Column::CladdingX] = cladding.center.x();
    values[Column::CladdingY] = cladding.center.y();
    values[Column::CladdingRadius] = static_cast<double>(cladding.radius);
    values[Column::CropX] = crop.x();
    values[Column::CropY] = crop.y();
    values[Column::CropWidth] = crop.width();
    values[Column::CropHeight] = crop.height();
    values[Column::GrayCladding] = inspection.grayLevels().cladding;
    values[Column::GrayAroundCore] = inspection.grayLevels().aroundCore;
    values[Column::GrayAroundCladding] = inspection.grayLevels().aroundCladding;
    values[Column::Contours] = inspection.counts().contours;
    values[Column::RawDefects] = inspection.counts().raw;
    values[Column::MergedDefects] = inspection.counts().merged;
    values[Column::Picture] = hashValue(pictures.source);
    values[Column::Annotated] = hashValue(pictures.annotated);
    return values.mid(Column::Id + 1).toList();
}

Problem addZone(Database &database, Id id, const StoredZone &zone)
{
    const Problem problem = database.run(
        insertZone, {id, static_cast<int>(zone.zone), zone.innerDiameter, zone.outerDiameter, zone.violations});
    if (!problem.ok())
        return problem;
    Query query(database, insertRule);
    for (int i = 0; i < zone.rules.size(); ++i) {
        const StoredRule &stored = zone.rules[i];
        const Rule &rule = stored.rule;
        if (!query.run({id, static_cast<int>(zone.zone), i, static_cast<int>(rule.defectType),
                static_cast<int>(rule.ruleOperator), rule.minSize, rule.maxSize, rule.maxAllowedAmount, stored.found,
                stored.violated}))
            break;
    }
    return query.problem();
}

Problem addZones(Database &database, Id id, const QVector<StoredZone> &zones)
{
    for (const StoredZone &zone : zones) {
        const Problem problem = addZone(database, id, zone);
        if (!problem.ok())
            return problem;
    }
    return {};
}

Problem addDefects(Database &database, Id id, const QVector<StoredDefect> &defects)
{
    Query query(database, insertDefect);
    for (int i = 0; i < defects.size(); ++i) {
        const GradedDefect &graded = defects[i].graded;
        if (!query.run({id, i, static_cast<int>(graded.zone), static_cast<int>(graded.kind), graded.sizeMicrons,
                graded.centerMicrons.x(), graded.centerMicrons.y(), graded.causesFailure,
                DefectShape::packed(defects[i])}))
            break;
    }
    return query.problem();
}

void readSummary(const Query &row, InspectionSummary *summary)
{
    summary->id = row.longNumber(Column::Id);
    summary->point = row.longNumber(Column::Point);
    summary->pointName = row.text(PointName);
    summary->side = static_cast<Side>(row.number(PointSide));
    summary->job = row.longNumber(JobId);
    summary->jobName = row.text(JobName);
    summary->made = row.time(Column::Made);
    summary->standard = static_cast<Standard::Id>(row.number(Column::Standard));
    summary->verdict = static_cast<Verdict>(row.number(Column::Verdict));
    summary->reason = reasonOf(row.text(Column::Reason));
    summary->detail = row.text(Column::Detail);
    summary->decision = static_cast<Decision>(row.number(Column::Decision));
    summary->note = row.text(Column::Note);
}

void readOrigin(const Query &row, Origin *origin)
{
    origin->point = row.longNumber(Column::Point);
    origin->made = row.time(Column::Made);
    origin->device.name = row.text(Column::Scope);
    origin->device.fov = {row.number(Column::FovWidth), row.number(Column::FovHeight)};
    origin->scale = row.single(Column::Scale);
    origin->maxImagePixels = row.longNumber(Column::MaxPixels);
    if (!row.isNull(Column::Seed))
        origin->seed = static_cast<quint64>(row.longNumber(Column::Seed));
    if (!row.isNull(Column::Focus))
        origin->focusValue = row.real(Column::Focus);
    origin->software = row.text(Column::Software);
}

StoredInspection readInspection(const Query &row)
{
    StoredInspection stored;
    readSummary(row, &stored);
    readOrigin(row, &stored.origin);
    stored.identity = QUuid::fromRfc4122(row.bytes(Column::Identity));
    stored.micronsPerPixel = row.single(Column::MicronsPerPixel);
    stored.claddingCircle.center = {row.real(Column::CladdingX), row.real(Column::CladdingY)};
    stored.claddingCircle.radius = row.single(Column::CladdingRadius);
    stored.crop = {row.number(Column::CropX), row.number(Column::CropY), row.number(Column::CropWidth),
        row.number(Column::CropHeight)};
    stored.grayLevels.cladding = row.number(Column::GrayCladding);
    stored.grayLevels.aroundCore = row.number(Column::GrayAroundCore);
    stored.grayLevels.aroundCladding = row.number(Column::GrayAroundCladding);
    stored.counts.contours = row.number(Column::Contours);
    stored.counts.raw = row.number(Column::RawDefects);
    stored.counts.merged = row.number(Column::MergedDefects);
    stored.picture = row.bytes(Column::Picture).toHex();
    stored.annotatedPicture = row.bytes(Column::Annotated).toHex();
    return stored;
}

/// Characters of SQLite, of which some are two here.
bool isTooLong(const QString &text)
{
    return text.size() > RecordStore::maxTextLength && text.toUcs4().size() > RecordStore::maxTextLength;
}

bool hasTooLongText(const StoredInspection &stored)
{
    const Origin &origin = stored.origin;
    return isTooLong(stored.detail) || isTooLong(stored.note) || isTooLong(origin.device.name)
        || isTooLong(origin.software) || isTooLong(stored.pointName) || isTooLong(stored.jobName);
}

/// A whole index refuses nothing: what it refuses is not the fault of the record.
Problem indexChosen(Database &database, const char *choice, Id id)
{
    Query query(database, QLatin1String(words) + QLatin1String(choice));
    query.run({id});
    if (query.problem().fault != Fault::Invalid)
        return query.problem();
    database.noteDamage();
    return {Fault::Damaged, query.problem().text};
}

} // namespace

Answer<Id> add(Database &database, const Origin &origin, const Inspection &inspection, const Pictures &pictures)
{
    const QVector<StoredDefect> defects = StoredDefect::of(inspection);
    const Problem tooMuch = checkSize(defects);
    if (!tooMuch.ok())
        return {noId, tooMuch};
    Query query(database, InspectionColumns::insertion());
    if (!query.run(valuesOf(origin, inspection, pictures)))
        return {noId, query.problem()};
    const Id id = query.lastId();
    Problem problem = addZones(database, id, StoredZone::of(inspection.result()));
    if (problem.ok())
        problem = addDefects(database, id, defects);
    if (problem.ok())
        problem = RowChecks::inspection(database, id);
    if (problem.ok())
        problem = index(database, id);
    return {id, problem};
}

Problem decide(Database &database, Id id, Decision decision, const QString &note)
{
    Query query(database, "UPDATE inspection SET decision = ?, note = ? WHERE id = ?");
    if (!query.run({static_cast<int>(decision), toValue(note), id}))
        return query.problem();
    if (query.changed() == 0)
        return {Fault::NotFound, QStringLiteral("There is no inspection %1").arg(id)};
    // What contradicts itself may be inspected again, but not be accepted.
    const Problem problem = decision == Decision::Accepted ? RowChecks::inspection(database, id)
                                                           : RowChecks::valuesOfInspection(database, id);
    return problem.ok() ? index(database, id) : problem;
}

Reader::Reader(const Database &database, Parts parts)
    : mParts(parts)
    , mRow(database,
          QStringLiteral("SELECT %1, %2 FROM inspection %3 WHERE inspection.id = ?")
              .arg(InspectionColumns::selection(), QLatin1String(ofPointAndJob), QLatin1String(withPointAndJob)))
    , mZones(database, zonesOf)
    , mRules(database, rulesOf)
    , mDefects(database, QString::fromLatin1(defectsOf).arg(QLatin1String(parts == Parts::All ? restOfDefect : "")))
{
}

Answer<StoredInspection> Reader::read(Id id)
{
    mRow.run({id});
    if (!mRow.next())
        return {{},
            mRow.problem().ok() ? Problem{Fault::NotFound, QStringLiteral("There is no inspection %1").arg(id)}
                                : mRow.problem()};
    StoredInspection stored = readInspection(mRow);
    while (mRow.next()) {} // nothing is left open
    Problem problem = mRow.problem();
    if (problem.ok() && hasTooLongText(stored))
        problem = damaged(id, QStringLiteral("a text is too long"));
    if (problem.ok())
        problem = readZones(&stored);
    if (problem.ok())
        problem = readRules(&stored);
    if (problem.ok())
        problem = readDefects(&stored);
    return {stored, problem};
}

Problem Reader::readZones(StoredInspection *stored)
{
    mZones.run({stored->id, RecordStore::maxZones + 1});
    while (mZones.next())
        stored->zones.append(
            {static_cast<Zone::Id>(mZones.number(0)), mZones.number(1), mZones.number(2), mZones.number(3), {}});
    if (stored->zones.size() > RecordStore::maxZones)
        return damaged(stored->id, QStringLiteral("there are too many zones"));
    return mZones.problem();
}

Problem Reader::readRules(StoredInspection *stored)
{
    mRules.run({stored->id, RecordStore::maxRules + 1});
    int count = 0;
    while (mRules.next()) {
        ++count;
        const auto isOurs = [&](const StoredZone &zone) { return zone.zone == mRules.number(0); };
        const auto zone = std::find_if(stored->zones.begin(), stored->zones.end(), isOurs);
        if (zone == stored->zones.end())
            continue;
        Rule rule;
        rule.defectType = static_cast<Defect::Type>(mRules.number(1));
        rule.ruleOperator = static_cast<Rule::Operator>(mRules.number(2));
        rule.minSize = mRules.number(3);
        rule.maxSize = mRules.number(4);
        rule.maxAllowedAmount = mRules.number(5);
        zone->rules.append({rule, mRules.number(6), mRules.number(7) != 0});
    }
    if (count > RecordStore::maxRules)
        return damaged(stored->id, QStringLiteral("there are too many rules"));
    return mRules.problem();
}

Problem Reader::readDefects(StoredInspection *stored)
{
    mDefects.run({stored->id, RecordStore::maxDefects + 1});
    DefectShape::Budget budget;
    while (mDefects.next()) {
        if (stored->defects.size() >= RecordStore::maxDefects)
            return damaged(stored->id, QStringLiteral("there are too many defects"));
        StoredDefect defect;
        defect.graded.zone = static_cast<Zone::Id>(mDefects.number(0));
        defect.graded.kind = static_cast<Defect::Type>(mDefects.number(1));
        defect.graded.sizeMicrons = mDefects.real(2);
        defect.graded.causesFailure = mDefects.number(3) != 0;
        if (mParts == Parts::All) {
            defect.graded.centerMicrons = {mDefects.real(4), mDefects.real(5)};
            const QByteArray shape = mDefects.bytes(6);
            if (!budget.covers(shape) || !DefectShape::unpack(shape, &defect))
                return damaged(stored->id, QStringLiteral("the shape of a defect is damaged"));
        }
        stored->defects.append(defect);
    }
    return mDefects.problem();
}

Answer<StoredInspection> one(const Database &database, Id id)
{
    return Reader(database).read(id);
}

Answer<QVector<InspectionSummary>> some(const Database &database, const Filter &filter, const Page &page)
{
    const Choice choice(filter);
    // The ids first, from what is narrow; then the rows of these alone.
    const QString statement =
        QStringLiteral("SELECT %1, %2 FROM (SELECT inspection.id AS id %3 ORDER BY %4 DESC LIMIT ? OFFSET ?) AS page "
                       "CROSS JOIN inspection ON inspection.id = page.id %5 ORDER BY page.id DESC")
            .arg(InspectionColumns::selection(), QLatin1String(ofPointAndJob), choice.text(), choice.id,
                QLatin1String(withPointAndJob));
    Query query(database, statement);
    query.run(choice.values + QVariantList{page.rows, page.offset});
    QVector<InspectionSummary> rows;
    while (query.next()) {
        rows.append(InspectionSummary());
        readSummary(query, &rows.last());
    }
    return {rows, query.problem()};
}

Answer<int> count(const Database &database, const Filter &filter)
{
    const Choice choice(filter);
    Query query(database, QStringLiteral("SELECT count(*)") + choice.text());
    query.run(choice.values);
    const int found = query.next() ? query.number(0) : 0;
    return {found, query.problem()};
}

Problem index(Database &database, Id id)
{
    return indexChosen(database, "WHERE inspection.id = ?", id);
}

Problem indexJob(Database &database, Id job)
{
    return indexChosen(database, "WHERE point.job = ?", job);
}

Answer<QVector<Named>> allPictures(const Database &database)
{
    Query query(database, "SELECT id, picture, annotated FROM inspection ORDER BY id");
    query.run({});
    QVector<Named> all;
    while (query.next())
        all.append(Named{query.longNumber(0), {query.bytes(1).toHex(), query.bytes(2).toHex()}});
    return {all, query.problem()};
}

Answer<QSet<QByteArray>> pictureNames(const Database &database)
{
    const Answer<QVector<Named>> all = allPictures(database);
    QSet<QByteArray> names;
    names.reserve(2 * all.value.size());
    for (const Named &named : all.value) {
        for (const QByteArray &hash : {named.pictures.source, named.pictures.annotated}) {
            if (!hash.isEmpty())
                names.insert(hash);
        }
    }
    return {names, all.problem};
}

Answer<bool> isNamed(const Database &database, const QByteArray &hash)
{
    const QVariant value = hashValue(hash);
    const Answer<QVariant> found =
        database.value("SELECT id FROM inspection WHERE picture = ? OR annotated = ? LIMIT 1", {value, value});
    return {found.value.isValid(), found.problem};
}

} // namespace Records::InspectionRows
