// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/proc_drbd.h"

#include <algorithm>
#include <array>
#include <string>

#include "hasupport/kernel/fields.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

using namespace std::string_view_literals;

// Everything from Connected on in the kernel's order of states.
constexpr std::array establishedStates{
    "Connected"sv,  "StartingSyncS"sv, "StartingSyncT"sv, "WFBitMapS"sv,   "WFBitMapT"sv,
    "WFSyncUUID"sv, "SyncSource"sv,    "SyncTarget"sv,    "PausedSyncS"sv, "PausedSyncT"sv,
    "VerifyS"sv,    "VerifyT"sv,       "Ahead"sv,         "Behind"sv};

/// Takes `key` off the front of `field`; false when it begins with something else.
bool takeKey(std::string_view& field, std::string_view key) {
    if (field.substr(0, key.size()) != key) {
        return false;
    }
    field.remove_prefix(key.size());
    return true;
}

/// "version: 8.4.11 (api:1/proto:86-101)" gives 8.
std::optional<std::uint64_t> majorVersionOf(std::string_view line) {
    if (nextField(line) != "version:") {
        return std::nullopt;
    }
    const std::string_view version = nextField(line);
    return parseUnsigned(version.substr(0, version.find('.')));
}

/// " 0: cs:Connected ro:Primary/Secondary ds:UpToDate/UpToDate C r-----"; nothing for other lines
/// and for a minor that is not configured.
std::optional<DrbdResource> parseMinorLine(std::string_view line) {
    std::string_view minor = nextField(line);
    if (minor.empty() || minor.back() != ':') {
        return std::nullopt;
    }
    minor.remove_suffix(1);
    const auto number = parseUnsigned(minor);
    std::string_view state = nextField(line);
    if (!number || !takeKey(state, "cs:") || state == "Unconfigured") {
        return std::nullopt;
    }
    DrbdResource resource;
    resource.name = "drbd" + std::to_string(*number);
    resource.established = std::find(establishedStates.begin(), establishedStates.end(), state) !=
                           establishedStates.end();
    resource.resyncTarget = isResyncTarget(state);
    for (auto field = nextField(line); !field.empty(); field = nextField(line)) {
        if (takeKey(field, "ds:")) {
            resource.upToDate = field.substr(0, field.find('/')) == "UpToDate";
        }
    }
    return resource;
}

}  // namespace

std::optional<ProcDrbd> parseProcDrbd(std::string_view text) {
    std::string_view line;
    if (!nextLine(text, line)) {
        return std::nullopt;
    }
    const auto version = majorVersionOf(line);
    if (!version) {
        return std::nullopt;
    }
    ProcDrbd drbd{*version, {}};
    while (nextLine(text, line)) {
        auto resource = parseMinorLine(line);
        if (resource && drbd.resources.size() == drbdResourceLimit) {
            return std::nullopt;  // one that is left out might be the one that is not connected
        }
        if (resource) {
            drbd.resources.push_back(std::move(*resource));
        }
    }
    return drbd;
}

}  // namespace KORA::HA::Daemon::support
