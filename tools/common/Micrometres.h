// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSize>
#include <QString>

/// Micrometres on the command line and in tables.
namespace Tools {

QString micrometres(double value); ///< "1.4"
QString position(double value); ///< with its sign: "+1.4"

QString fieldOfViewText(const QSize &size); ///< "860x640"

/// The field of view that fieldOfViewText() would word so; QSize() where the text is of none.
QSize fieldOfViewOf(const QString &text);

} // namespace Tools
