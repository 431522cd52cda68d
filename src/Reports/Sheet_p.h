// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/ReportText_p.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QPainter>
#include <QPdfWriter>

namespace Reports {

namespace Ink {
constexpr QRgb text = 0xff1a1c1e;
constexpr QRgb faint = 0xff55595e; ///< contrast of 7 on white
constexpr QRgb rule = 0xffb9bec4;
constexpr QRgb stripe = 0xfff2f4f6;
constexpr QRgb accent = 0xff1f4e79;
constexpr QRgb good = 0xff1b6e2f;
constexpr QRgb bad = 0xffb3261e;
constexpr QRgb caution = 0xff7a4f00;
constexpr QRgb cautionGround = 0xfffff4dc;
constexpr QRgb white = 0xffffffff;
} // namespace Ink

/// How a text is set.
struct TextStyle
{
    double points = 9;
    bool isBold = false;
    QRgb color = Ink::text;
    Qt::Alignment align = Qt::AlignLeft;
    int maxLines = 1; ///< what does not fit ends in an ellipsis
    Qt::TextElideMode elide = Qt::ElideRight; ///< of a single line: where the ellipsis stands
};

/// The pages of a report, measured in millimetres from the upper left corner, and where on them the next thing goes.
/// Without a painter it only counts the pages: what is drawn takes the same room with and without.
class Sheet
{
public:
    static constexpr double left = 18;
    static constexpr double right = 192;
    static constexpr double width = right - left;
    static constexpr double top = 24;
    static constexpr double bottom = 277;
    static constexpr double resolution = 1200; ///< dots per inch

    /// @param painter null: nothing is drawn
    Sheet(QPdfWriter *writer, QPainter *painter, const ReportText &words, const QString &title, int allPages);

    const ReportText &words() const { return mWords; }
    int page() const { return mPage; }
    bool draws() const { return mPainter != nullptr; }
    bool isStopped() const { return mIsStopped; }
    void onPage(const std::function<bool(int page, int all)> &goesOn) { mGoesOn = goesOn; }

    double y = top; ///< where the next thing goes

    void newPage();
    bool hasRoom(double height) const { return y + height <= bottom; }
    bool need(double height); ///< begins a page unless there is room. @return whether it did
    void heading(const QString &text); ///< of a section, on a page of its own
    void subheading(const QString &text, double roomBelow);

    /// Plain text, never markup. @return the height that it takes
    double text(double x, double top, double width, const QString &text, const TextStyle &style = {});
    double widthOf(const QString &text, const TextStyle &style) const; ///< on one line
    double heightOf(const QString &text, double width, const TextStyle &style) const;
    double paragraph(const QString &text, const TextStyle &style = {}); ///< over the whole width, at y

    void box(const QRectF &area, QRgb color, double radius = 0);
    void frame(const QRectF &area, QRgb color, double thickness = 0.2);
    void line(const QPointF &from, const QPointF &to, QRgb color, double thickness = 0.2);
    void ring(const QPointF &centre, double radius, QRgb color, double thickness = 0.25);
    void polyline(const QVector<QPointF> &points, QRgb color, double thickness);
    void disc(const QPointF &centre, double radius, QRgb color);
    void image(const QRectF &area, const QImage &image);
    void clip(const QRectF &area); ///< until unclip()
    void unclip();

private:
    struct Lines
    {
        QVector<QString> texts;
        double lineHeight = 0; ///< millimetres
        double ascent = 0;
    };

    QFont fontOf(const TextStyle &style) const;
    Lines linesOf(const QString &text, double width, const TextStyle &style) const;
    void furniture(); ///< head and foot of the page

    QPdfWriter *mWriter;
    QPainter *mPainter;
    const ReportText &mWords;
    const QString mTitle;
    const int mAllPages;
    int mPage = 0;
    bool mIsStopped = false;
    std::function<bool(int page, int all)> mGoesOn;
};

} // namespace Reports
