// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/simulatedscope_export.h"

#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVideoFrame>

#include <memory>
#include <utility>

class FrameMaker;

/// A fibre scope made of software: what a hand would do to a real one, and what its camera sees.
///
/// The plug-in offers it to Qt Multimedia as a camera. One object per process, in the user interface's thread.
class SIMULATEDSCOPE_EXPORT SimulatedScope : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double focus READ focus WRITE setFocus NOTIFY focusChanged)
    Q_PROPERTY(QString face READ face WRITE setFace NOTIFY faceChanged)
    Q_PROPERTY(QStringList faces READ faces CONSTANT)
    Q_PROPERTY(bool isPlugged READ isPlugged WRITE setPlugged NOTIFY isPluggedChanged)

public:
    enum class Still {
        Exposed, ///< after the time that this takes
        Held, ///< when the stills are released
        SavedAtOnce,
        Refused, ///< without a number
    };

    static constexpr int framesPerSecond = 25;
    static constexpr QSize frameSize{800, 600}; ///< pixels

    /// Made by the first call.
    static SimulatedScope *instance();
    ~SimulatedScope() override;

    /// The display name of the camera.
    static QString displayName();

    /// Position of the knob, -1 to 1; the picture is sharp at 0.
    double focus() const { return mFocus; }
    void setFocus(double focus);

    /// The end face in the adapter, one of faces(); another name is not taken.
    QString face() const { return mFace; }
    void setFace(const QString &face);
    static QStringList faces();

    /// The name of the face without a fibre.
    static QString emptyAdapter();

    bool isPlugged() const { return mIsPlugged; }
    void setPlugged(bool isPlugged);

    /// What the camera sees next, NV12; invalid until the first picture is ready.
    QVideoFrame nextFrame();

    /// The picture of the last frame; null until the first one is ready.
    QImage picture() const;

    /// Whether nextFrame() shows the present face and focus: a turn of the knob takes a moment to arrive.
    Q_INVOKABLE bool isSettled() const;

    /// The next still that is captured waits for releaseStills(); later ones overtake it.
    Q_INVOKABLE void holdNextStill() { mNextStill = Still::Held; }
    Q_INVOKABLE void releaseStills() { Q_EMIT stillsReleased(); }

    /// The next still is saved before its capture returns, as some cameras do it.
    Q_INVOKABLE void saveNextStillAtOnce() { mNextStill = Still::SavedAtOnce; }

    /// The next still is not taken, as by a camera that is busy with another one.
    Q_INVOKABLE void refuseNextStill() { mNextStill = Still::Refused; }

    /// The numbers of stills begin again, as those of another media service do.
    Q_INVOKABLE void beginNumbersAgain() { Q_EMIT numbersBeginAgain(); }

    /// How the still comes that is captured now; those after it are exposed again.
    Still takeNextStill() { return std::exchange(mNextStill, Still::Exposed); }

Q_SIGNALS:
    void stillsReleased();
    void numbersBeginAgain();
    void focusChanged(double focus);
    void faceChanged(QString face); // by value: a receiver may change the face again
    void isPluggedChanged(bool isPlugged);

private:
    SimulatedScope();

    double mFocus = 0.7; // a scope is never in focus when it is taken up
    QString mFace;
    bool mIsPlugged = true;
    Still mNextStill = Still::Exposed;
    std::unique_ptr<FrameMaker> mFrames;
};
