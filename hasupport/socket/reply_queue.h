// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "hasupport/socket/history_reply.h"
#include "hasupport/socket/status_reply.h"

namespace KORA::HA::Daemon::support {

/// The one reply that a connection has on its way: no further request is looked at before it is
/// out, so that a client cannot make replies pile up. What throws leaves half a reply behind: the
/// connection is of no more use then.
class ReplyQueue {
  public:
    enum class Sent : std::uint8_t { all, some, none, broken };

    bool isEmpty() const { return line_ == nullptr; }
    void put(SharedLine line);
    void put(HistoryReply history);

    /// Sends as much as the socket takes, in a bounded number of calls; never blocks.
    Sent send(int fd);

  private:
    bool refill();

    SharedLine line_;
    std::size_t at_ = 0;
    std::optional<HistoryReply> history_;
};

}  // namespace KORA::HA::Daemon::support
