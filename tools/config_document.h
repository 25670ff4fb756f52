// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "config/config_table.h"

namespace korahamonctl {

/// A configuration's text as the daemon parses it; nothing, and why in `problem`, when it does not.
std::optional<Json::Value> parseConfig(const std::string& text, std::string* problem = nullptr);

/// What the daemon makes of one setting of a parsed configuration: the number that stands there, or
/// spelled as a text, else the default; whole where the setting is.
double settingIn(const Json::Value& document, KORA::HA::Daemon::ConfType type);

/// The number that the daemon takes a text for where it wants this setting's; nothing when it takes
/// it for none.
std::optional<double> numberIn(KORA::HA::Daemon::ConfType type, const std::string& text);

/// Whether a setting may have a fraction.
bool isReal(KORA::HA::Daemon::ConfType type);

}  // namespace korahamonctl
