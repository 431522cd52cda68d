// SPDX-License-Identifier: Apache-2.0
#include "records/InspectionText.h"

#include "common/ExitCode.h"
#include "common/Micrometres.h"
#include "common/Program.h"
#include "records/StoreAccess.h"
#include "records/Table.h"
#include "records/Words.h"

#include <algorithm>
#include <unistd.h>

namespace RecordsTool {

using namespace FiberInspection;
using namespace Records;
using Align = Table::Align;
using Look = Table::Look;

namespace {
constexpr int labelWidth = 11; // columns
constexpr int mostDefectsShown = 40;
const QString indent = QStringLiteral("  ");

QString line(const char *label, const QString &value)
{
    return value.isEmpty() ? QString()
                           : indent + QString::fromLatin1(label).leftJustified(labelWidth)
            + Tools::Terminal::printable(value) + QLatin1Char('\n');
}

QString joined(const QStringList &parts)
{
    QStringList present = parts;
    present.removeAll(QString());
    return present.join(QStringLiteral(", "));
}

QString verdictText(const StoredInspection &stored, Doubt doubt, const Tools::TextStyle &style)
{
    if (doubt != Doubt::None)
        return style.bad(QStringLiteral("DOUBTFUL: ")) + verdictText(stored, Doubt::None, Tools::TextStyle(false));
    switch (stored.verdict) {
    case Verdict::Passed:
        return style.good(QStringLiteral("PASSED"));
    case Verdict::Failed:
        return style.bad(QStringLiteral("FAILED"));
    case Verdict::None:
        break;
    }
    return style.bad(QStringLiteral("NO VERDICT"));
}

QString madeText(const StoredInspection &stored)
{
    return QStringLiteral("%1 (%2)").arg(Words::localTime(stored.made), stored.made.toUTC().toString(Qt::ISODate));
}

QString jobText(const Job &job)
{
    return QStringLiteral("%1: %2").arg(job.id).arg(joined({job.name, job.customer, job.site, job.operatorName}));
}

/// @param points of the job
QString pointText(const StoredInspection &stored, const QVector<Point> &points)
{
    const auto point = std::find_if(
        points.cbegin(), points.cend(), [&stored](const Point &candidate) { return candidate.id == stored.point; });
    const bool isKnown = point != points.cend() && point->fibre != FibreKind::Unknown;
    return joined({stored.pointName, QStringLiteral("side ") + Words::of(stored.side),
        isKnown ? QStringLiteral("fibre ") + Words::of(point->fibre) : QString()});
}

QString decisionText(const StoredInspection &stored)
{
    const QString decision = stored.decision == Decision::Undecided ? QString() : Words::of(stored.decision);
    return joined({decision, stored.note.simplified()});
}

QString scopeText(const StoredInspection &stored)
{
    const Origin &origin = stored.origin;
    const QString scale = stored.micronsPerPixel > 0
        ? QStringLiteral("%1 \u00B5m per pixel").arg(double(stored.micronsPerPixel))
        : QString();
    const QString field =
        QStringLiteral("%1 x %2 \u00B5m").arg(origin.device.fov.width()).arg(origin.device.fov.height());
    const QString focus = origin.focusValue ? QStringLiteral("focus value %1").arg(*origin.focusValue) : QString();
    return joined({origin.device.name, field, scale, focus});
}

QString softwareText(const Origin &origin)
{
    return joined({origin.software, origin.seed ? QStringLiteral("seed %1").arg(*origin.seed) : QString()});
}

QString pictureText(const QString &store, const QByteArray &hash, bool isThere)
{
    if (hash.isEmpty())
        return {};
    const QString path = picturePath(store, hash);
    return isThere ? path : path + QStringLiteral(" (missing)");
}

QString zonesText(const StoredInspection &stored, const Tools::TextStyle &style)
{
    Table table({{QStringLiteral("Zone")}, {QStringLiteral("From \u00B5m"), Align::Right},
        {QStringLiteral("To \u00B5m"), Align::Right}, {QStringLiteral("Violations"), Align::Right}});
    for (const StoredZone &zone : stored.zones) {
        table.add({{Words::of(zone.zone)}, {QString::number(zone.innerDiameter)}, {QString::number(zone.outerDiameter)},
            {QString::number(zone.violations), zone.violations > 0 ? Look::Bad : Look::Plain}});
    }
    return table.isEmpty() ? QString() : QLatin1Char('\n') + table.text(style, indent);
}

QString rulesText(const StoredInspection &stored, const Tools::TextStyle &style)
{
    Table table({{QStringLiteral("Zone")}, {QStringLiteral("Kind")}, {QStringLiteral("Criterion")},
        {QStringLiteral("Allowed"), Align::Right}, {QStringLiteral("Found"), Align::Right},
        {QStringLiteral("Verdict")}});
    for (const StoredZone &zone : stored.zones) {
        for (const StoredRule &applied : zone.rules) {
            const Rule &rule = applied.rule;
            const bool isUnlimited = rule.maxAllowedAmount == Rule::unlimited;
            table.add({{Words::of(zone.zone)}, {Words::of(rule.defectType)}, {rule.toString()},
                {isUnlimited ? QStringLiteral("\u221E") : QString::number(rule.maxAllowedAmount)},
                {QString::number(applied.found)},
                applied.violated ? Table::Cell{QStringLiteral("fail"), Look::Bad}
                                 : Table::Cell{QStringLiteral("pass"), Look::Good}});
        }
    }
    return table.isEmpty() ? QString() : QLatin1Char('\n') + table.text(style, indent);
}

/// Those that fail come first, and of these the largest.
QVector<GradedDefect> sortedDefects(const StoredInspection &stored)
{
    QVector<GradedDefect> defects;
    for (const StoredDefect &defect : stored.defects)
        defects.append(defect.graded);
    std::stable_sort(defects.begin(), defects.end(), [](const GradedDefect &a, const GradedDefect &b) {
        return a.causesFailure != b.causesFailure ? a.causesFailure : a.sizeMicrons > b.sizeMicrons;
    });
    return defects;
}

QString defectsText(const StoredInspection &stored, const Tools::TextStyle &style)
{
    Table table({{QStringLiteral("Zone")}, {QStringLiteral("Kind")}, {QStringLiteral("Size \u00B5m"), Align::Right},
        {QStringLiteral("x \u00B5m"), Align::Right}, {QStringLiteral("y \u00B5m"), Align::Right},
        {QStringLiteral("Fails")}});
    const QVector<GradedDefect> defects = sortedDefects(stored);
    const QVector<GradedDefect> shown = defects.mid(0, mostDefectsShown);
    for (const GradedDefect &defect : shown) {
        table.add({{Words::of(defect.zone)}, {Words::of(defect.kind)}, {Tools::micrometres(defect.sizeMicrons)},
            {Tools::position(defect.centerMicrons.x())}, {Tools::position(defect.centerMicrons.y())},
            {defect.causesFailure ? QStringLiteral("yes") : QString(), Look::Bad}});
    }
    if (table.isEmpty())
        return {};
    const QString rest = defects.size() > mostDefectsShown
        ? indent + QStringLiteral("and %1 more\n").arg(defects.size() - mostDefectsShown)
        : QString();
    return QLatin1Char('\n') + table.text(style, indent) + rest + indent
        + style.dim(QStringLiteral("x and y from the centre of the fibre, x right, y down")) + QLatin1Char('\n');
}

QString headText(
    const StoredInspection &stored, Doubt doubt, const QString &job, const QString &point, const QString &store)
{
    return line("Made", madeText(stored)) + line("Job", job) + line("Point", point)
        + line("Standard", Words::nameOf(stored.standard)) + line("Reason", Words::reasonOf(stored))
        + line("Doubt", Words::of(doubt)) + line("Decision", decisionText(stored)) + line("Scope", scopeText(stored))
        + line("Software", softwareText(stored.origin))
        + line("Picture", pictureText(store, stored.picture, stored.isPictureThere))
        + line("Annotated", pictureText(store, stored.annotatedPicture, stored.isAnnotatedPictureThere))
        + line("Identity", stored.identity.toString(QUuid::WithoutBraces));
}
} // namespace

int showInspection(const Options &options, const RecordStore &store)
{
    const Answer<StoredInspection> answer = store.inspection(options.inspection);
    if (!answer.ok())
        return tell(answer.problem);
    const StoredInspection &stored = answer.value;
    QString job;
    QString point;
    if (stored.job != noId) {
        const Answer<Job> found = store.job(stored.job);
        if (!found.ok())
            return tell(found.problem);
        job = jobText(found.value);
        point = pointText(stored, store.points(stored.job).value);
    }
    const Answer<Doubt> doubt = store.doubt(stored.id);
    if (!doubt.ok())
        return tell(doubt.problem);
    const Tools::TextStyle style(Tools::Terminal::hasColors(STDOUT_FILENO));
    // Without a verdict nothing was counted, and no rule was passed.
    const QString tables = stored.verdict == Verdict::None
        ? QString()
        : zonesText(stored, style) + rulesText(stored, style) + defectsText(stored, style);
    const QString text = style.bold(QStringLiteral("Inspection %1").arg(stored.id)) + QStringLiteral("  ")
        + verdictText(stored, doubt.value, style) + QLatin1Char('\n')
        + headText(stored, doubt.value, job, point, options.store) + tables;
    const int printed = Tools::print(text.toUtf8());
    return printed == Tools::Done && doubt.value != Doubt::None ? Tools::NotAnswered : printed;
}

} // namespace RecordsTool
