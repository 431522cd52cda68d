// SPDX-License-Identifier: Apache-2.0
#include "IconProvider.h"

#include <QColor>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace {
constexpr double bolder = 0.4; ///< of 16, the width and height of each drawing
constexpr int fineness = 4; ///< a line and its outline, drawn coarsely one on the other, would let the ground through

/// Empty when there is no such icon. The lines are those of the file, but bolder: they are seen from an arm's length.
QByteArray drawing(const QString &name)
{
    QFile file(QStringLiteral(":/tester/icons/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().replace(
        "<path ", QByteArrayLiteral("<path stroke=\"black\" stroke-width=\"") + QByteArray::number(bolder) + "\" ");
}

QImage drawn(QSvgRenderer &renderer, const QSize &size)
{
    QImage image(size * fineness, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.setViewBox(renderer.viewBoxF().adjusted(-bolder, -bolder, bolder, bolder));
    renderer.render(&painter);
    painter.end();
    return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}
} // namespace

IconProvider::IconProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage IconProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QColor color(QLatin1Char('#') + id.section(QLatin1Char('/'), 1));
    QSvgRenderer renderer(drawing(id.section(QLatin1Char('/'), 0, 0)));
    if (!color.isValid() || !renderer.isValid())
        return {};

    QImage image = drawn(renderer, requestedSize.isEmpty() ? renderer.defaultSize() : requestedSize);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn); // of the drawing only the shape is taken
    painter.fillRect(image.rect(), color);
    painter.end();
    *size = image.size();
    return image;
}
