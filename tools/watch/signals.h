// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

#include "hasupport/io/unique_fd.h"

namespace korahamonctl::watch {

/// The signals that a program on a terminal gets, as something to read: none of them interrupts
/// anything. As long as this lives they are blocked. SIGTSTP has a handler besides, because ncurses
/// leaves it alone then; else it ignores it while it draws, which throws away one that waits. Used
/// by one thread, in a process of one thread, before the terminal.
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int descriptor() const { return fd_.get(); }
    /// The next one that came; 0 when there is none.
    int next();
    /// Lets the signal do what it does by itself: stop the process, or end it.
    void obey(int signal);

  private:
    sigset_t before_{};
    struct sigaction stopBefore_ {};
    KORA::HA::Daemon::support::UniqueFd fd_;
};

}  // namespace korahamonctl::watch
