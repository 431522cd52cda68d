// SPDX-License-Identifier: Apache-2.0
#include "link/LineReader.h"

#include <cerrno>
#include <unistd.h>

namespace Link {

namespace {
constexpr int pieceSize = 64 * 1024; // bytes, as much as a pipe holds
}

void LineReader::read()
{
    mBytes.remove(0, mPosition);
    mSearched -= mPosition;
    mPosition = 0;
    if (mBytes.size() > mLongest) {
        mBytes.clear();
        mSearched = 0;
        mIsTooLong = true;
    }

    char piece[pieceSize];
    const ssize_t size = ::read(mFileDescriptor, piece, sizeof piece);
    if (size > 0) {
        mBytes.append(piece, static_cast<int>(size));
    } else if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
        mError = size == 0 ? 0 : errno;
        mAtEnd = true;
    }
}

std::optional<LineReader::Line> LineReader::next()
{
    const int end = mBytes.indexOf('\n', mSearched);
    if (end >= 0)
        return take(end - mPosition, 1);
    mSearched = mBytes.size();
    if (mAtEnd && (mPosition < mBytes.size() || mIsTooLong))
        return take(mBytes.size() - mPosition, 0);
    return std::nullopt;
}

std::optional<LineReader::Line> LineReader::take(int size, int ending)
{
    Line line;
    line.number = mNumber++;
    line.isTooLong = mIsTooLong || size > mLongest;
    if (!line.isTooLong)
        line.text = mBytes.mid(mPosition, size);
    mPosition += size + ending;
    mSearched = mPosition;
    mIsTooLong = false;
    return line;
}

} // namespace Link
