// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>

#include "hasupport/io/deadline.h"
#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// A started child of this process that has not been waited for. Waits for this child alone, and
/// without polling: the kernel makes its descriptor readable when it ends. Used by one thread.
class ChildProcess {
  public:
    /// `pid` must be a child that nobody else waits for; `leadsGroup`: its group bears its number.
    ChildProcess(pid_t pid, bool leadsGroup);

    /// Waits until it ended. Its exit status, 128 + N when signal N ended it; nothing when it still
    /// runs at the deadline, or (`lost()`) when somebody else took its status.
    std::optional<int> wait(const Deadline& deadline);
    bool lost() const { return lost_; }

    /// Ends the child, with its whole group when it leads one.
    void kill() const;

  private:
    std::optional<int> collect();
    void sleepUntilEnd(const Deadline& deadline) const;

    pid_t pid_;
    bool leadsGroup_;
    bool lost_ = false;
    UniqueFd descriptor_;
};

/// With SIGCHLD ignored the kernel throws away how a child ended. A launcher may have left it so;
/// the default action differs in nothing but this, so it is restored for the whole process.
void keepChildStatus();

}  // namespace KORA::HA::Daemon::support
