// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFile>
#include <QPointF>
#include <QSize>
#include <QString>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

/// An end face reduced to what the analysis looks for: ferrule, cladding, core, and if wanted one dark pit.
struct DrawnFibre
{
    QSize size{800, 600}; ///< pixels
    QPointF center{400, 300}; ///< pixels
    double claddingRadius = 62.5; ///< micrometres of a field of view that is 860 wide
    double blur = 1.0; ///< sigma, pixels
    double pitRadius = 0; ///< pixels; of a pit between core and rim, 0 for none

    /// 8-bit grey.
    cv::Mat gray() const
    {
        constexpr int fixedPoint = 4; // bits behind the point of what is drawn
        const double radius = claddingRadius / 860 * size.width();
        cv::Mat image(size.height(), size.width(), CV_8UC1, cv::Scalar(205));
        const auto disc = [&](const QPointF &middle, double discRadius, int level) {
            const cv::Point point(qRound(middle.x() * (1 << fixedPoint)), qRound(middle.y() * (1 << fixedPoint)));
            cv::circle(image, point, qRound(discRadius * (1 << fixedPoint)), cv::Scalar(level), cv::FILLED, cv::LINE_8,
                fixedPoint);
        };
        disc(center, radius, 130);
        disc(center, radius * 0.08, 160);
        if (pitRadius > 0)
            disc(center + QPointF(radius / 2, 0), pitRadius, 30);
        if (blur > 0)
            cv::GaussianBlur(image, image, cv::Size(), blur);
        return image;
    }

    QByteArray jpeg() const
    {
        std::vector<uchar> bytes;
        cv::Mat color;
        cv::cvtColor(gray(), color, cv::COLOR_GRAY2BGR);
        cv::imencode(".jpg", color, bytes, {cv::IMWRITE_JPEG_QUALITY, 95});
        return {reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size())};
    }
};

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// Null when there is no such file, empty for an empty one.
inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    return bytes.isNull() ? QByteArray("") : bytes;
}
