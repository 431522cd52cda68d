// SPDX-License-Identifier: Apache-2.0
#include "PictureProvider.h"

#include <QHash>
#include <QMutex>

namespace {
struct Held
{
    QMutex mutex;
    QHash<QString, QImage> images; ///< by name
    quint64 names = 0; ///< given out so far
};

Held &held()
{
    static Held pictures;
    return pictures;
}
} // namespace

HeldPicture::~HeldPicture()
{
    setImage({});
}

void HeldPicture::setImage(const QImage &image)
{
    Held &all = held();
    const QMutexLocker lock(&all.mutex);
    all.images.remove(mName);
    mName = image.isNull() ? QString() : QString::number(++all.names);
    if (!image.isNull())
        all.images.insert(mName, image);
}

QUrl HeldPicture::address() const
{
    return mName.isEmpty() ? QUrl()
                           : QUrl(QStringLiteral("image://%1/%2").arg(QLatin1String(PictureProvider::name), mName));
}

PictureProvider::PictureProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage PictureProvider::requestImage(const QString &id, QSize *size, const QSize &)
{
    Held &all = held();
    const QMutexLocker lock(&all.mutex);
    const QImage image = all.images.value(id);
    *size = image.size();
    return image;
}
