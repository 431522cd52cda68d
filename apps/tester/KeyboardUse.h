// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

/// Whether the user works with the keyboard: the last thing that was done was a key, not a tap. Only then it is shown
/// where the keyboard is. The key of the scope does not count. There has to be an application object.
class KeyboardUse : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isOn READ isOn NOTIFY changed)

public:
    explicit KeyboardUse(QObject *parent = nullptr);

    bool isOn() const { return mIsOn; }
    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void changed(bool isOn);

private:
    void set(bool isOn);

    bool mIsOn = false;
};
