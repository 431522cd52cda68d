// SPDX-License-Identifier: Apache-2.0
#include "plot/Charts.h"

#include "plot/ChartPainters_p.h"
#include "plot/SvgCanvas.h"

#include <QSaveFile>

#include <algorithm>

namespace Plot {

namespace {
QString titleOf(const Chart &chart)
{
    return std::visit([](const auto &variant) { return variant.title; }, chart);
}
} // namespace

QByteArray svg(const Chart &chart, const QSize &size)
{
    return svg(QVector<Chart>{chart}, 1, size);
}

QByteArray svg(const QVector<Chart> &charts, int columns, const QSize &size)
{
    QStringList titles;
    for (const Chart &chart : charts)
        titles.append(titleOf(chart));
    SvgCanvas canvas(size, titles.join(QStringLiteral("; ")));

    const int columnCount = std::max(columns, 1);
    const int rowCount = std::max((charts.size() + columnCount - 1) / columnCount, 1);
    const QSizeF part(size.width() / static_cast<double>(columnCount), size.height() / static_cast<double>(rowCount));
    for (int i = 0; i < charts.size(); ++i) {
        const int column = i % columnCount;
        const int row = i / columnCount;
        const QRectF area({column * part.width(), row * part.height()}, part);
        std::visit([&](const auto &chart) { paint(chart, &canvas, area); }, charts.at(i));
    }
    return canvas.finish();
}

bool save(const QByteArray &svg, const QString &path, QString *problem)
{
    QSaveFile file(path);
    const bool isSaved = file.open(QIODevice::WriteOnly) && file.write(svg) == svg.size() && file.commit();
    if (!isSaved && problem)
        *problem = file.errorString();
    return isSaved;
}

} // namespace Plot
