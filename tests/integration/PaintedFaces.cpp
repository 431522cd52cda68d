// SPDX-License-Identifier: Apache-2.0
#include "PaintedFaces.h"

#include <QPainter>

QImage paintFace(const QVector<Spot> &spots, const QPointF &fibre)
{
    constexpr double claddingRadius = 58.1; // pixels
    QImage image(800, 600, QImage::Format_RGB32);
    image.fill(QColor(200, 200, 200));

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(140, 140, 140));
    painter.drawEllipse(fibre, claddingRadius, claddingRadius);
    painter.setBrush(QColor(40, 40, 40));
    for (const Spot &spot : spots)
        painter.drawEllipse(fibre + spot.center, spot.radius, spot.radius);
    return image;
}

QImage goodFace()
{
    return paintFace();
}

QImage badFace()
{
    return paintFace({{{3, -2}, 4}});
}

QImage noFace()
{
    QImage image(800, 600, QImage::Format_RGB32);
    image.fill(QColor(200, 200, 200));
    return image;
}
