// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/criteria.h"

namespace korahamonctl {

/// What a configuration's text gives to judge by; what it does not give counts with its default, as
/// all does where it is no configuration.
Criteria criteriaFrom(const std::string& configuration);

/// The paces among them.
Paces pacesFrom(const std::string& configuration);

/// The paces that a file gives; without one the defaults hold.
Paces pacesOfFile(const std::string& path);

}  // namespace korahamonctl
