// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_record.h"

#include <utility>

#include "hasupport/peer/restart_progress.h"
#include "hasupport/peer/restart_stamp.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::system_clock;

std::optional<system_clock::time_point> wallTime(std::int64_t seconds) {
    if (seconds == 0) {
        return std::nullopt;
    }
    return system_clock::from_time_t(seconds);
}

}  // namespace

std::optional<RestartRecord> lastRestart() {
    auto stamp = readStamp(askedStampPath()).stamp;
    if (!stamp) {
        return std::nullopt;
    }
    if (auto newer = progressSince(*stamp)) {
        stamp = std::move(newer);
    }
    return RestartRecord{system_clock::from_time_t(stamp->wallSeconds),
                         stamp->age(),
                         stamp->reason,
                         stamp->outcome,
                         wallTime(stamp->leftSeconds),
                         wallTime(stamp->backSeconds)};
}

bool restartAskedWithin(std::chrono::seconds span) {
    const StampFile file = readStamp(askedStampPath());
    return file.unreadable || (file.stamp && file.stamp->age() < span);
}

}  // namespace KORA::HA::Daemon::support
