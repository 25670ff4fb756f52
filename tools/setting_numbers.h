// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "config/config_table.h"

namespace korahamonctl {

/// What stands in a configuration for one setting; nothing where that is neither text nor number.
using Configured = std::variant<std::monostate, std::string, double>;

/// What the daemon makes of that: the number that stands there, or spelled as a text, else the
/// default; whole where the setting is.
double settingFrom(const Configured& configured, KORA::HA::Daemon::ConfType type);

/// The number that the daemon takes a text for where it wants this setting's; nothing when it takes
/// it for none.
std::optional<double> numberIn(KORA::HA::Daemon::ConfType type, const std::string& text);

/// Whether a setting may have a fraction.
bool isReal(KORA::HA::Daemon::ConfType type);

}  // namespace korahamonctl
