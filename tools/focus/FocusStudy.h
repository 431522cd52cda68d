// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Focus {

struct Effort;

/// Measures painted stacks and writes what they tell: the tables of `folder`/focus.md, which are filled into the text
/// that stands there already, and the plots `folder`/images/focus-*.svg. Equal on every run but for the progress on
/// stderr.
/// @return whether all was written; if not, problem says why
bool runFocusStudy(const QString &folder, const Effort &effort, QString *problem);

} // namespace Focus
