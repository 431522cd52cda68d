// SPDX-License-Identifier: Apache-2.0
#include "Setup.h"

#include <QtQuickTest>

#ifdef __SANITIZE_ADDRESS__
// Libraries stay loaded, so that a leak report can tell which of them it is about.
extern "C" int dlclose(void *) noexcept
{
    return 0;
}
#endif

QUICK_TEST_MAIN_WITH_SETUP(qml, Setup)
