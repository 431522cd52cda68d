// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

/// What the unit's sockets hold: the fibre scope. A real one is used where there is one, else the simulated one.
class HardwareManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isScopeConnected READ isScopeConnected NOTIFY isScopeConnectedChanged)
    Q_PROPERTY(bool isSimulated READ isSimulated CONSTANT)
    Q_PROPERTY(QString scopeName READ scopeName CONSTANT)

public:
    explicit HardwareManager(QObject *parent = nullptr);

    bool isScopeConnected() const { return mIsScopeConnected; }
    bool isSimulated() const { return mIsSimulated; }
    static QString scopeName();

    /// To be called before the Qt application object exists: offers the plug-in of the simulated scope to Qt Multimedia
    /// by a link below BaseDirHelper::libDir(), unless a real scope is there.
    /// @param pluginPath of the simulated scope; empty: there is none
    static void prepare(const QString &pluginPath);

Q_SIGNALS:
    void isScopeConnectedChanged(bool isScopeConnected);
    void fiberMicroscopeDisconnected();

private:
    void setScopeConnected(bool isScopeConnected);

    const bool mIsSimulated;
    bool mIsScopeConnected = false;
    QTimer mPoll;
};
