// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

inline constexpr int stateProtocol = 1;
inline constexpr std::size_t diskNameLimit = 64;
inline constexpr std::size_t diskCountLimit = 256;

/// What one node tells the other about itself. A value that the node could not measure itself
/// comes with its reason: unknown is not false.
struct PeerState {
    bool mdResync = false;
    std::string mdResyncUnknown;  ///< not empty: why it is not known
    bool diskErrHandling = false;
    std::string diskErrHandlingUnknown;
    std::vector<std::string> disks;
    std::string software;
    std::string bootId;
    std::int64_t wallSeconds = 0;  ///< the peer's clock, seconds since the epoch
};

std::string encodeState(const PeerState& state);

/// Reads a message of the peer; nothing, with the reason in `problem`, when it is malformed. Names
/// that are too long or not printable, and names beyond the limit, are left out.
std::optional<PeerState> decodeState(std::string_view text, std::string& problem);

}  // namespace KORA::HA::Daemon::support
