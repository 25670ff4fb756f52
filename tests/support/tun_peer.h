// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace koraha::test {

using Packet = std::vector<std::uint8_t>;

/// One echo request that arrived at the peer, as a whole IP packet.
struct Request {
    unsigned number = 0;  ///< from 1
    Packet packet;

    bool isV6() const { return (packet.at(0) >> 4U) == 6; }
    std::size_t icmpAt() const { return isV6() ? 40 : 20; }

    /// The proper reply to it.
    Packet reply() const;
};

/// Sets the checksum of the ICMP message inside an IP packet.
void fixChecksum(Packet& packet);

/// A peer at the other end of a tunnel device of this network namespace, played by a thread: the
/// test's script says what it answers. For use inside inOwnNetwork.
class TunPeer {
  public:
    struct Answer {
        Packet packet;
        std::chrono::milliseconds after{0};
    };
    using Script = std::function<std::vector<Answer>(const Request&)>;

    static constexpr const char* device = "tun0";
    static constexpr const char* local = "192.0.2.1";
    static constexpr const char* remote = "192.0.2.2";
    static constexpr const char* localV6 = "2001:db8::1";
    static constexpr const char* remoteV6 = "2001:db8::2";
    static constexpr const char* localLink = "fe80::1";
    static constexpr const char* remoteLink = "fe80::2";

    explicit TunPeer(Script script);
    ~TunPeer();
    TunPeer(const TunPeer&) = delete;
    TunPeer& operator=(const TunPeer&) = delete;

    unsigned requests() const { return requests_; }

    /// A script: answers each request at once.
    static std::vector<Answer> honest(const Request& request);

  private:
    struct Due {
        std::chrono::steady_clock::time_point at;
        Packet packet;
    };

    void run();
    void takeRequest();
    void sendDue();
    int untilNextDue() const;

    Script script_;
    int fd_ = -1;
    std::atomic<bool> stop_{false};
    std::atomic<unsigned> requests_{0};
    std::vector<Due> due_;  // the thread's own
    std::thread thread_;
};

}  // namespace koraha::test
