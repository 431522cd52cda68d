// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "focus/Frame.h"

#include <QSize>
#include <QStringList>
#include <QVector>

namespace Focus {

/// How the bytes of a raw NV12 file lie.
struct RawLayout
{
    QSize size; ///< pixels; empty: unknown
    int stride = 0; ///< bytes from row to row

    qint64 frameBytes() const { return qint64(stride) * size.height() * 3 / 2; }
};

/// Frames in files: one in a picture, any number, one behind the other, in a raw file.
class FileFrames : public FrameSource
{
public:
    /// @param operands files, and folders whose frames are taken in the order of their names: 9 before 10
    FileFrames(const QStringList &operands, const RawLayout &rawLayout);

    bool next(Frame *frame) override;
    int nameWidth() const override;

private:
    struct Entry
    {
        QString path;
        QString problem;
    };

    void listFolder(const QString &path);
    Frame readRaw(const QString &path);

    RawLayout mRawLayout;
    QVector<Entry> mEntries;
    int mNext = 0; ///< entry
    int mNextInFile = 0; ///< frame of a raw file
};

} // namespace Focus
