// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "KeepingManager.h"

#include <QObject>
#include <QTimer>

class JobStore;

/// Drives one inspection of the selected point at a time: camera, analysis, store. It goes on when the page is left or
/// another job opened; what was asked for is stored with its own point. Lives in the user interface's thread.
class Inspector : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY isBusyChanged)

public:
    static constexpr int cameraPatience = 10000; ///< milliseconds until a picture is given up

    /// @param jobs, manager not owned
    Inspector(JobStore *jobs, KeepingManager *manager, QObject *parent = nullptr);

    bool isBusy() const { return mTicket != 0; }

    /// Begins an inspection of the selected point.
    /// @param focusValue of the live picture; negative: not known
    /// @return where the camera has to put its picture; empty when an inspection is under way already, or no point is
    ///     selected
    Q_INVOKABLE QString begin(double focusValue);

    /// The camera's answer to the inspection that is under way.
    Q_INVOKABLE void pictureSaved();
    Q_INVOKABLE void pictureFailed();

    /// Of the picture that is awaited; the tests wait for less.
    void setCameraPatience(int milliseconds) { mWatch.setInterval(milliseconds); }

Q_SIGNALS:
    void isBusyChanged();

    /// The inspection is stored, or the problem tells why not.
    void finished(const KeptInspection &inspection);

    /// A quick inspection, of no point, could not be stored.
    void quickNotKept(const QString &problem);

    /// To the manager.
    void requested(KeepRequest request);

private:
    void send(bool hasPicture);
    void answer(const KeptInspection &inspection);

    JobStore *const mJobs;
    QTimer mWatch;
    quint64 mTickets = 0; ///< given out so far
    quint64 mTicket = 0; ///< of the inspection under way; 0: there is none
    bool mAwaitsPicture = false;
    KeepRequest mRequest;
    Records::Point mPoint; ///< of that request
};
