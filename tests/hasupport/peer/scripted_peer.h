// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/io/unique_fd.h"
#include "hasupport/peer/frame.h"

namespace koraha::test {

/// What a scripted peer does to one connection, with blocking calls that give up after 20 seconds.
class PeerSide {
  public:
    explicit PeerSide(int fd) : fd_(fd) {}

    /// The next frame; nothing when the client left.
    std::optional<KORA::HA::Daemon::support::Frame> receive();
    bool send(const std::string& bytes) const;
    /// Byte by byte, each after the pause, until all are sent or the client has left.
    void drip(const std::string& bytes, std::chrono::milliseconds pause) const;
    /// Waits until the client has left.
    void holdOn();

    /// Takes the greeting and challenges with the key (null: with none).
    std::optional<KORA::HA::Daemon::support::Session> challenge(
        const KORA::HA::Daemon::support::PeerKey* key);
    /// A whole honest exchange that ends with the answer.
    void answer(const std::string& payload,
                const KORA::HA::Daemon::support::PeerKey* key = nullptr);

  private:
    int fd_;
};

/// A server on the peer's port of 127.0.0.1 that treats one connection after the other as its
/// script says. For use inside onLoopback.
class ScriptedPeer {
  public:
    using Script = std::function<void(PeerSide&)>;

    explicit ScriptedPeer(Script script);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    unsigned connections() const { return connections_; }

  private:
    void run();

    Script script_;
    KORA::HA::Daemon::support::UniqueFd listener_;
    std::atomic<bool> stop_{false};
    std::atomic<unsigned> connections_{0};
    std::thread thread_;
};

}  // namespace koraha::test
