// SPDX-License-Identifier: Apache-2.0
#include "records/Words.h"

#include "inspect/StandardNames.h"

#include <algorithm>
#include <iterator>

namespace RecordsTool::Words {

using namespace FiberInspection;
using namespace Records;

namespace {
/// A later version may have stored more than is known here.
QString unknown()
{
    return QStringLiteral("unknown");
}

QString orUnknown(const QString &word)
{
    return word.isEmpty() ? unknown() : word;
}

template <typename Value>
struct Word
{
    Value value;
    const char *word;
};
constexpr Word<Verdict> verdicts[] = {
    {Verdict::None, "none"},
    {Verdict::Passed, "passed"},
    {Verdict::Failed, "failed"},
};
constexpr Word<Decision> decisions[] = {
    {Decision::Undecided, "undecided"},
    {Decision::Accepted, "accepted"},
    {Decision::ToRepeat, "repeat"},
};
constexpr Word<Side> sides[] = {
    {Side::A, "A"},
    {Side::B, "B"},
};
constexpr Word<FibreKind> fibres[] = {
    {FibreKind::Unknown, "unknown"},
    {FibreKind::SingleMode, "sm"},
    {FibreKind::SingleModeAngled, "apc"},
    {FibreKind::MultiMode, "mm"},
};

template <typename Value, std::size_t count>
QString wordOf(const Word<Value> (&words)[count], Value value)
{
    const auto *const found = std::find_if(
        std::begin(words), std::end(words), [value](const Word<Value> &entry) { return entry.value == value; });
    return found == std::end(words) ? unknown() : QString::fromLatin1(found->word);
}

template <typename Value, std::size_t count>
std::optional<Value> valueOf(const Word<Value> (&words)[count], const QString &word)
{
    const auto *const found = std::find_if(std::begin(words), std::end(words),
        [&word](const Word<Value> &entry) { return word == QLatin1String(entry.word); });
    return found == std::end(words) ? std::nullopt : std::optional<Value>(found->value);
}
} // namespace

QString of(Verdict verdict)
{
    return wordOf(verdicts, verdict);
}

QString of(Decision decision)
{
    return wordOf(decisions, decision);
}

QString of(Side side)
{
    return wordOf(sides, side);
}

QString of(FibreKind fibre)
{
    return wordOf(fibres, fibre);
}

std::optional<Verdict> verdictOf(const QString &word)
{
    return valueOf(verdicts, word);
}

std::optional<Side> sideOf(const QString &word)
{
    return valueOf(sides, word);
}

std::optional<FibreKind> fibreOf(const QString &word)
{
    return valueOf(fibres, word);
}

QString ofStandard(Standard::Id id)
{
    const QString name = Inspect::standardName(id);
    return name.isEmpty() ? nameOf(id) : name;
}

QString nameOf(Standard::Id id)
{
    return orUnknown(Standard::name(id));
}

QString enumeratorOf(Standard::Id id)
{
    return id == Standard::Manual ? QStringLiteral("Manual") : orUnknown(Inspect::standardEnumerator(id));
}

QString of(Zone::Id zone)
{
    return orUnknown(Zone::name(zone));
}

QString of(Defect::Type type)
{
    const bool isKnown = type == Defect::Type::Defect || type == Defect::Type::Scratch;
    return isKnown ? Inspect::defectTypeName(type) : unknown();
}

QString of(Rule::Operator ruleOperator)
{
    return orUnknown(Inspect::ruleOperatorEnumerator(ruleOperator));
}

QString reasonOf(const InspectionSummary &inspection)
{
    if (inspection.verdict != Verdict::None)
        return {};
    const QString reason = Inspection::reasonText(inspection.reason);
    return inspection.detail.isEmpty() ? reason : QStringLiteral("%1: %2").arg(reason, inspection.detail);
}

QString localTime(const QDateTime &utc)
{
    return utc.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString utcTime(const QDateTime &utc)
{
    return utc.isValid() ? utc.toUTC().toString(Qt::ISODateWithMs) : QString();
}

} // namespace RecordsTool::Words
