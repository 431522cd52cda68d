// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"

#include <QCoreApplication>
#include <QUuid>
#include <QVariantMap>

/// What the inspections of a job come to, in words and bars for people and in their language.
class JobFigures
{
    Q_DECLARE_TR_FUNCTIONS(JobFigures)

public:
    JobFigures() = delete;

    /// jobName, points, open, passed, failed, accepted (of the failed ones), withoutVerdict, doubtful, inspections;
    /// rate (text; empty without any), failures and sizes (maps of label and value), median and longest (texts; empty
    /// when they are not known), and error.
    static QVariantMap of(const Records::RecordStore &store, const QUuid &identity);

    /// "67.5 %". All and nothing are only told where it is all and nothing.
    static QString percent(double rate);

    static QString duration(double seconds); ///< "35 s", "2 min 5 s", "1 h 2 min"
};
