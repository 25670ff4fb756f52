// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "tools/front/request.h"
#include "tools/told.h"

namespace korahamonctl::front {

/// What is told for a request; nothing when what the daemon says, or its configuration, is not
/// plain.
std::optional<Told> answer(const Request& request);

}  // namespace korahamonctl::front
