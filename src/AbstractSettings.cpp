// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"

#include "Helpers/FileAccess_p.h"

#include <QDebug>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <climits>

namespace {
/// QSettings would read whatever is there, however long that takes, and put a file in place of what a link leads to.
bool isUsable(const QString &path)
{
    return FileAccess::isNothing(path) || FileAccess::isOwnFile(path);
}

/// Where no file system can have a file: values stay in memory then, and each path has its own.
QString nowhere(const QString &path)
{
    return QLatin1Char('/') + QString(NAME_MAX + 1, QLatin1Char('-')) + QFileInfo(path).absoluteFilePath();
}

QString usablePath(const QString &path)
{
    if (isUsable(path))
        return path;
    qWarning().noquote() << "Settings stay in memory, this is no file of ours:" << path;
    return nowhere(path);
}

/// A store that writes to a file of ours or to none, and tells when it could not write.
class Store : public QSettings
{
public:
    explicit Store(const QString &path)
        : QSettings(usablePath(path), QSettings::IniFormat)
        , mPath(path)
    {
    }

    bool store()
    {
        if (!isWritable())
            return false;
        sync();
        return isStored();
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::UpdateRequest)
            return QSettings::event(event);
        if (!isWritable())
            return true;
        const bool isHandled = QSettings::event(event);
        isStored();
        return isHandled;
    }

private:
    /// Looked at each time. The lock is waited for, and a folder of its name for ever.
    bool isWritable() const { return mayWrite(mPath) && mayWrite(mPath + QStringLiteral(".lock")); }

    static bool mayWrite(const QString &path)
    {
        if (isUsable(path))
            return true;
        qWarning().noquote() << "Failed to store settings, this is no file of ours:" << path;
        return false;
    }

    bool isStored() const
    {
        if (status() != QSettings::AccessError)
            return true;
        qWarning().noquote() << "Failed to store settings in" << mPath;
        return false;
    }

    const QString mPath;
};
} // namespace

AbstractSettings::AbstractSettings(const QString &filePath)
{
    mIniFileHasBeenCreated = !QFile::exists(filePath); // before the store can create it
    m_settings = new Store(filePath);
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
