// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JobTest.h"

/// Base of the tests of who works with keys alone.
class KeyboardTest : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

protected:
    /// Presses Tab until the item, or something within it, has the keyboard. Wherever that is on the way it has to be
    /// seen: what is wrong is added to faults().
    bool tabTo(const char *name);

    /// Tabs to the item and presses Return, once the pages have come to rest and it can be used.
    bool enter(const char *name);

    /// Types into the line that has the keyboard, in place of what is there.
    void write(const QString &text) const;

    /// Tabs to a line and types into it.
    bool writeInto(const char *name, const QString &text);

    /// Waits until the keyboard is at the item, as when a page opens.
    bool waitForFocus(const char *name) const;

    bool isFocused(const char *name) const;
    QString focusedName() const;

    const QStringList &faults() const { return mFaults; }

private:
    void checkFocus();
    bool isRingShown() const;
    bool isInSight(const QQuickItem *item) const;

    QStringList mFaults;
};
