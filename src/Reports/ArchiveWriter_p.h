// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

class QIODevice;
struct archive;

namespace Reports {

/// Packs files into a ZIP, and notes their sums.
class ArchiveWriter
{
public:
    enum class Packing : int {
        Deflated,
        Stored, ///< what is packed already
    };

    /// @param device that is open for writing
    /// @param time of all files
    ArchiveWriter(QIODevice *device, const QDateTime &time);
    ~ArchiveWriter();
    ArchiveWriter(const ArchiveWriter &) = delete;
    ArchiveWriter &operator=(const ArchiveWriter &) = delete;

    /// @param name of ASCII, with / between folders
    bool add(const char *name, const QByteArray &bytes, Packing packing);
    bool addSums(); ///< SHA256SUMS of all that was added
    bool finish();
    QString problem() const { return mProblem; }

private:
    bool check(int code);

    archive *mArchive;
    const QDateTime mTime;
    QByteArray mSums;
    QString mProblem;
};

} // namespace Reports
