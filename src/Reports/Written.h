// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"

namespace Reports {

/// What has become of a document.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const JobReport report = JobReport::gather(store, 1).value;
/// const Written written = writeJobPdf(report, QStringLiteral("/media/stick/panel.pdf"));
/// if (!written.problem.ok())
///     qWarning() << written.problem.text;
/// else if (!written.isWhole())
///     qWarning() << written.lostPictures.size() << "pictures are not in it";
/// @endcode
struct Written
{
    /// Why there is none, in one line that names the path. What stood there before is as it was.
    Records::Problem problem;

    /// Pictures that could not be shown or taken over: those that were missing when the report was gathered, and those
    /// that have been lost since.
    QVector<Records::PictureFault> lostPictures;

    bool isWhole() const { return problem.ok() && lostPictures.isEmpty(); }
};

} // namespace Reports
