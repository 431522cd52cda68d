// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/ExportedRecords.h"
#include "VantorBaseReports_export.h"

#include <QByteArray>

namespace Reports {

constexpr int jsonVersion = 2; ///< of what docs/records.schema.json describes

// The pieces of one document, in their order; an object a line. Texts are what was stored, character by character.

/// Begins the document; its inspections and its end follow.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// ExportedJob job;
/// job.job = store.job(1).value;
/// job.points = store.points(1).value;
/// ExportedInspection inspection;
/// inspection.record = store.inspection(1).value;
/// inspection.job = job.job;
/// QByteArray document = jsonBegin({job}, QStringLiteral("Example 1.0"));
/// document += jsonInspection(inspection, true) + jsonEnd({});
/// @endcode
///
/// @param software name and version of the program that writes
VANTORBASEREPORTS_EXPORT QByteArray jsonBegin(const QVector<ExportedJob> &jobs, const QString &software);

VANTORBASEREPORTS_EXPORT QByteArray jsonInspection(const ExportedInspection &inspection, bool isFirst);

/// @param unreadable inspections that are left out since their records are damaged
VANTORBASEREPORTS_EXPORT QByteArray jsonEnd(const QVector<Records::Id> &unreadable);

} // namespace Reports
