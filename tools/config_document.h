#pragma once

#include <json/value.h>

#include <optional>
#include <string>

namespace korahamonctl {

/// A configuration's text as the daemon parses it; nothing, and why in `problem`, when it does not.
std::optional<Json::Value> parseConfig(const std::string& text, std::string* problem = nullptr);

}  // namespace korahamonctl
