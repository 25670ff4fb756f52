// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "tools/exporter/observation.h"
#include "tools/status_command.h"
#include "tools/status_query.h"

namespace korahamonctl {

/// One answer of the daemon, shared by all who ask within a time: a hundred readers cost it no more
/// than one. Any thread may ask; nobody waits longer than the daemon is given.
class SharedAnswer {
  public:
    using Clock = std::chrono::steady_clock;

    struct Answer {
        StatusAnswer said;
        Clock::time_point at;  ///< when it had come
        double seconds = 0;    ///< how long it took
    };

    SharedAnswer(std::string socketPath, std::string request, Clock::duration lasts);
    std::shared_ptr<const Answer> latest();

  private:
    bool isFresh() const;

    const std::string socketPath_;
    const std::string request_;
    const Clock::duration lasts_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable answered_;
    bool asking_ = false;
    std::shared_ptr<const Answer> answer_;
};

/// Looks at the daemon on behalf of scrapes and pages.
class Observer {
  public:
    explicit Observer(const StatusOptions& options);

    /// What is known now: at most a second old, the history five. Takes 3 s at most, and no more
    /// than 1.5 s when the daemon hangs.
    Observation look();

  private:
    std::string configuration_;
    SharedAnswer status_;
    SharedAnswer history_;
};

}  // namespace korahamonctl
