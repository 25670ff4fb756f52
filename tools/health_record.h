// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace korahamonctl {

/// One group of values that the daemon renews together, with what it says of its own trust in it.
struct Reading {
    std::variant<std::monostate, bool, double> value;  ///< nothing where it is of neither kind
    bool valid = false;
    std::optional<double> ageSeconds;
    std::string reason;  ///< why it is not valid; empty where the daemon does not say
};

/// The keys of all readings.
inline constexpr std::array<const char*, 8> readingKeys = {"remoteAlive",
                                                           "drbdConnected",
                                                           "localDiskErrHandling",
                                                           "remoteDiskErrHandling",
                                                           "localMDResync",
                                                           "remoteMDResync",
                                                           "hbLatency",
                                                           "netNonOkRate"};

/// Texts of a list; nothing in the place of what is no text.
using Names = std::vector<std::optional<std::string>>;

/// What a status reply says of the health of both nodes. It is read once, by whichever means; what
/// it does not say, or says as something odd, is nothing here. The texts are as they came: not safe
/// to print.
struct HealthRecord {
    struct Restart {
        std::optional<std::string> outcome;
        std::optional<std::string> reason;
        std::optional<double> agoSeconds;
    };

    std::optional<bool> active;
    std::array<Reading, readingKeys.size()> readings;  ///< in the order of their keys
    std::optional<Names> errHandlingDisks;
    std::optional<Names> errHandlingDisksRemote;
    std::optional<Names> degradedArrays;
    std::optional<Names> constraints;
    std::optional<Restart> lastRestart;
    std::optional<std::string> softwareVersion;
    std::optional<double> pid;
    std::optional<double> uptimeSeconds;

    /// The reading of this key; an empty one where no reading has it.
    const Reading& reading(std::string_view key) const;
    /// False when it is known that the peer is not reached.
    bool peerMayBeReached() const;
};

/// A flag as it came; nothing where it is none.
std::optional<bool> flagOf(const Reading& reading);
/// A number as it came, of a flag 1 or 0.
double numberOf(const Reading& reading);

}  // namespace korahamonctl
