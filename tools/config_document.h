// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/setting_numbers.h"

namespace korahamonctl {

/// A configuration's text as the daemon parses it; nothing, and why in `problem`, when it does not.
std::optional<Json::Value> parseConfig(const std::string& text, std::string* problem = nullptr);

/// What the daemon makes of one setting of a parsed configuration.
double settingIn(const Json::Value& document, KORA::HA::Daemon::ConfType type);

}  // namespace korahamonctl
