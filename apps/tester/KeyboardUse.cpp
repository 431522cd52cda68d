// SPDX-License-Identifier: Apache-2.0
#include "KeyboardUse.h"

#include <QCoreApplication>
#include <QKeyEvent>

KeyboardUse::KeyboardUse(QObject *parent)
    : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool KeyboardUse::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent *>(event)->key() != Qt::Key_WebCam)
            set(true);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        set(false);
        break;
    default:
        break;
    }
    return false;
}

void KeyboardUse::set(bool isOn)
{
    if (isOn == mIsOn)
        return;
    mIsOn = isOn;
    Q_EMIT changed(isOn);
}
