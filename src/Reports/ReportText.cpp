// SPDX-License-Identifier: Apache-2.0
#include "AccuracyFigures.h"
#include "Internal/ShownText.h"
#include "Reports/ReportText_p.h"

#include <algorithm>
#include <cstring>

namespace Reports {

using namespace FiberInspection;
using namespace Records;
using Reason = Inspection::Reason;

namespace {
constexpr char context[] = "Report";

constexpr const char *zoneNames[] = {
    QT_TRANSLATE_NOOP("Report", "Core"),
    QT_TRANSLATE_NOOP("Report", "Cladding"),
    QT_TRANSLATE_NOOP("Report", "Adhesive"),
    QT_TRANSLATE_NOOP("Report", "Contact"),
};

struct ReasonText
{
    Reason reason;
    const char *text;
};
constexpr ReasonText reasons[] = {
    {Reason::FileMissing, QT_TRANSLATE_NOOP("Report", "There was no picture.")},
    {Reason::NotAFile, QT_TRANSLATE_NOOP("Report", "What was given was no file.")},
    {Reason::FileUnreadable, QT_TRANSLATE_NOOP("Report", "The picture could not be read.")},
    {Reason::FileEmpty, QT_TRANSLATE_NOOP("Report", "The picture was an empty file.")},
    {Reason::UnknownFormat, QT_TRANSLATE_NOOP("Report", "The picture was of an unknown format.")},
    {Reason::ImageDamaged, QT_TRANSLATE_NOOP("Report", "The picture was damaged.")},
    {Reason::ImageTooLarge, QT_TRANSLATE_NOOP("Report", "The picture was too large.")},
    {Reason::NoImage, QT_TRANSLATE_NOOP("Report", "There was no picture.")},
    {Reason::NotConvertible, QT_TRANSLATE_NOOP("Report", "The picture could not be converted.")},
    {Reason::UnusableScale, QT_TRANSLATE_NOOP("Report", "The scale could not be used.")},
    {Reason::NoFibre, QT_TRANSLATE_NOOP("Report", "No fibre was found in the picture.")},
    {Reason::SeveralFibres, QT_TRANSLATE_NOOP("Report", "More than one fibre was found in the picture.")},
    {Reason::FibreAtBorder, QT_TRANSLATE_NOOP("Report", "The fibre was too close to the border of the picture.")},
    {Reason::AnalysisBroken, QT_TRANSLATE_NOOP("Report", "The analysis was broken off.")},
};
} // namespace

ReportText::ReportText(Language language)
    : mIsGerman(language == Language::German)
    , mLocale(
          mIsGerman ? QLocale(QLocale::German, QLocale::Germany) : QLocale(QLocale::English, QLocale::UnitedKingdom))
{
    if (mIsGerman && !mTranslator.load(QStringLiteral(":/VantorReports/report_de.qm")))
        qWarning("The German texts are not in the library");
}

QString ReportText::operator()(const char *text, const QStringList &arguments) const
{
    const QString translated = mIsGerman ? mTranslator.translate(context, text) : QString();
    QString words = translated.isEmpty() ? QString::fromUtf8(text) : translated;
    for (const QString &argument : arguments)
        words = words.arg(argument);
    return words;
}

QString ReportText::number(double value, int decimals) const
{
    return mLocale.toString(value, 'f', decimals);
}

QString ReportText::micrometres(double value) const
{
    return number(value) + QStringLiteral("\u00A0\u00B5m");
}

QString ReportText::percent(double share) const
{
    return number(100 * share) + QStringLiteral("\u00A0%");
}

QString ReportText::time(const QDateTime &time) const
{
    return time.isValid() ? time.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm")) + QStringLiteral("\u00A0UTC")
                          : QStringLiteral("\u2013");
}

QString ReportText::figure(const char *name) const
{
    const auto *const found = std::find_if(std::begin(accuracyFigures), std::end(accuracyFigures),
        [name](const AccuracyFigure &figure) { return std::strcmp(figure.name, name) == 0; });
    QString value = found == std::end(accuracyFigures) ? QStringLiteral("?") : QString::fromUtf8(found->value);
    if (mIsGerman)
        value.replace(QLatin1Char('.'), QLatin1Char(',')).replace(QLatin1String(" of "), QLatin1String(" von "));
    return value;
}

QString ReportText::nameOf(Zone::Id zone) const
{
    const bool isKnown = zone >= Zone::Core && zone <= Zone::Contact;
    return (*this)(isKnown ? zoneNames[zone] : QT_TRANSLATE_NOOP("Report", "Unknown"));
}

QString ReportText::nameOf(Standard::Id standard) const
{
    if (standard == Standard::Manual)
        return (*this)(QT_TRANSLATE_NOOP("Report", "Manual"));
    const QString name = Standard::name(standard);
    return name.isEmpty() ? (*this)(QT_TRANSLATE_NOOP("Report", "Unknown")) : name;
}

QString ReportText::nameOf(FibreKind fibre) const
{
    switch (fibre) {
    case FibreKind::SingleMode:
        return QStringLiteral("SM");
    case FibreKind::SingleModeAngled:
        return QStringLiteral("SM APC");
    case FibreKind::MultiMode:
        return QStringLiteral("MM");
    case FibreKind::Unknown:
        break;
    }
    return QStringLiteral("\u2013");
}

QString ReportText::kindsOf(Defect::Type type) const
{
    return type == Defect::Type::Scratch ? (*this)(QT_TRANSLATE_NOOP("Report", "Scratches"))
                                         : (*this)(QT_TRANSLATE_NOOP("Report", "Defects"));
}

QString ReportText::criterionOf(const Rule &rule) const
{
    const bool hasNoBound = (rule.ruleOperator == Rule::GreaterThan && rule.minSize < 0)
        || (rule.ruleOperator == Rule::GreaterThanOrEqual && rule.minSize <= 0);
    if (hasNoBound)
        return (*this)(QT_TRANSLATE_NOOP("Report", "any"));
    const QString least = count(rule.minSize) + QStringLiteral("\u00A0\u00B5m");
    const QString most = count(rule.maxSize) + QStringLiteral("\u00A0\u00B5m");
    switch (rule.ruleOperator) {
    case Rule::SmallerThan:
        return QStringLiteral("<\u00A0") + most;
    case Rule::SmallerThanOrEqual:
        return QStringLiteral("\u2264\u00A0") + most;
    case Rule::GreaterThan:
        return QStringLiteral(">\u00A0") + least;
    case Rule::GreaterThanOrEqual:
        return QStringLiteral("\u2265\u00A0") + least;
    case Rule::ClosedRange:
        return count(rule.minSize) + QStringLiteral("\u2013") + most;
    }
    return (*this)(QT_TRANSLATE_NOOP("Report", "Unknown"));
}

QString ReportText::reasonOf(const StoredInspection &inspection) const
{
    const auto *const found = std::find_if(std::begin(reasons), std::end(reasons),
        [&inspection](const ReasonText &entry) { return entry.reason == inspection.reason; });
    return (*this)(found == std::end(reasons)
            ? QT_TRANSLATE_NOOP("Report", "The reason is one that this program does not know.")
            : found->text);
}

QString ReportText::shown(const QString &text)
{
    return ShownText::of(text);
}

} // namespace Reports
