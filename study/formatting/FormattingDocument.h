// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// The whole of docs/formatting.md, evaluated by a QML engine as a page would. Empty when it cannot be made; `problem`
/// says why.
QString formattingDocument(QString *problem);
