// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "hasupport/io/unique_fd.h"
#include "peer_link.h"

namespace koraha::test {

/// The other node: a process of its own that serves its peer until this object goes. A restart that
/// it obeys is a line in its file "restarts". For use inside onLoopback.
class PeerNode {
  public:
    /// `prepare` runs in the node's process: it gives keys and changes settings.
    PeerNode(const std::string& local, const std::string& remote,
             const std::function<void(PeerLink&)>& prepare);
    ~PeerNode();
    PeerNode(const PeerNode&) = delete;
    PeerNode& operator=(const PeerNode&) = delete;

    /// The node's stamps, key and counters lie here.
    std::string path(const std::string& name) const { return directory_ + "/" + name; }
    std::string read(const std::string& name) const;
    std::size_t restarts() const;

  private:
    KORA::HA::Daemon::support::UniqueFd life_;
    pid_t pid_ = -1;
    std::string directory_;
};

}  // namespace koraha::test
