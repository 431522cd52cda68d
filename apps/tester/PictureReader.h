// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"

#include <QImage>
#include <QObject>
#include <QThread>

/// Reads pictures of a store in a thread of its own. What lies there may have come from elsewhere: its sum is compared,
/// and it is decoded by the library, within its limits.
class PictureReader : public QObject
{
    Q_OBJECT

public:
    explicit PictureReader(QObject *parent = nullptr);
    ~PictureReader() override; ///< waits for what is being read

Q_SIGNALS:
    /// Answered by isRead(), in turn.
    /// @param folder of the pictures
    void requested(quint64 number, const QString &folder, const QByteArray &hash);

    /// @param image null when there is a fault
    void isRead(quint64 number, const QImage &image, Records::Fault fault);

private:
    QThread mThread;
};
