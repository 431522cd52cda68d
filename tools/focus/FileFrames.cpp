// SPDX-License-Identifier: Apache-2.0
#include "focus/FileFrames.h"

#include "FiberInspection/Inspection.h"
#include "Internal/FileAccess.h"
#include "common/FolderListing.h"
#include "simulation/VideoFrames.h"

#include <QCollator>
#include <QFile>
#include <QFileInfo>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Focus {

namespace {
QStringList rawSuffixes()
{
    return {QStringLiteral("nv12"), QStringLiteral("raw"), QStringLiteral("yuv")};
}

bool isRaw(const QString &path)
{
    return rawSuffixes().contains(QFileInfo(path).suffix().toLower());
}

/// @return why it is not open; empty when it is
QString openRaw(const QString &path, QFile *file)
{
    if (FileAccess::openRegular(path, file)) { // a pipe would have to be waited for, and a device never ends
        file->setTextModeEnabled(false);
        return {};
    }
    const int error = errno;
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return QStringLiteral("not a file");
    return error == ENOENT ? QStringLiteral("no such file or folder") : QString::fromLocal8Bit(std::strerror(error));
}

Frame readPicture(const QString &path)
{
    Frame frame;
    frame.name = path;
    const FiberInspection::LoadedImage loaded = FiberInspection::loadImage(path);
    if (loaded.image.isNull()) {
        frame.problem = loaded.detail;
        return frame;
    }
    try {
        const cv::Mat picture(loaded.image.height(), loaded.image.width(), CV_8UC3,
            const_cast<uchar *>(loaded.image.constBits()), static_cast<std::size_t>(loaded.image.bytesPerLine()));
        cv::Mat luminance;
        cv::cvtColor(picture, luminance, cv::COLOR_BGR2GRAY);
        const QImage view(luminance.data, luminance.cols, luminance.rows, static_cast<int>(luminance.step),
            QImage::Format_Grayscale8);
        frame.picture = Simulation::videoFrame(view);
    } catch (const std::exception &exception) {
        frame.problem = QString::fromUtf8(exception.what());
    }
    if (frame.problem.isEmpty() && !frame.picture.isValid())
        frame.problem = QStringLiteral("the picture is too small");
    return frame;
}
} // namespace

FileFrames::FileFrames(const QStringList &operands, const RawLayout &rawLayout)
    : mRawLayout(rawLayout)
{
    for (const QString &operand : operands) {
        if (QFileInfo(operand).isDir())
            listFolder(operand);
        else
            mEntries.append({operand, {}});
    }
}

void FileFrames::listFolder(const QString &path)
{
    Tools::FolderListing folder = Tools::FolderListing::of(path, Tools::FolderListing::imageSuffixes() + rawSuffixes());
    QCollator order{QLocale(QLocale::English)};
    order.setNumericMode(true);
    std::stable_sort(folder.files.begin(), folder.files.end(), order);
    for (const QString &file : qAsConst(folder.files))
        mEntries.append({file, {}});
    for (const Tools::FolderListing::LeftOut &entry : qAsConst(folder.leftOut))
        mEntries.append({entry.path, QStringLiteral("left out: ") + entry.reason});
    if (!folder.problem.isEmpty())
        mEntries.append({path, folder.problem});
    else if (folder.files.isEmpty())
        mEntries.append({path, QStringLiteral("there is no frame in the folder")});
}

bool FileFrames::next(Frame *frame)
{
    if (mNext >= mEntries.size())
        return false;
    const Entry &entry = mEntries.at(mNext);
    if (entry.problem.isEmpty() && isRaw(entry.path)) {
        *frame = readRaw(entry.path);
        return true;
    }
    ++mNext;
    if (entry.problem.isEmpty()) {
        *frame = readPicture(entry.path);
    } else {
        *frame = Frame();
        frame->name = entry.path;
        frame->problem = entry.problem;
    }
    return true;
}

Frame FileFrames::readRaw(const QString &path)
{
    const int index = mNextInFile++;
    Frame frame;
    frame.name = path;
    const auto finishFile = [&](const QString &problem) {
        frame.problem = problem;
        ++mNext;
        mNextInFile = 0;
        return frame;
    };
    if (mRawLayout.size.isEmpty())
        return finishFile(QStringLiteral("a raw frame needs --size"));
    QFile file;
    const QString problem = openRaw(path, &file);
    if (!problem.isEmpty())
        return finishFile(problem);

    const qint64 frameBytes = mRawLayout.frameBytes();
    const qint64 start = index * frameBytes;
    if (!file.seek(start))
        return finishFile(file.errorString());
    if (file.size() > frameBytes)
        frame.name += QStringLiteral("#%1").arg(index + 1);
    const QByteArray bytes = file.read(frameBytes);
    if (bytes.size() < frameBytes)
        return finishFile(QStringLiteral("%1 bytes are no frame, that would be %2").arg(bytes.size()).arg(frameBytes));

    frame.picture = Simulation::videoFrame(bytes, mRawLayout.size, mRawLayout.stride);
    return start + frameBytes < file.size() ? frame : finishFile({});
}

int FileFrames::nameWidth() const
{
    int width = 0;
    for (const Entry &entry : mEntries)
        width = std::max(width, entry.path.size() + (isRaw(entry.path) ? 3 : 0));
    return width;
}

} // namespace Focus
