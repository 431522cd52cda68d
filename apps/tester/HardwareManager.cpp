// SPDX-License-Identifier: Apache-2.0
#include "HardwareManager.h"

#include "FiberInspection/Geometry.h"
#include "Helpers/BaseDirHelper.h"
#include "simulation/SimulatedScope.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QPointer>

namespace {
constexpr int pollInterval = 500; // milliseconds
constexpr char pluginName[] = "libsimscope.so";

/// Whether the kernel knows a camera with the name of the scope.
bool isRealScopeThere()
{
    const QDir cameras(QStringLiteral("/sys/class/video4linux"));
    const QStringList entries = cameras.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        QFile name(cameras.filePath(entry + QStringLiteral("/name")));
        if (name.open(QIODevice::ReadOnly) && name.readAll().contains(HardwareManager::scopeName().toUtf8()))
            return true;
    }
    return false;
}

QString linkPath()
{
    return BaseDirHelper::libDir() + QStringLiteral("qt5/plugins/mediaservice/") + QLatin1String(pluginName);
}
} // namespace

HardwareManager::HardwareManager(QObject *parent)
    : QObject(parent)
    , mIsSimulated(QFile::exists(linkPath()))
{
    if (mIsSimulated) {
        SimulatedScope *const scope = SimulatedScope::instance();
        mIsScopeConnected = scope->isPlugged();
        connect(scope, &SimulatedScope::isPluggedChanged, this, &HardwareManager::setScopeConnected);
        return;
    }
    mIsScopeConnected = isRealScopeThere();
    connect(&mPoll, &QTimer::timeout, this, [this] { setScopeConnected(isRealScopeThere()); });
    mPoll.start(pollInterval);
}

QString HardwareManager::scopeName()
{
    return FiberInspection::Device::ks20().name;
}

void HardwareManager::prepare(const QString &pluginFolder)
{
    QFile::remove(linkPath()); // the one of the run before
    const QString plugin = QDir(pluginFolder).filePath(QLatin1String(pluginName));
    if (isRealScopeThere() || !QFile::exists(plugin))
        return;
    const QString folder = QFileInfo(linkPath()).path();
    if (!QDir().mkpath(folder) || !QFile::link(plugin, linkPath()))
        qWarning().noquote() << "cannot offer the simulated scope in" << folder;
}

void HardwareManager::setScopeConnected(bool isScopeConnected)
{
    if (isScopeConnected == mIsScopeConnected)
        return;
    mIsScopeConnected = isScopeConnected;
    const QPointer<HardwareManager> self(this);
    Q_EMIT isScopeConnectedChanged(isScopeConnected);
    if (self && !isScopeConnected) // also when it is back by now: what was opened with it is lost
        Q_EMIT fiberMicroscopeDisconnected();
}
