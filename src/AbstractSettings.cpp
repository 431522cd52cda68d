// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"

#include "Helpers/FileAccess_p.h"

#include <QBasicTimer>
#include <QCoreApplication>
#include <QDebug>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>
#include <QTemporaryFile>
#include <QTimerEvent>

#include <climits>
#include <utility>

namespace {
constexpr int retryMilliseconds = 1000; // until the event loop tries again to write what it was refused
constexpr qint64 mostForeignBytes = 1 << 20; // of a file that is never written

/// QSettings would read whatever is there, however long that takes, and put a file in place of what a link leads to.
bool isUsable(const QString &path)
{
    return FileAccess::isNothing(path) || FileAccess::isOwnFile(path);
}

/// Where no file system can have a file: values stay in memory then, and each path has its own.
QString nowhere(const QString &path)
{
    return QLatin1Char('/') + QString(NAME_MAX + 1, QLatin1Char('-')) + path;
}

/// A store that writes to a file of ours or to none, and tells when it could not write.
class Store : public QSettings
{
public:
    /// @param path absolute: the process may change its folder
    explicit Store(const QString &path)
        : Store(path, isUsable(path))
    {
    }

    bool store()
    {
        const QString hindrance = findHindrance();
        mIsRefused = !hindrance.isEmpty();
        if (mIsRefused) {
            tellRefusal(hindrance);
            return false;
        }
        sync();
        return isStored();
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::UpdateRequest)
            return QSettings::event(event);
        if (mIsInMemory)
            return true;
        const QString hindrance = findHindrance();
        const bool wasRefused = std::exchange(mIsRefused, !hindrance.isEmpty());
        if (mIsRefused) {
            if (!wasRefused)
                tellRefusal(hindrance);
            mRetry.start(retryMilliseconds, this); // QSettings itself asks once, until it has written
            return true;
        }
        const bool isHandled = QSettings::event(event);
        isStored();
        return isHandled;
    }

    void timerEvent(QTimerEvent *event) override
    {
        if (event->timerId() != mRetry.timerId()) {
            QSettings::timerEvent(event);
            return;
        }
        mRetry.stop();
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
    }

private:
    Store(const QString &path, bool isUsable)
        : QSettings(isUsable ? path : nowhere(path), QSettings::IniFormat)
        , mPath(path)
        , mIsInMemory(!isUsable)
    {
        if (!mIsInMemory)
            return;
        qWarning().noquote() << "Settings stay in memory, this is no file of ours:" << mPath;
        readForeignFile();
    }

    /// QSettings would not stop at a limit, and write to what it has read. It understands files only.
    void readForeignFile()
    {
        QFile file;
        if (!FileAccess::openLinked(mPath, &file) && !FileAccess::openForeign(mPath, &file))
            return;
        QByteArray bytes;
        QTemporaryFile copy;
        if (!FileAccess::readAll(&file, mostForeignBytes, &bytes) || !copy.open() || copy.write(bytes) != bytes.size()
            || !copy.flush()) {
            qWarning().noquote() << "Failed to read settings from" << mPath;
            return;
        }
        const QSettings settings(copy.fileName(), QSettings::IniFormat);
        const QStringList keys = settings.allKeys();
        for (const QString &key : keys)
            setValue(key, settings.value(key));
    }

    /// What is in the way of writing; empty when nothing is. Looked at each time. The lock is waited for, and a folder
    /// of its name for ever.
    QString findHindrance() const
    {
        if (mIsInMemory || !isUsable(mPath))
            return mPath;
        const QString lock = mPath + QStringLiteral(".lock");
        return isUsable(lock) ? QString() : lock;
    }

    static void tellRefusal(const QString &hindrance)
    {
        qWarning().noquote() << "Failed to store settings, this is no file of ours:" << hindrance;
    }

    /// The status never recovers from a failure. That of a new store on the same file, with the same values, tells how
    /// things are now.
    bool isStored() const
    {
        if (status() != QSettings::AccessError
            || QSettings(fileName(), QSettings::IniFormat).status() != QSettings::AccessError)
            return true;
        qWarning().noquote() << "Failed to store settings in" << mPath;
        return false;
    }

    const QString mPath;
    const bool mIsInMemory; ///< what is at the path was no file of ours at the beginning
    bool mIsRefused = false; ///< the last attempt to write was
    QBasicTimer mRetry;
};
} // namespace

AbstractSettings::AbstractSettings(const QString &filePath)
{
    mIniFileHasBeenCreated = !QFile::exists(filePath); // before the store can create it
    m_settings = new Store(QFileInfo(filePath).absoluteFilePath());
}

AbstractSettings::~AbstractSettings() = default; // the store stays, on purpose

bool AbstractSettings::sync()
{
    auto *const store = dynamic_cast<Store *>(m_settings); // who brings another one cares for it
    return store && store->store();
}

bool AbstractSettings::hasBeenIniFileCreated() const
{
    return mIniFileHasBeenCreated;
}

bool AbstractSettings::contains(const QString &key) const
{
    return m_settings->contains(key);
}

QVariant AbstractSettings::value(const QString &key) const
{
    return m_settings->value(key);
}
