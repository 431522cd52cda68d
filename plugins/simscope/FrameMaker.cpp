// SPDX-License-Identifier: Apache-2.0
#include "FrameMaker.h"

#include "EndfaceScenes.h"
#include "SimulatedScope.h"

#include <QtConcurrent>

#include <cmath>
#include <cstring>

namespace {
constexpr double sharpestBlur = 0.9; // micrometres
constexpr double greatestBlur = 6.0; // micrometres, at both ends of the knob
constexpr double noise = 0.9; // grey levels

EndfaceScene sceneOf(const QString &face)
{
    EndfaceScene scene = endfacePreset(face);
    if (face == SimulatedScope::emptyAdapter())
        scene.frame = EndfaceScene::Frame::NoFibre;
    scene.size = SimulatedScope::frameSize;
    return scene;
}

double blurAt(double focus)
{
    return std::hypot(sharpestBlur, std::sqrt(greatestBlur * greatestBlur - sharpestBlur * sharpestBlur) * focus);
}

/// NV12: the grey picture, then the colours, which there are none of.
QVideoFrame videoFrame(const QImage &gray)
{
    constexpr int colourless = 0x80;
    const int width = gray.width();
    const int height = gray.height();
    QVideoFrame frame(width * height * 3 / 2, gray.size(), width, QVideoFrame::Format_NV12);
    if (!frame.map(QAbstractVideoBuffer::WriteOnly))
        return {};
    const auto rowBytes = static_cast<std::size_t>(width);
    for (int y = 0; y < height; ++y)
        std::memcpy(frame.bits() + static_cast<std::size_t>(y) * rowBytes, gray.constScanLine(y), rowBytes);
    const std::size_t pixels = rowBytes * static_cast<std::size_t>(height);
    std::memset(frame.bits() + pixels, colourless, pixels / 2);
    frame.unmap();
    return frame;
}
} // namespace

FrameMaker::FrameMaker()
{
    connect(&mPainter, &QFutureWatcherBase::finished, this, [this] { take(mPainter.result()); });
}

FrameMaker::~FrameMaker()
{
    mPainter.waitForFinished();
}

void FrameMaker::show(const QString &face, double focus)
{
    mWanted = {face, focus};
    paintNext();
}

QVideoFrame FrameMaker::next()
{
    if (mPictures.isEmpty())
        return {};
    mShown = (mShown + 1) % mPictures.size();
    return mPictures[mShown].frame;
}

void FrameMaker::paintNext()
{
    if (mPainter.isRunning())
        return;
    const int pattern = isSettled() ? mPictures.size() : 0;
    if (pattern < noisePatterns)
        mPainter.setFuture(QtConcurrent::run([this, view = mWanted, pattern] { return paint(view, pattern); }));
}

void FrameMaker::take(const Painting &painting)
{
    if (!isSettled()) {
        mPictures.clear();
        mShown = 0;
    }
    mPicturesView = painting.view;
    mPictures.append(painting.picture);
    paintNext();
}

FrameMaker::Painting FrameMaker::paint(const View &view, int pattern)
{
    if (view.face != mSurfaceFace) {
        mSurface = paintEndfaceSurface(sceneOf(view.face));
        mSurfaceFace = view.face;
    }
    const QImage image = exposeEndface(mSurface, blurAt(view.focus), noise, static_cast<quint32>(pattern));
    return {view, {image, videoFrame(image)}};
}
