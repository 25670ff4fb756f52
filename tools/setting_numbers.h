// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "config/config_table.h"

namespace korahamonctl {

/// What stands in a configuration for one setting: a text, or what counts as a number, which null,
/// false and true do as well, as 0, 0 and 1; nothing where it is missing, a list or an object.
using Configured = std::variant<std::monostate, std::string, double>;

/// What the daemon makes of that: the number that stands there, or spelled as a text, else the
/// default; whole where the setting is.
double settingFrom(const Configured& configured, KORA::HA::Daemon::ConfType type);

/// The number that the daemon takes a text for where it wants this setting's; nothing when it takes
/// it for none.
std::optional<double> numberIn(KORA::HA::Daemon::ConfType type, const std::string& text);

/// Whether a number can be read as a whole one; the daemon ends at any other where it wants one.
bool fitsWhole(double number);

/// Whether a setting may have a fraction.
bool isReal(KORA::HA::Daemon::ConfType type);

}  // namespace korahamonctl
