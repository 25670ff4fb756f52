// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hasupport/io/deadline.h"
#include "hasupport/peer/restart_record.h"
#include "hasupport/socket/status_sources.h"

namespace KORA::HA::Daemon::support {

/// What a status reply says beyond the health record, read from files: too slow to read for every
/// request, so each is read again only after a while. Used by one thread.
class StatusFacts {
  public:
    explicit StatusFacts(StatusSources sources) : sources_(std::move(sources)) {}

    /// Reads again what is due. True when something differs from before.
    bool refresh(SteadyClock::time_point now);

    bool active() const { return active_; }
    const std::vector<std::string>& constraints() const { return constraints_; }
    const std::optional<std::vector<std::string>>& degradedArrays() const {
        return degradedArrays_;
    }
    const std::optional<RestartRecord>& lastRestart() const { return lastRestart_; }

  private:
    bool refreshRole();
    bool refreshRestart();
    bool refreshConstraints();

    StatusSources sources_;
    std::optional<SteadyClock::time_point> lookedAt_;
    std::optional<SteadyClock::time_point> evaluatedAt_;
    bool active_ = false;
    std::vector<std::string> constraints_;
    std::optional<std::vector<std::string>> degradedArrays_;
    std::optional<RestartRecord> lastRestart_;
};

}  // namespace KORA::HA::Daemon::support
