// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "Records/Record.h"
#include "VantorBaseReports_export.h"

namespace Reports {

/// A job with its points, in their order.
/// @see jsonBegin
struct ExportedJob
{
    Records::Job job;
    QVector<Records::Point> points;
};

/// An inspection with its job and point, as far as it has them.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// ExportedInspection inspection;
/// inspection.record = store.inspection(1).value;
/// inspection.job = store.job(inspection.record.job).value;
/// if (!inspection.doubts().isEmpty())
///     qInfo() << inspection.doubts();
/// @endcode
struct ExportedInspection
{
    Records::StoredInspection record;
    Records::Job job;
    Records::Point point;

    // What reading the pictures came to.
    Records::Fault pictureFault = Records::Fault::None; ///< of the one that was inspected
    Records::Fault annotatedFault = Records::Fault::None;

    /// Why the verdict is not to be relied on, in one line; empty when it is: by the record, the standard of its job,
    /// and the picture that was inspected.
    VANTORBASEREPORTS_EXPORT QString doubts() const;
};

} // namespace Reports
