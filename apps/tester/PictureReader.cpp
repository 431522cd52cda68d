// SPDX-License-Identifier: Apache-2.0
#include "PictureReader.h"

#include "FiberInspection/Inspection.h"
#include "Records/PictureStore.h"

using FiberInspection::LoadedImage;
using Records::Answer;
using Records::Fault;

PictureReader::PictureReader(QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<Fault>();
    mThread.setObjectName(QStringLiteral("pictures"));
    auto *const place = new QObject; // of the work
    place->moveToThread(&mThread);
    connect(&mThread, &QThread::finished, place, &QObject::deleteLater);
    connect(
        this, &PictureReader::requested, place, [this](quint64 number, const QString &folder, const QByteArray &hash) {
            const Answer<QByteArray> bytes = Records::PictureStore(folder).read(hash);
            const LoadedImage loaded = bytes.ok() ? FiberInspection::decodeImage(bytes.value) : LoadedImage();
            const Fault fault = bytes.ok() && loaded.image.isNull() ? Fault::PictureDamaged : bytes.problem.fault;
            Q_EMIT isRead(number, loaded.image, fault);
        });
    mThread.start();
}

PictureReader::~PictureReader()
{
    mThread.quit();
    mThread.wait();
}
