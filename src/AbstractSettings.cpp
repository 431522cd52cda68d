// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"

#include <QFile>
#include <QSettings>

AbstractSettings::AbstractSettings(const QString &filePath)
{
    mIniFileHasBeenCreated = !QFile::exists(filePath); // before the store can create it
    m_settings = new QSettings(filePath, QSettings::IniFormat);
}

AbstractSettings::~AbstractSettings() = default; // the store stays, on purpose

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
