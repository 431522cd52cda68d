// SPDX-License-Identifier: Apache-2.0
#include "Inspector.h"

#include "Helpers/BaseDirHelper.h"
#include "JobStore.h"
#include "StoreWords.h"

#include <QDir>
#include <QPointer>

namespace {
constexpr char picturePattern[] = "port-*.jpg";

/// Of a run that ended in between; nobody waits for them.
void removeFormerPictures()
{
    QDir folder(BaseDirHelper::tmpDir());
    const QStringList names = folder.entryList({QLatin1String(picturePattern)}, QDir::Files);
    for (const QString &name : names)
        folder.remove(name);
}
} // namespace

Inspector::Inspector(JobStore *jobs, KeepingManager *manager, QObject *parent)
    : QObject(parent)
    , mJobs(jobs)
{
    removeFormerPictures();
    mWatch.setSingleShot(true);
    mWatch.setInterval(cameraPatience);
    connect(&mWatch, &QTimer::timeout, this, &Inspector::pictureFailed);
    connect(this, &Inspector::requested, manager, &KeepingManager::requestKeep);
    connect(manager, &KeepingManager::kept, this, &Inspector::answer);
}

QString Inspector::begin(double focusValue)
{
    if (isBusy() || mJobs->selectedPoint() == Records::noId)
        return {};
    mTicket = ++mTickets;
    mRequest = {};
    mRequest.ticket = mTicket;
    mPoint = mJobs->selected();
    mRequest.point = mPoint.id;
    mRequest.job = mJobs->currentIdentity();
    mRequest.pointName = mPoint.name;
    mRequest.side = mPoint.side;
    mRequest.standard = mJobs->standard();
    if (focusValue >= 0)
        mRequest.focusValue = focusValue;
    mRequest.picturePath =
        BaseDirHelper::tmpDir() + QStringLiteral("port-%1.jpg").arg(QUuid::createUuid().toString(QUuid::Id128));
    mAwaitsPicture = true;
    mWatch.start();
    const QString path = mRequest.picturePath;
    Q_EMIT isBusyChanged();
    return path;
}

void Inspector::pictureSaved()
{
    send(true);
}

void Inspector::pictureFailed()
{
    send(false);
}

void Inspector::send(bool hasPicture)
{
    if (!mAwaitsPicture)
        return;
    mAwaitsPicture = false;
    mWatch.stop();
    if (!hasPicture)
        mRequest.picturePath.clear(); // the camera may still write under that name
    Q_EMIT requested(mRequest);
}

void Inspector::answer(const KeptInspection &inspection)
{
    const QPointer<Inspector> self(this);
    if (inspection.ticket == 0 && inspection.id == Records::noId) {
        mJobs->refresh(); // the notice tells it as well
        if (self)
            Q_EMIT quickNotKept(StoreWords::of(inspection.problem));
        return;
    }
    if (inspection.ticket == 0 || inspection.ticket != mTicket)
        return;
    mTicket = 0;
    KeptInspection kept = inspection;
    kept.pointName = mPoint.name;
    kept.side = mPoint.side;
    if (kept.id != Records::noId && !mJobs->canWrite())
        mJobs->reopen(); // what was in its way is gone
    else
        mJobs->refresh();
    if (self) {
        kept.point = mJobs->numberOf(mRequest.job, mPoint.name, mPoint.side);
        Q_EMIT isBusyChanged();
    }
    if (self)
        Q_EMIT finished(kept);
}
