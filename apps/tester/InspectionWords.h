// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "Records/Record.h"

#include <QCoreApplication>
#include <QLocale>
#include <QString>
#include <QStringList>

/// What an inspection has found, in words for people and in their language.
class InspectionWords
{
    Q_DECLARE_TR_FUNCTIONS(InspectionWords)

public:
    InspectionWords() = delete;

    /// What failed and by how much, a line for each violated rule:
    /// "Core: defect of 5.4 µm, allowed up to 3 µm, none larger".
    static QStringList failures(
        const QVector<Records::StoredZone> &zones, const QVector<FiberInspection::GradedDefect> &defects);

    /// Why there is no verdict. Empty with one.
    static QString cause(FiberInspection::Inspection::Reason reason);

    static QString zone(FiberInspection::Zone::Id zone);
    static QString size(double microns); ///< "5.4 µm"

    /// The sizes that a rule is about; empty for any size. Signs instead of words: they need no translation.
    static QString sizes(const FiberInspection::Rule &rule);

    /// That of the chosen language.
    static QLocale locale();
};
