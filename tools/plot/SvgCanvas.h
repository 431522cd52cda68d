// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QVector>
#include <QXmlStreamWriter>

namespace Plot {

struct Stroke
{
    QString color;
    double width = 1; ///< pixels
    QString dashes; ///< "6 4": lengths of strokes and gaps; empty: unbroken
};

struct TextFormat
{
    enum class Anchor : int { Start, Middle, End };

    double size = 12; ///< pixels
    QString color;
    Anchor anchor = Anchor::Start;
    bool bold = false;
    double rotation = 0; ///< degrees, clockwise around the text's own point
};

/// Writes shapes as SVG. Pixels, x to the right and y down.
class SvgCanvas
{
public:
    /// @param title what a screen reader says
    SvgCanvas(const QSizeF &size, const QString &title);

    void rectangle(const QRectF &rectangle, const QString &fill);
    void line(const QPointF &from, const QPointF &to, const Stroke &stroke);
    void polyline(const QVector<QPointF> &points, const Stroke &stroke);
    void polygon(const QVector<QPointF> &points, const QString &fill, double opacity);
    void dot(const QPointF &center, double radius, const QString &fill);

    /// The point lies on the base line. A rim of the background's colour keeps the text readable on lines.
    void text(const QPointF &point, const QString &text, const TextFormat &format);

    /// Until endClip() nothing is painted outside of the rectangle.
    void beginClip(const QRectF &rectangle);
    void endClip();

    /// The whole document. Nothing can be painted afterwards.
    QByteArray finish();

    /// About as wide as common sans-serif fonts make it, in pixels.
    static double textWidth(const QString &text, double size);

private:
    void attribute(const char *name, double value);
    void attribute(const char *name, const QString &value);
    void points(const QVector<QPointF> &points);
    void stroke(const Stroke &stroke);

    QByteArray mBytes;
    QXmlStreamWriter mXml;
    int mClips = 0;
};

} // namespace Plot
