// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// What came of asking the peer: its answer, or why there is none.
struct PeerAnswer {
    std::optional<std::string> payload;
    bool authenticated = false;
    std::string problem;
};

/// One exchange with the peer's service, by the process's addresses, settings and keys. Blocks
/// until `deadline` at most. `needKey`: not without authentication.
PeerAnswer askPeer(std::string_view request, bool needKey, const Deadline& deadline);

}  // namespace KORA::HA::Daemon::support
