// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Record.h"

#include <QStringList>
#include <QVariant>

namespace Records {

/// The rows that a filter lets through, as the end of a statement.
struct Choice
{
    QString source; ///< from where the ids come
    QString id; ///< the column that tells the order
    QStringList conditions;
    QVariantList values;

    explicit Choice(const Filter &filter);

    void add(const char *condition, const QVariant &value);
    QString text() const; ///< of that end
};

} // namespace Records
