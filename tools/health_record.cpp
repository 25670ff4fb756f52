// SPDX-License-Identifier: Apache-2.0
#include "tools/health_record.h"

#include <algorithm>

namespace korahamonctl {

const Reading& HealthRecord::reading(std::string_view key) const {
    static const Reading none;
    const auto* const found = std::find(readingKeys.begin(), readingKeys.end(), key);
    return found == readingKeys.end()
               ? none
               : readings.at(static_cast<std::size_t>(found - readingKeys.begin()));
}

bool HealthRecord::peerMayBeReached() const {
    return flagOf(reading("remoteAlive")).value_or(true);
}

std::optional<bool> flagOf(const Reading& reading) {
    const bool* const flag = std::get_if<bool>(&reading.value);
    return flag != nullptr ? std::optional(*flag) : std::nullopt;
}

double numberOf(const Reading& reading) {
    if (const double* const number = std::get_if<double>(&reading.value)) {
        return *number;
    }
    return flagOf(reading).value_or(false) ? 1 : 0;
}

}  // namespace korahamonctl
