// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace koraha::faults {

// Both nodes are on this machine's own loopback interface.
inline constexpr const char* ownAddress = "10.77.1.1";
inline constexpr const char* peerAddress = "10.77.1.2";
inline constexpr const char* interface = "lo";

}  // namespace koraha::faults
