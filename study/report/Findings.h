// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"
#include "study/report/Table.h"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Study {

/// What the study has to tell: tables, plots, and single figures for the running text, each under its name.
class Findings
{
public:
    void addTable(const QString &name, const Table &table) { mTables.insert(name, table.toMarkdown()); }
    void addValue(const QString &name, const QString &value) { mValues.insert(name, value); }
    void addPlot(const QString &name, const QByteArray &svg) { mPlots.insert(name, svg); }

    const QMap<QString, QString> &tables() const { return mTables; }
    const QMap<QString, QString> &values() const { return mValues; }
    const QMap<QString, QByteArray> &plots() const { return mPlots; }

    QString toMarkdown() const; ///< tables and values one after the other, in the form that a document has them

private:
    QMap<QString, QString> mTables;
    QMap<QString, QString> mValues;
    QMap<QString, QByteArray> mPlots;
};

} // namespace Study
