// SPDX-License-Identifier: Apache-2.0
#include "common/Micrometres.h"

#include <QRegularExpression>

namespace Tools {

namespace {
constexpr int maxFieldOfView = 100000; // micrometres
}

QString micrometres(double value)
{
    return QString::number(value, 'f', 1);
}

QString position(double value)
{
    const QString number = micrometres(value);
    return number.startsWith(QLatin1Char('-')) ? number : QLatin1Char('+') + number;
}

QString fieldOfViewText(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

QSize fieldOfViewOf(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("\\A([0-9]{1,6})x([0-9]{1,6})\\z"));
    const QRegularExpressionMatch match = pattern.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    return size.isEmpty() || size.width() > maxFieldOfView || size.height() > maxFieldOfView ? QSize() : size;
}

} // namespace Tools
