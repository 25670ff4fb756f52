// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

namespace koraha::test {

/// A status reply in which all is well and fresh.
Json::Value healthyStatus();

/// The same with one value changed.
Json::Value healthyBut(const std::string& key, const Json::Value& value);

/// The same with one reading that has failed, for the reason given.
Json::Value healthyWithout(const std::string& reading, const std::string& reason);

/// The same with one reading of this age in seconds.
Json::Value healthyAged(const std::string& reading, double age);

/// As the daemon would send it, without the newline.
std::string lineOf(const Json::Value& status);

}  // namespace koraha::test
