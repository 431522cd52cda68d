// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLoggingCategory>

namespace FiberInspection {

/// Qt's default category, for qCDebug and its kin: unlike qDebug(), they build no text for a level that is switched
/// off.
inline const QLoggingCategory &messageLog()
{
    return *QLoggingCategory::defaultCategory();
}

} // namespace FiberInspection
