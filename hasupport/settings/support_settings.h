// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KORA::HA::Daemon::support {

/// How a peer is restarted.
enum class RestartMethod : std::uint8_t { request, command, requestThenCommand };

/// The support library's own settings, from the optional "/var/lib/ha/hasupport.conf" (JSON).
struct SupportSettings {
    std::uint16_t peerPort = 8909;
    int peerTimeoutMs = 1000;        ///< one request of the probes, in all
    std::vector<std::string> disks;  ///< disks to watch besides those under volumes
    bool drbd = true;                ///< false: this pair mirrors without DRBD
    RestartMethod restart = RestartMethod::request;
    std::vector<std::string> restartCommand;  ///< run by the node that restarts its peer
    int restartCommandMs = 60'000;            ///< how long that may run
    std::vector<std::string> orderlyCommand;  ///< run by the node that was asked to restart
    std::string peerKeyPath = "/var/lib/ha/peer.key";
    std::string stampDirectory = "/var/lib/ha";  ///< restart stamps and the maintenance marker
};

/// Reads settings from JSON text. Unknown members are ignored; an unusable one keeps its default
/// and adds a line to `problems`.
SupportSettings parseSupportSettings(const std::string& text, std::vector<std::string>& problems);

/// Reads the file at `path`. One that is not owned by root, is writable by others or does not parse
/// is ignored; that and every unusable member is said in the system log.
SupportSettings loadSupportSettings(const std::string& path);

/// The process's settings, read once at the first call. Any thread.
const SupportSettings& supportSettings();

/// For tests only. Null brings the real ones back.
void TEST_replaceSupportSettings(const SupportSettings* settings);

}  // namespace KORA::HA::Daemon::support
