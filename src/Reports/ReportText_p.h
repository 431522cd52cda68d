// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/JobPdf.h"

#include <QLocale>
#include <QTranslator>

namespace Reports {

/// The words of a report in its language, and numbers as that language writes them. What the program has installed does
/// not count.
class ReportText
{
public:
    explicit ReportText(Language language);

    /// The text, marked by QT_TRANSLATE_NOOP("Report", ...), with its arguments: numbers and words of ours. Texts of
    /// people do not go in here, they might hold a %1.
    QString operator()(const char *text, const QStringList &arguments = {}) const;

    QString number(double value, int decimals = 1) const;
    QString count(int value) const { return mLocale.toString(value); }
    QString micrometres(double value) const;
    QString percent(double share) const; ///< of 1
    QString time(const QDateTime &time) const; ///< "2026-11-23 11:02 UTC", the same for everybody; a dash for none
    QString figure(const char *name) const; ///< of the accuracy page

    QString nameOf(FiberInspection::Zone::Id zone) const;
    QString nameOf(FiberInspection::Standard::Id standard) const;
    QString nameOf(Records::FibreKind fibre) const;
    QString kindsOf(FiberInspection::Defect::Type type) const; ///< "Defects", "Scratches"
    QString criterionOf(const FiberInspection::Rule &rule) const; ///< "> 3 µm"
    QString reasonOf(const Records::StoredInspection &inspection) const;

    const char *languageCode() const { return mIsGerman ? "de" : "en"; }

    /// A text of people as it can be drawn: line breaks become blanks, other control characters a replacement, and what
    /// would turn the direction of the text around it, or pile up over it, goes.
    static QString shown(const QString &text);

private:
    const bool mIsGerman;
    const QLocale mLocale;
    QTranslator mTranslator;
};

} // namespace Reports
