// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/EndfacePainter.h"

#include <QFutureWatcher>
#include <QImage>
#include <QObject>
#include <QString>
#include <QVector>
#include <QVideoFrame>

/// Paints what the camera sees, in the background.
///
/// A picture takes longer to paint than a frame lasts. So a few that differ in their noise are painted after each turn
/// of the knob, and shown in turns from then on.
class FrameMaker : public QObject
{
    Q_OBJECT

public:
    static constexpr int noisePatterns = 8;

    FrameMaker();
    ~FrameMaker() override;

    void show(const QString &face, double focus);

    /// Invalid until the first picture is painted; after a change the pictures from before, until there are new ones.
    QVideoFrame next();

    /// The picture of the frame that next() gave last.
    QImage picture() const { return mPictures.isEmpty() ? QImage() : mPictures[mShown].image; }

    bool isSettled() const { return !mPictures.isEmpty() && mPicturesView == mWanted; }

private:
    struct View
    {
        QString face;
        double focus = 0;
        bool operator==(const View &other) const { return face == other.face && focus == other.focus; }
    };
    struct Picture
    {
        QImage image;
        QVideoFrame frame;
    };
    struct Painting
    {
        View view;
        Picture picture;
    };

    void paintNext();
    void take(const Painting &painting);
    Painting paint(const View &view, int pattern);

    View mWanted;
    View mPicturesView;
    QVector<Picture> mPictures; // of mPicturesView
    int mShown = 0;

    // Of the painting thread, while there is one.
    QString mSurfaceFace;
    EndfaceSurface mSurface;

    QFutureWatcher<Painting> mPainter;
};
