#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "tools/paces.h"

namespace korahamonctl {

/// What is known about one group of values in a reply.
enum class Knowledge { known, stale, unknown };
Knowledge knowledgeOf(const Json::Value& status, const std::string& reading, const Paces& paces);

/// Everything in a status reply that gives cause for alarm, a few words each: the peer not alive,
/// DRBD not connected, error handling on either node, a degraded array, and every value that is
/// unknown or stale. Empty when all is well; a resynchronisation is well. Values that only a peer
/// in reach can renew are not counted again while it is away.
std::vector<std::string> concernsIn(const Json::Value& status, const Paces& paces);

}  // namespace korahamonctl
