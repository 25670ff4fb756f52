// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "tools/criteria.h"
#include "tools/health_record.h"

namespace korahamonctl::front {

/// A status reply; nothing when the line is none, or when it is not plain JSON, of which the daemon
/// and the other programs read more kinds.
std::optional<HealthRecord> plainRecord(const std::string& line);

/// What a configuration's text gives to judge by; nothing when it is not plain JSON.
std::optional<Criteria> plainCriteria(const std::string& configuration);

}  // namespace korahamonctl::front
