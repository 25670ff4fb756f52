// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// What a run of drbdsetup gave: its output, or why there is none.
struct DrbdsetupOutput {
    std::string text;
    std::string failure;  ///< empty: `text` is all that it printed
};

/// Runs `drbdsetup events2 --now all`: with a deadline, bounded output, and never a second one
/// while the first lives (with a wedged module it cannot even be killed). Any thread; callers wait
/// for each other within the limit.
class Drbdsetup {
  public:
    /// The first of `programs` that can be run is used.
    explicit Drbdsetup(std::vector<std::string> programs = {"/usr/sbin/drbdsetup",
                                                            "/sbin/drbdsetup"},
                       Milliseconds limit = Milliseconds(2000));

    DrbdsetupOutput events();

  private:
    bool takeTurn(const Deadline& deadline);
    void endTurn();
    DrbdsetupOutput run(const Deadline& deadline);
    bool leftoverLives();

    const std::vector<std::string> programs_;
    const Milliseconds limit_;
    std::mutex mutex_;  // guards running_; never held while something runs
    std::condition_variable ended_;
    bool running_ = false;
    pid_t leftover_ = 0;  // of whoever runs: a child that did not end in time
};

/// The process's own, so that all probes together run one at a time.
Drbdsetup& processDrbdsetup();

}  // namespace KORA::HA::Daemon::support
