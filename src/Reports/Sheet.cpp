// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sheet_p.h"

#include <QFontMetricsF>
#include <QTextLayout>

#include <cmath>

namespace Reports {

namespace {
constexpr double dots = Sheet::resolution / 25.4; // of a millimetre
constexpr double headY = 12;
constexpr double footY = 284;
constexpr double leading = 1.25; // of the height of a line to that of its font
constexpr int longestMeasured = 4200; // characters; none that is stored is longer

double toDots(double millimetres)
{
    return millimetres * dots;
}

QPointF toDots(const QPointF &point)
{
    return point * dots;
}

QRectF toDots(const QRectF &area)
{
    return {area.topLeft() * dots, area.size() * dots};
}

QPen penOf(QRgb color, double thickness)
{
    return {QColor(color), toDots(thickness), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}
} // namespace

Sheet::Sheet(QPdfWriter *writer, QPainter *painter, const ReportText &words, const QString &title, int allPages)
    : mWriter(writer)
    , mPainter(painter)
    , mWords(words)
    , mTitle(title)
    , mAllPages(allPages)
{
}

void Sheet::newPage()
{
    if (mPage > 0 && draws())
        mWriter->newPage();
    ++mPage;
    if (draws() && mGoesOn && !mGoesOn(mPage, mAllPages))
        mIsStopped = true;
    y = top;
    furniture();
}

bool Sheet::need(double height)
{
    if (hasRoom(height))
        return false;
    newPage();
    return true;
}

void Sheet::furniture()
{
    const TextStyle small{8, false, Ink::faint};
    TextStyle smallRight = small;
    smallRight.align = Qt::AlignRight;
    if (mPage > 1) {
        text(left, headY, width * 0.7, mTitle, small);
        text(left + width * 0.7, headY, width * 0.3, mWords(QT_TRANSLATE_NOOP("Report", "Fibre inspection report")),
            smallRight);
        line({left, headY + 5}, {right, headY + 5}, Ink::rule);
    }
    text(left, footY, width * 0.7, QStringLiteral("libVantorBase " VANTORBASE_VERSION), small);
    text(left + width * 0.5, footY, width * 0.5,
        mWords(QT_TRANSLATE_NOOP("Report", "Page %1 of %2"), {mWords.count(mPage), mWords.count(mAllPages)}),
        smallRight);
}

void Sheet::heading(const QString &text)
{
    newPage();
    y += paragraph(text, {16, true, Ink::accent, Qt::AlignLeft, 2}) + 4;
}

void Sheet::subheading(const QString &text, double roomBelow)
{
    need(10 + roomBelow);
    if (y > top)
        y += 3;
    y += paragraph(text, {11, true, Ink::accent, Qt::AlignLeft, 2}) + 1.5;
}

QFont Sheet::fontOf(const TextStyle &style) const
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(style.points);
    font.setBold(style.isBold);
    return font;
}

Sheet::Lines Sheet::linesOf(const QString &text, double textWidth, const TextStyle &style) const
{
    const QFont font(fontOf(style), mWriter);
    const QFontMetricsF metrics(font, mWriter);
    Lines lines;
    lines.lineHeight = metrics.height() * leading / dots * 0.86;
    lines.ascent = metrics.ascent() / dots;
    const QString whole = text.left(longestMeasured);
    if (metrics.horizontalAdvance(whole) <= toDots(textWidth)) {
        lines.texts.append(whole);
        return lines;
    }
    if (style.maxLines == 1) {
        lines.texts.append(metrics.elidedText(whole, style.elide, toDots(textWidth)));
        return lines;
    }
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(whole, font, mWriter);
    layout.setTextOption(option);
    layout.beginLayout();
    while (lines.texts.size() < style.maxLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(toDots(textWidth));
        const bool isLast = lines.texts.size() + 1 == style.maxLines;
        const QString rest = whole.mid(line.textStart());
        lines.texts.append(isLast ? metrics.elidedText(rest, Qt::ElideRight, toDots(textWidth))
                                  : rest.left(line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

double Sheet::widthOf(const QString &text, const TextStyle &style) const
{
    const QFont font(fontOf(style), mWriter);
    return QFontMetricsF(font, mWriter).horizontalAdvance(text) / dots;
}

double Sheet::heightOf(const QString &text, double textWidth, const TextStyle &style) const
{
    const Lines lines = linesOf(text, textWidth, style);
    return lines.texts.size() * lines.lineHeight;
}

double Sheet::text(double x, double textTop, double textWidth, const QString &text, const TextStyle &style)
{
    const Lines lines = linesOf(text, textWidth, style);
    if (draws()) {
        mPainter->setFont(fontOf(style));
        mPainter->setPen(QColor(style.color));
        double lineTop = textTop;
        for (const QString &line : lines.texts) {
            const QRectF area(x, lineTop, textWidth, lines.lineHeight);
            const int flags = static_cast<int>(style.align) | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine
                | Qt::TextDontClip;
            mPainter->drawText(toDots(area), flags, line);
            lineTop += lines.lineHeight;
        }
    }
    return lines.texts.size() * lines.lineHeight;
}

double Sheet::paragraph(const QString &paragraphText, const TextStyle &style)
{
    return text(left, y, width, paragraphText, style);
}

void Sheet::box(const QRectF &area, QRgb color, double radius)
{
    if (!draws())
        return;
    mPainter->setPen(Qt::NoPen);
    mPainter->setBrush(QColor(color));
    mPainter->drawRoundedRect(toDots(area), toDots(radius), toDots(radius));
}

void Sheet::frame(const QRectF &area, QRgb color, double thickness)
{
    if (!draws())
        return;
    mPainter->setPen(penOf(color, thickness));
    mPainter->setBrush(Qt::NoBrush);
    mPainter->drawRect(toDots(area));
}

void Sheet::line(const QPointF &from, const QPointF &to, QRgb color, double thickness)
{
    if (!draws())
        return;
    mPainter->setPen(penOf(color, thickness));
    mPainter->drawLine(toDots(from), toDots(to));
}

void Sheet::ring(const QPointF &centre, double radius, QRgb color, double thickness)
{
    if (!draws())
        return;
    mPainter->setPen(penOf(color, thickness));
    mPainter->setBrush(Qt::NoBrush);
    mPainter->drawEllipse(toDots(centre), toDots(radius), toDots(radius));
}

void Sheet::polyline(const QVector<QPointF> &points, QRgb color, double thickness)
{
    if (!draws())
        return;
    QPolygonF polygon;
    for (const QPointF &point : points)
        polygon.append(toDots(point));
    mPainter->setPen(penOf(color, thickness));
    mPainter->setBrush(Qt::NoBrush);
    mPainter->drawPolyline(polygon);
}

void Sheet::disc(const QPointF &centre, double radius, QRgb color)
{
    if (!draws())
        return;
    mPainter->setPen(Qt::NoPen);
    mPainter->setBrush(QColor(color));
    mPainter->drawEllipse(toDots(centre), toDots(radius), toDots(radius));
}

void Sheet::image(const QRectF &area, const QImage &image)
{
    if (draws())
        mPainter->drawImage(toDots(area), image);
}

void Sheet::clip(const QRectF &area)
{
    if (!draws())
        return;
    mPainter->save();
    mPainter->setClipRect(toDots(area));
}

void Sheet::unclip()
{
    if (draws())
        mPainter->restore();
}

} // namespace Reports
