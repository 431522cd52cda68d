// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"

#include <QCoreApplication>
#include <QString>

/// What became of a store, in words for people and in their language.
class StoreWords
{
    Q_DECLARE_TR_FUNCTIONS(StoreWords)

public:
    StoreWords() = delete;

    /// Empty when all is well.
    static QString of(const Records::Opening &opening);
    static QString of(const Records::Problem &problem);

    static constexpr int maxShown = 200; ///< characters

    /// A text of a record as it can be shown, in one line: it may have come from another unit.
    static QString shown(const QString &text);
};
