// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/health_record.h"
#include "tools/paces.h"

namespace korahamonctl {

/// What is known about one group of values in a reply.
enum class Knowledge { known, stale, unknown };
Knowledge knowledgeOf(const Reading& reading, const std::string& key, const Paces& paces);

/// One cause for alarm, in a few words that are safe to print.
struct Concern {
    std::string text;
    bool unknown = false;  ///< nothing is known to be wrong, but something is not known
    std::string reason;    ///< why it is not known, where the daemon says
};

/// Everything in a status reply that gives cause for alarm: the peer not alive,
/// DRBD not connected, error handling on either node, a degraded array, and every value that is
/// unknown or stale. Empty when all is well; a resynchronisation is well. Values that only a peer
/// in reach can renew are not counted again while it is away.
std::vector<Concern> concernsIn(const HealthRecord& record, const Paces& paces);

}  // namespace korahamonctl
