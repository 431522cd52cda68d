// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A header without a type has to show its use as well.
#define MUTE_DOUBLE(value) (2 * (value))
