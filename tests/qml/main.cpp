// SPDX-License-Identifier: Apache-2.0
#include "Setup.h"

#include <QtQuickTest>

QUICK_TEST_MAIN_WITH_SETUP(qml, Setup)
