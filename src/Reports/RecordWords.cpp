// SPDX-License-Identifier: Apache-2.0
#include "Reports/RecordWords.h"

#include "FiberInspection/EnumeratorNames.h"

#include <algorithm>
#include <iterator>

namespace Reports::Words {

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
QString entryOf(const Word<Value> (&words)[count], Value value)
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
    return entryOf(verdicts, verdict);
}

QString of(Doubt doubt)
{
    return wordsOf(doubt);
}

QString ofPicture(Fault fault)
{
    switch (fault) {
    case Fault::None:
        return {};
    case Fault::PictureMissing:
        return QStringLiteral("the picture is missing");
    case Fault::PictureDamaged:
        return QStringLiteral("the picture is damaged");
    default:
        return QStringLiteral("the picture cannot be read");
    }
}

QString of(Decision decision)
{
    return entryOf(decisions, decision);
}

QString of(Side side)
{
    return entryOf(sides, side);
}

QString of(FibreKind fibre)
{
    return entryOf(fibres, fibre);
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

QString nameOf(Standard::Id id)
{
    return orUnknown(Standard::name(id));
}

QString enumeratorOf(Standard::Id id)
{
    return orUnknown(FiberInspection::enumeratorOf(id));
}

QString of(Zone::Id zone)
{
    return orUnknown(Zone::name(zone));
}

QString of(Defect::Type type)
{
    const bool isKnown = type == Defect::Type::Defect || type == Defect::Type::Scratch;
    return isKnown ? wordOf(type) : unknown();
}

QString of(Rule::Operator ruleOperator)
{
    return orUnknown(FiberInspection::enumeratorOf(ruleOperator));
}

QString reasonOf(const InspectionSummary &inspection)
{
    if (inspection.verdict != Verdict::None)
        return {};
    return Inspection::problemText(inspection.reason, inspection.detail);
}

QString localTime(const QDateTime &utc)
{
    return utc.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString utcTime(const QDateTime &utc)
{
    return utc.isValid() ? utc.toUTC().toString(Qt::ISODateWithMs) : QString();
}

} // namespace Reports::Words
