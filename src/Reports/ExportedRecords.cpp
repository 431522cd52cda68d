// SPDX-License-Identifier: Apache-2.0
#include "Reports/ExportedRecords.h"

#include "Reports/RecordWords.h"

namespace Reports {

using namespace Records;

QString ExportedInspection::doubts() const
{
    const bool isLost = !record.picture.isEmpty() && !record.isPictureThere;
    const Fault fault = isLost ? Fault::PictureMissing : pictureFault;
    QStringList doubts;
    const Doubt doubt = record.point == noId ? doubtOf(record) : doubtOf(record, job.standard);
    for (const QString &words : {Words::of(doubt), Words::ofPicture(fault)}) {
        if (!words.isEmpty())
            doubts.append(words);
    }
    return doubts.join(QStringLiteral(", "));
}

} // namespace Reports
