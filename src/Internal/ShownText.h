// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// Texts of people, which may have come from elsewhere. Not exported: who needs it compiles it in.
namespace ShownText {

/// A text as it can be drawn in one line: line breaks become blanks, other control characters a replacement, and what
/// would turn the direction of the text around it, or pile up over it, goes.
QString of(const QString &text);

} // namespace ShownText
