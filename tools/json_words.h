// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

#include "tools/health_record.h"
#include "tools/paces.h"
#include "tools/status_judgement.h"
#include "tools/status_words.h"

// Reading what somebody else has put together, as jsoncpp has parsed it: nothing is taken for
// granted.
namespace korahamonctl {

const Json::Value& member(const Json::Value& object, const std::string& key);
bool isTrue(const Json::Value& value);
bool hasItems(const Json::Value& list);
/// A text, bounded and safe to print.
std::string textOf(const Json::Value& value, const char* otherwise);
/// The texts of a list, bounded and safe to print.
std::string joined(const Json::Value& list);

/// What a status reply says.
HealthRecord recordOf(const Json::Value& status);

// The same of a status reply as of its record.
std::string roleOf(const Json::Value& status);
const char* wordOf(const FlagWords& flag, const Json::Value& status);
Knowledge knowledgeOf(const Json::Value& status, const std::string& key, const Paces& paces);
std::vector<Concern> concernsIn(const Json::Value& status, const Paces& paces);

}  // namespace korahamonctl
