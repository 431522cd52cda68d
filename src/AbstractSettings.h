// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QObject>
#include <QString>
#include <QVariant>

class QSettings;

/// Base of the application's settings classes: one INI file each, and the knowledge whether it is a new one that wants
/// its defaults.
///
/// The store outlives this object and is never destroyed, so it does not write at the end of the process by itself: a
/// subclass that has stored a value and wants it on the disk now calls sync(). Nothing is written before a value is
/// stored. Like QSettings, an object may be used in one thread at a time.
///
/// The file is a regular one that belongs to root or to us, or there is none yet. Anything else is never written: the
/// log tells, and the values stay in memory. Two kinds are read once, up to 1 MiB: what a link leads to, if both are
/// root's or ours, and the file of another user that nobody else can write, in a folder that only root and we can
/// write. While something that is not ours stands in the way later, as a lock of another user, or the disk is full, the
/// file stays as it is, and the event loop tries again each second. The disk is full when it has not room for the
/// largest file that the values can become.
///
/// A file of values that cannot be read without an end of the process, because one tells of more parts than there is
/// memory for or holds some thousands of values in one another, is not read at all: the log tells, the values stay in
/// memory, and the file as it is. So is one of more than 64 MiB.
///
/// @code
/// class Settings : public AbstractSettings
/// {
/// public:
///     explicit Settings(const QString &path) : AbstractSettings(path) {}
///     bool setLanguage(const QString &language)
///     {
///         m_settings->setValue(QStringLiteral("language"), language);
///         return sync();
///     }
/// };
/// @endcode
class VANTORBASE_EXPORT AbstractSettings : public QObject
{
public:
    ~AbstractSettings() override;

    bool contains(const QString &key) const;

    /// An invalid value for a key that is not there.
    QVariant value(const QString &key) const;

protected:
    explicit AbstractSettings(const QString &filePath);

    /// Writes the values to the disk now. A failure is told in the log, as it is when the event loop writes.
    /// @return whether they are there; the status of m_settings does not tell, it never recovers from a failure
    bool sync();

    bool hasBeenIniFileCreated() const; ///< the file did not exist when this object was made

    /// Every subclass brings its own; there is none here.
    void init();

    QSettings *m_settings = nullptr; ///< never null once constructed

private:
    bool mIniFileHasBeenCreated = false;
};
