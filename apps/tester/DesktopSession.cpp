// SPDX-License-Identifier: Apache-2.0
#include "DesktopSession.h"

#include <QtGlobal>

namespace {
constexpr char display[] = "DISPLAY";
constexpr char authority[] = "XAUTHORITY";
constexpr char inputMethod[] = "QT_IM_MODULE";

void put(const char *name, const QByteArray &value)
{
    if (value.isEmpty())
        qunsetenv(name);
    else
        qputenv(name, value);
}
} // namespace

DesktopSession::DesktopSession()
    : mDisplay(qgetenv(display))
    , mAuthority(qgetenv(authority))
    , mInputMethod(qgetenv(inputMethod))
{
}

void DesktopSession::restore() const
{
    if (mDisplay.isEmpty())
        return;
    put(display, mDisplay);
    put(authority, mAuthority);
    put(inputMethod, mInputMethod); // a desktop has a keyboard
}
