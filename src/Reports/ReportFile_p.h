// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/OutputFile.h"
#include "Records/Answer.h"

#include <QIODevice>

#include <optional>

namespace Reports {

/// A file that is written whole or not at all, as a device. Once a write has failed all others do, and nothing gets the
/// name.
class ReportFile : public QIODevice
{
public:
    explicit ReportFile(const QString &path);
    ~ReportFile() override;

    bool begin(); ///< a device, a folder and a link to nothing are refused
    bool isFailed() const { return !mProblem.ok(); }
    Records::Problem commit();
    Records::Problem problem() const { return mProblem; }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 size) override;

private:
    bool flush();
    bool fail();
    bool refuse(Records::Fault fault, const QString &reason);

    const QString mPath;
    std::optional<OutputFile> mFile;
    QByteArray mPending; ///< many small pieces would be as many calls of the system
    Records::Problem mProblem;
};

} // namespace Reports
