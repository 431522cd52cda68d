// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>
#include <QtTest>

/// Lines of the log that a test waits for; TestCase knows warnings only.
class Expect : public QObject
{
    Q_OBJECT

public:
    /// The running test fails unless this text is logged as an error.
    Q_INVOKABLE void error(const QString &text) const { QTest::ignoreMessage(QtCriticalMsg, qPrintable(text)); }

    /// The running test fails unless this text is logged for developers.
    Q_INVOKABLE void debug(const QString &text) const { QTest::ignoreMessage(QtDebugMsg, qPrintable(text)); }
};
