// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

/// The display that a desktop gave to the program. The unit's start-up code overwrites it, because there the service
/// manager gives none.
class DesktopSession
{
public:
    /// Remembers what the environment says now.
    DesktopSession();

    /// Puts it back, if there was a display.
    void restore() const;

private:
    const QByteArray mDisplay;
    const QByteArray mAuthority;
    const QByteArray mInputMethod;
};
