// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <optional>

namespace Link {

/// The lines of a stream that is read a piece at a time, whenever there is something to read.
class LineReader
{
public:
    struct Line
    {
        int number = 0; ///< the first is 1
        QByteArray text; ///< without its end
        bool isTooLong = false; ///< and so the text is not kept
    };

    LineReader(int fileDescriptor, int longest)
        : mFileDescriptor(fileDescriptor)
        , mLongest(longest)
    {
    }

    void read(); ///< one piece; blocks when there is nothing to read

    std::optional<Line> next(); ///< of what has been read; at the end of the stream a line may lack its end

    bool atEnd() const { return mAtEnd; } ///< nothing more can be read; lines may be left
    bool isDone() const { return mAtEnd && mPosition == mBytes.size() && !mIsTooLong; } ///< no line is left either
    int error() const { return mError; } ///< errno of the read that failed, 0 if none did

private:
    std::optional<Line> take(int size, int ending);

    const int mFileDescriptor;
    const int mLongest; ///< bytes
    QByteArray mBytes;
    int mPosition = 0; ///< of the next line
    int mSearched = 0; ///< up to here there is no end of the line
    int mNumber = 1;
    bool mIsTooLong = false;
    bool mAtEnd = false;
    int mError = 0;
};

} // namespace Link
