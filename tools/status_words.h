// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <array>
#include <string>

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
const char* wordOf(const FlagWords& flag, const Json::Value& status);

/// "active", "passive" or "unknown".
std::string roleOf(const Json::Value& status);

// Reading what somebody else has put together: nothing is taken for granted.

const Json::Value& member(const Json::Value& object, const std::string& key);
bool isTrue(const Json::Value& value);
bool hasItems(const Json::Value& list);
/// A text, bounded and safe to print.
std::string textOf(const Json::Value& value, const char* otherwise);
/// The texts of a list, bounded and safe to print.
std::string joined(const Json::Value& list);
/// How many items of a list are shown; and what stands for the rest.
inline constexpr Json::ArrayIndex shownItems = 32;
std::string moreOf(const Json::Value& list);

/// One number as printf would write it.
std::string formatted(const char* form, double value);

}  // namespace korahamonctl
