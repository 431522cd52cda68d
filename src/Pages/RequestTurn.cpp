// SPDX-License-Identifier: Apache-2.0
#include "Pages/RequestTurn_p.h"

RequestTurn::RequestTurn() = default;

RequestTurn::~RequestTurn() = default;
