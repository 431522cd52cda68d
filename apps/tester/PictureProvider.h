// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QString>
#include <QUrl>

/// One picture that is in memory only, under an address of its own that changes with it. Set in one thread; all may ask
/// the provider.
class HeldPicture
{
public:
    HeldPicture() = default;
    ~HeldPicture();
    HeldPicture(const HeldPicture &) = delete;
    HeldPicture &operator=(const HeldPicture &) = delete;

    /// The address of the former one leads nowhere from now on.
    void setImage(const QImage &image);
    QUrl address() const; ///< empty without a picture

private:
    QString mName;
};

/// Shows held pictures to QML.
class PictureProvider : public QQuickImageProvider
{
public:
    static constexpr char name[] = "held";

    PictureProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
