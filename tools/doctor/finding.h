// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hasupport/settings/support_settings.h"
#include "tools/status_query.h"

namespace korahamonctl::doctor {

enum class Verdict : std::uint8_t {
    fine,
    note,  ///< it works, but the operator should know
    bad,   ///< keeps the node from working as it should
};

/// What one look at this node has found; safe to print.
struct Finding {
    Verdict verdict = Verdict::fine;
    std::string point;   ///< what was looked at
    std::string text;    ///< what was found there
    std::string remedy;  ///< how to mend it; empty when it is fine
};

using Findings = std::vector<Finding>;

/// The remedy where only root may look.
inline constexpr const char* runAsRoot = "run this as root";

/// The node that is looked at, and what is already known of it.
struct Node {
    std::string root;           ///< put before each path; empty: this system
    std::string configuration;  ///< the daemon's, a path as it is
    StatusAnswer answer;        ///< what the daemon says
    KORA::HA::Daemon::support::SupportSettings settings;

    std::string path(const std::string& absolute) const { return root + absolute; }
    /// The daemon's process number as it says; nothing when it does not answer.
    std::optional<int> pid() const;
    /// A file of the daemon's process under /proc, or of this one when there is no daemon.
    std::string procPath(const std::string& name) const;
};

/// The directories that the daemon works in, and the marker that forbids restarts.
Findings examineDirectories(const Node& node);
/// The configuration of the daemon.
Findings examineConfiguration(const Node& node);
/// The support library's own file; sets `node.settings`.
Findings examineSettings(Node& node);
/// The key for the peer.
Findings examineKey(const Node& node);
/// The programs that are run: the cluster's tool, and what restarts the peer.
Findings examinePrograms(const Node& node);
/// The running daemon: whether it answers, what it says, how it was started.
Findings examineDaemon(const Node& node);
/// Locked memory and the right to send echoes.
Findings examineRights(const Node& node);
/// The port for the peer.
Findings examinePort(const Node& node);
/// DRBD's module and its program.
Findings examineDrbd(const Node& node);

}  // namespace korahamonctl::doctor
