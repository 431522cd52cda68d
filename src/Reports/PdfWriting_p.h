// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/JobPdf.h"

#include <new>

class QIODevice;

namespace Reports {

/// Name and version of who writes.
QString softwareOf(const ReportOptions &options);

/// Writes the document to a device that is open. What the device refuses is its owner's to find out.
/// @param json the record that is attached
/// @param hasFailed asked at each page: there is no use in going on
Records::Problem writePdf(const JobReport &report, const ReportOptions &options, const QByteArray &json,
    QIODevice *device, const std::function<bool()> &hasFailed, QVector<Records::PictureFault> *lost);

/// Why no document can be written of it.
Records::Problem whyNotGathered(const JobReport &report);

/// A report that has no reader has no pictures.
Records::Answer<QByteArray> pictureOf(const JobReport &report, const QByteArray &hash);

/// Memory that runs out is a problem like others: exceptions do not leave the library.
/// @param work gives a Written
template <typename Work>
Written guarded(Work work)
{
    try {
        return work();
    } catch (const std::bad_alloc &) {
        return {{Records::Fault::OutOfMemory, QStringLiteral("Out of memory; nothing was written")}, {}};
    }
}

/// All that is lost: what the report knows, and what was found out since.
QVector<Records::PictureFault> joined(
    const QVector<Records::PictureFault> &known, const QVector<Records::PictureFault> &found);

} // namespace Reports
