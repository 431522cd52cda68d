// SPDX-License-Identifier: Apache-2.0
#include "plot/SvgCanvas.h"

#include <cmath>

namespace Plot {

namespace {
const QLatin1String background("#ffffff");

/// At most two digits behind the point, in every locale.
QString number(double value)
{
    if (!std::isfinite(value))
        return QStringLiteral("0");
    QString text = QString::number(value, 'f', 2);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text == QLatin1String("-0") ? QStringLiteral("0") : text;
}

/// Without characters that XML does not allow.
QString allowed(const QString &text)
{
    QString result = text;
    for (QChar &character : result) {
        if (character.category() == QChar::Other_Control || character.unicode() >= 0xfffe)
            character = QLatin1Char(' ');
    }
    return QString::fromUtf8(result.toUtf8()); // mends lonely surrogates
}

QLatin1String name(TextFormat::Anchor anchor)
{
    switch (anchor) {
    case TextFormat::Anchor::Middle:
        return QLatin1String("middle");
    case TextFormat::Anchor::End:
        return QLatin1String("end");
    case TextFormat::Anchor::Start:
        break;
    }
    return QLatin1String("start");
}
} // namespace

SvgCanvas::SvgCanvas(const QSizeF &size, const QString &title)
    : mXml(&mBytes)
{
    mXml.setAutoFormatting(true);
    mXml.setAutoFormattingIndent(1);
    mXml.writeStartDocument();
    mXml.writeStartElement(QStringLiteral("svg"));
    mXml.writeDefaultNamespace(QStringLiteral("http://www.w3.org/2000/svg"));
    attribute("width", size.width());
    attribute("height", size.height());
    attribute("viewBox", QStringLiteral("0 0 %1 %2").arg(number(size.width()), number(size.height())));
    attribute("role", QStringLiteral("img"));
    attribute("font-family", QStringLiteral("'DejaVu Sans', Verdana, Arial, sans-serif"));
    mXml.writeTextElement(QStringLiteral("title"), allowed(title));
    rectangle({{0, 0}, size}, background);
}

void SvgCanvas::rectangle(const QRectF &rectangle, const QString &fill)
{
    mXml.writeEmptyElement(QStringLiteral("rect"));
    attribute("x", rectangle.x());
    attribute("y", rectangle.y());
    attribute("width", rectangle.width());
    attribute("height", rectangle.height());
    attribute("fill", fill);
}

void SvgCanvas::line(const QPointF &from, const QPointF &to, const Stroke &stroke)
{
    mXml.writeEmptyElement(QStringLiteral("line"));
    attribute("x1", from.x());
    attribute("y1", from.y());
    attribute("x2", to.x());
    attribute("y2", to.y());
    this->stroke(stroke);
}

void SvgCanvas::polyline(const QVector<QPointF> &points, const Stroke &stroke)
{
    mXml.writeEmptyElement(QStringLiteral("polyline"));
    this->points(points);
    attribute("fill", QStringLiteral("none"));
    attribute("stroke-linejoin", QStringLiteral("round"));
    this->stroke(stroke);
}

void SvgCanvas::polygon(const QVector<QPointF> &points, const QString &fill, double opacity)
{
    mXml.writeEmptyElement(QStringLiteral("polygon"));
    this->points(points);
    attribute("fill", fill);
    attribute("fill-opacity", opacity);
}

void SvgCanvas::dot(const QPointF &center, double radius, const QString &fill)
{
    mXml.writeEmptyElement(QStringLiteral("circle"));
    attribute("cx", center.x());
    attribute("cy", center.y());
    attribute("r", radius);
    attribute("fill", fill);
}

void SvgCanvas::text(const QPointF &point, const QString &text, const TextFormat &format)
{
    mXml.writeStartElement(QStringLiteral("text"));
    attribute("x", point.x());
    attribute("y", point.y());
    attribute("font-size", format.size);
    attribute("fill", format.color);
    attribute("text-anchor", name(format.anchor));
    if (format.bold)
        attribute("font-weight", QStringLiteral("bold"));
    if (format.rotation != 0)
        attribute("transform",
            QStringLiteral("rotate(%1 %2 %3)").arg(number(format.rotation), number(point.x()), number(point.y())));
    attribute("stroke", background);
    attribute("stroke-width", 3);
    attribute("stroke-linejoin", QStringLiteral("round"));
    attribute("paint-order", QStringLiteral("stroke"));
    mXml.writeCharacters(allowed(text));
    mXml.writeEndElement();
}

void SvgCanvas::beginClip(const QRectF &rectangle)
{
    const QString id = QStringLiteral("clip%1").arg(++mClips);
    mXml.writeStartElement(QStringLiteral("clipPath"));
    attribute("id", id);
    this->rectangle(rectangle, background);
    mXml.writeEndElement();
    mXml.writeStartElement(QStringLiteral("g"));
    attribute("clip-path", QStringLiteral("url(#%1)").arg(id));
}

void SvgCanvas::endClip()
{
    mXml.writeEndElement();
}

QByteArray SvgCanvas::finish()
{
    mXml.writeEndDocument();
    return mBytes;
}

double SvgCanvas::textWidth(const QString &text, double size)
{
    static const QString narrow = QStringLiteral(" .,:;'|!()[]fijlt-");
    static const QString wide = QStringLiteral("mwMWQ%@→≤≥");
    double width = 0;
    for (const QChar character : text)
        width += narrow.contains(character) ? 0.38 : wide.contains(character) ? 0.95 : 0.64;
    return width * size;
}

void SvgCanvas::attribute(const char *name, double value)
{
    attribute(name, number(value));
}

void SvgCanvas::attribute(const char *name, const QString &value)
{
    mXml.writeAttribute(QLatin1String(name), allowed(value));
}

void SvgCanvas::points(const QVector<QPointF> &points)
{
    QString text;
    for (const QPointF &point : points) {
        if (!text.isEmpty())
            text += QLatin1Char(' ');
        text += number(point.x()) + QLatin1Char(',') + number(point.y());
    }
    attribute("points", text);
}

void SvgCanvas::stroke(const Stroke &stroke)
{
    attribute("stroke", stroke.color);
    attribute("stroke-width", stroke.width);
    if (!stroke.dashes.isEmpty())
        attribute("stroke-dasharray", stroke.dashes);
}

} // namespace Plot
