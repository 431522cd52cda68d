// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TesterTest.h"

/// Base of the tests of jobs: what a technician does from the first name to the last verdict.
class JobTest : public TesterTest
{
    Q_OBJECT

public:
    using TesterTest::TesterTest;

protected:
    QQuickWindow *window() const { return driver().window(); }

    /// Types into a line of the page, in place of what is there.
    bool type(const char *name, const QString &text) const;

    /// Makes a job of the points by the page; returns with its panel on top.
    bool makeJob(const QString &name, const QString &first, const QString &last) const;

    /// Puts the scope on an end face and opens the live picture of the selected point, or goes on with it; returns when
    /// a sharp picture is seen.
    bool aimAt(const char *face) const;

    /// Returns when the live filter has come after the picture: on its way up the value looks like a knob that is
    /// turned.
    bool waitForSteadyFocus() const;

    /// The selected point, from the key to the page with its verdict.
    bool inspect(const char *face) const;

    QString textOf(const char *name) const;
    bool waitForText(const char *name, const QString &text) const;
};
