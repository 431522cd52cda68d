// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QGuiApplication>
#include <QObject>
#include <QtTest>

/// Keys that type nothing: TestCase.keyClick() does not know them.
class Keyboard : public QObject
{
    Q_OBJECT

public:
    /// Presses and releases a Qt::Key in the window that has the focus.
    Q_INVOKABLE void press(int key) const
    {
        QWindow *const window = QGuiApplication::focusWindow();
        QVERIFY(window);
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
            qt_handleKeyEvent(window, type, key, Qt::NoModifier); // QTest::keyClick() refuses such keys
    }
};
