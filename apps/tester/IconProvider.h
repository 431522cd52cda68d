// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QString>

/// Draws the icons of the tester for QML, in the size and colour asked for: "image://icons/gear/1f2a30".
class IconProvider : public QQuickImageProvider
{
public:
    static constexpr char name[] = "icons";

    IconProvider();

    /// @param id the name of the icon, a slash, and the colour in hexadecimal digits, with its alpha in front if any
    /// @return null when there is no such icon or colour
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
