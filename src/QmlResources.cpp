// SPDX-License-Identifier: Apache-2.0
#include "QmlResources.h"

#include <QtGlobal>

void initVantorQmlResources()
{
    Q_INIT_RESOURCE(vantor);
}
