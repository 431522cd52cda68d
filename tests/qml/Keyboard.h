// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QGuiApplication>
#include <QObject>
#include <QtTest>

/// What TestCase.keyClick() does not know: keys that type nothing, and keys that repeat themselves.
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

    /// Repeats a Qt::Key that is pressed already, as a keyboard does while it is held.
    Q_INVOKABLE void repeat(int key) const
    {
        QWindow *const window = QGuiApplication::focusWindow();
        QVERIFY(window);
        for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress})
            qt_handleKeyEvent(window, type, key, Qt::NoModifier, QString(), true);
    }
};
