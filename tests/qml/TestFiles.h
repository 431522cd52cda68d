// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QFile>
#include <QImage>
#include <QObject>
#include <QString>

/// Files of the temporary work directory.
class TestFiles : public QObject
{
    Q_OBJECT

public:
    explicit TestFiles(const QString &folder)
        : mFolder(folder)
    {
    }

    Q_INVOKABLE QString path(const QString &name) const { return mFolder + QLatin1Char('/') + name; }
    Q_INVOKABLE bool exists(const QString &path) const { return QFile::exists(path); }
    Q_INVOKABLE bool remove(const QString &path) const { return QFile::remove(path); }

    /// Width and height of a picture; not valid when it is none.
    Q_INVOKABLE QSize sizeOf(const QString &path) const { return QImage(path).size(); }

    /// A picture of one colour.
    Q_INVOKABLE bool paint(const QString &path, const QString &colour) const
    {
        QImage image(60, 60, QImage::Format_RGB32);
        image.fill(QColor(colour));
        return image.save(path);
    }

private:
    const QString mFolder;
};
