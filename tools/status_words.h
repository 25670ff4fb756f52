// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>

#include "tools/health_record.h"

namespace korahamonctl {

/// A flag of the status and what a person is told for it.
struct FlagWords {
    const char* key;
    const char* label;
    const char* whenTrue;
    const char* whenFalse;
    bool ofPeer;  ///< renewed only while the peer answers
};
inline constexpr std::array<FlagWords, 6> flagWords = {{
    {"remoteAlive", "peer", "alive", "NOT ALIVE", false},
    {"drbdConnected", "DRBD", "connected", "NOT CONNECTED", false},
    {"localMDResync", "arrays here", "resynchronising", "no resync", false},
    {"remoteMDResync", "arrays of the peer", "resynchronising", "no resync", true},
    {"localDiskErrHandling", "disks here", "ERROR HANDLING", "no error handling", false},
    {"remoteDiskErrHandling", "disks of the peer", "ERROR HANDLING", "no error handling", true},
}};

/// The word for a flag's value, whether it is known or not.
const char* wordOf(const FlagWords& flag, const Reading& reading);

/// "active", "passive" or "unknown".
std::string roleOf(const std::optional<bool>& active);

/// A text, bounded and safe to print.
std::string textOf(const std::optional<std::string>& text, const char* otherwise);
/// The texts of a list, bounded and safe to print.
std::string joined(const Names& names);
/// How many items of a list are shown; and what stands for the rest.
inline constexpr std::size_t shownItems = 32;
std::string moreOf(std::size_t items);

/// One number as printf would write it.
std::string formatted(const char* form, double value);

}  // namespace korahamonctl
