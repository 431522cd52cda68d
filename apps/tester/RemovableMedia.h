// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QFile>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QVariantList>

#include <memory>

/// The disks that were plugged in: what is mounted below the folders for such. While it is watched, the kernel tells
/// each change; nothing is asked in turns, and no disk is touched.
class RemovableMedia : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList disks READ disks NOTIFY disksChanged)
    Q_PROPERTY(bool isWatched READ isWatched WRITE setWatched NOTIFY isWatchedChanged)

public:
    /// /media and /run/media, where desktops and automounters put them. In /mnt an administrator has what he wants.
    static QStringList defaultRoots();

    /// @param roots the folders for such; they need not be there yet
    explicit RemovableMedia(const QStringList &roots = defaultRoots(), QObject *parent = nullptr);
    ~RemovableMedia() override;

    QVariantList disks() const { return mDisks; } ///< maps of name and path; as of the last change that was watched
    bool isWatched() const { return mNotifier != nullptr; }
    void setWatched(bool isWatched);

    /// Whether something is mounted at the path, to the letter. In any thread.
    static bool isMounted(const QString &path);

Q_SIGNALS:
    void disksChanged();
    void isWatchedChanged();

private:
    void read();

    const QStringList mRoots;
    QFile mTable;
    std::unique_ptr<QSocketNotifier> mNotifier;
    QVariantList mDisks;
};
