// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hasupport/io/deadline.h"
#include "hasupport/socket/status_facts.h"
#include "hasupport/socket/status_snapshot.h"

namespace KORA::HA::Daemon::support {

/// A line that several connections may be sending at the same time.
using SharedLine = std::shared_ptr<const std::string>;

/// The reply to a status request. It is rendered when something has changed or when its ages are
/// more than a second old, not per request. Used by one thread.
class StatusReply {
  public:
    explicit StatusReply(StatusSources sources) : facts_(std::move(sources)) {}

    /// The line as it is now, with its line end.
    SharedLine line(const Status& status, SteadyClock::time_point now);

    /// Grows by one with every change seen by `line`; ages and uptime are no changes.
    std::uint64_t changes() const { return changes_; }

  private:
    std::string render(SteadyClock::time_point now) const;

    StatusFacts facts_;
    StatusSnapshot snapshot_;
    std::uint64_t changes_ = 0;
    SteadyClock::time_point renderedAt_;
    SharedLine line_;
};

}  // namespace KORA::HA::Daemon::support
