// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/device_towards.h"

#include <mutex>
#include <optional>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds askEvery{10};

struct Answer {
    std::mutex mutex;  // guards everything below
    std::optional<IpAddress> peer;
    bool isOwn = false;
    SteadyClock::time_point at;
};

constinit Answer last;

bool isOwnLately(const IpAddress& peer) {
    const auto now = SteadyClock::now();
    const std::lock_guard lock(last.mutex);
    if (!last.peer || !last.peer->sameHost(peer) || now - last.at >= askEvery) {
        last.isOwn = peer.isOwn();
        last.peer = peer;
        last.at = now;
    }
    return last.isOwn;
}

}  // namespace

std::string deviceTowards(const IpAddress& peer, const std::string& interface) {
    return isOwnLately(peer) ? std::string() : interface;
}

}  // namespace KORA::HA::Daemon::support
