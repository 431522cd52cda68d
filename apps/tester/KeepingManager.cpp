// SPDX-License-Identifier: Apache-2.0
#include "KeepingManager.h"

#include <QFile>
#include <QPointer>
#include <QRandomGenerator>

#include <algorithm>

using FiberInspection::Device;
using FiberInspection::Inspection;
using FiberInspection::InspectionOptions;
using Records::Answer;
using Records::Fault;
using Records::Id;
using Records::Job;
using Records::Origin;
using Records::Point;

KeepingManager::KeepingManager(const QString &storeFolder, QObject *parent)
    : InspectionManager(parent)
    , mFolder(storeFolder)
{
    qRegisterMetaType<KeepRequest>();
    qRegisterMetaType<KeptInspection>();
    qRegisterMetaType<Records::Opening>();
}

KeepingManager::~KeepingManager() = default;

void KeepingManager::handleAsyncStart()
{
    InspectionManager::handleAsyncStart();
    connect(this, &KeepingManager::requestKeep, this, &KeepingManager::keep, Qt::AutoConnection);
    open(); // what is wrong with it is told by each inspection that cannot be stored
}

void KeepingManager::open()
{
    const Records::Opening opening = mStore.open(mFolder);
    mWasOpen = mWasOpen || opening.isOpen();
    Q_EMIT opened(opening);
}

/// There may be room again, the other program be gone, or the folder be back. Returns false while what was open once is
/// away: nothing is begun in its place, which may be a folder that a disk belongs over.
bool KeepingManager::openIfNeeded()
{
    if (mStore.canWrite() && mStore.isInPlace())
        return true;
    if (mWasOpen && !Records::RecordStore::isThere(mFolder))
        return false;
    open();
    return true;
}

/// Its number in the store that is open now.
Answer<Id> KeepingManager::pointOf(const KeepRequest &request) const
{
    const Answer<Job> job = mStore.jobOf(request.job);
    if (!job.ok())
        return {Records::noId, job.problem};
    const Answer<QVector<Point>> points = mStore.points(job.value.id);
    if (!points.ok())
        return {Records::noId, points.problem};
    const auto found = std::find_if(points.value.cbegin(), points.value.cend(),
        [&](const Point &point) { return point.name == request.pointName && point.side == request.side; });
    if (found == points.value.cend())
        return {Records::noId, {Fault::NotFound, QStringLiteral("There is no such point")}};
    return {found->id, {}};
}

void KeepingManager::store(const Origin &origin, const QByteArray &picture, KeptInspection *kept)
{
    const Answer<Id> stored = mStore.addInspection(origin, kept->inspection, picture);
    kept->problem = stored.problem;
    if (!stored.ok())
        return;
    const Answer<Records::StoredInspection> record = mStore.inspection(stored.value);
    kept->id = record.ok() ? stored.value : Records::noId;
    kept->identity = record.value.identity;
    kept->problem = record.problem;
}

void KeepingManager::keep(const KeepRequest &request)
{
    const QPointer<KeepingManager> self(this);
    InspectionOptions options;
    options.seed = QRandomGenerator::global()->generate64(); // the stored picture then gives the same verdict again
    const Device device = Device::ks20();
    QByteArray picture;
    KeptInspection answer;
    answer.ticket = request.ticket;
    answer.point = request.point;
    answer.inspection = FiberInspection::inspectFile(request.picturePath, request.standard, device, options, &picture);
    const bool isThere = openIfNeeded();
    if (!self)
        return;
    const Answer<Id> point = isThere ? pointOf(request) : Answer<Id>{Records::noId, {Fault::Gone, mFolder}};
    answer.problem = point.problem;
    Origin origin = Origin::of(point.value, device, options);
    origin.focusValue = request.focusValue;
    if (point.ok())
        store(origin, picture, &answer);
    if (!request.picturePath.isEmpty())
        QFile::remove(request.picturePath);
    Q_EMIT kept(answer);
}

void KeepingManager::handleVerdict(
    const Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath)
{
    const QByteArray picture = inspectedPhotograph();
    const QPointer<KeepingManager> self(this);
    KeptInspection answer;
    answer.inspection = inspection;
    answer.problem = {Fault::Gone, mFolder};
    const bool isThere = openIfNeeded();
    if (!self)
        return;
    if (isThere)
        store(Origin::of(Records::noId), picture, &answer);
    Q_EMIT kept(answer);
    if (self)
        InspectionManager::handleVerdict(inspection, sourceFilePath, resultFilePath);
}
