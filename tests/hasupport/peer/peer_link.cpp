// SPDX-License-Identifier: Apache-2.0
#include "peer_link.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "hasupport/replication_link.h"
#include "tests/support/in_namespace.h"
#include "tests/support/small_stack.h"

namespace koraha::test {

namespace support = KORA::HA::Daemon::support;

PeerLink::PeerLink(const std::string& local, const std::string& remote) {
    localIP(local);
    remoteIP(remote);
    drbdIF("lo");
    settings.peerKeyPath = path("peer.key");
    settings.stampDirectory = path();
    settings.drbd = false;
    settings.peerTimeoutMs = 20'000;  // no test of an answer depends on how busy the machine is
    settings.orderlyCommand = {writeCounter("restarts")};
    support::TEST_replaceSupportSettings(&settings);
}

PeerLink::~PeerLink() {
    support::TEST_replaceSupportSettings(nullptr);
    localIP({});
    remoteIP({});
    drbdIF({});
}

void PeerLink::giveKey(char fill, const std::string& suffix, mode_t mode) const {
    // Moved into place: a key that is only half there would be a refused one.
    scratch_.write("key.new", std::string(32, fill), mode);
    std::filesystem::rename(path("key.new"), path("peer.key" + suffix));
}

void PeerLink::takeKey(const std::string& suffix) const {
    std::filesystem::remove(path("peer.key" + suffix));
}

std::size_t PeerLink::countOf(const std::string& name) const {
    const std::string lines = scratch_.read(name);
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
}

std::string PeerLink::writeCounter(const std::string& name, int status) const {
    return scratch_.write(
        "bin/" + name,
        "#!/bin/sh\necho \"$*\" >> " + path(name) + "\nexit " + std::to_string(status) + "\n",
        0755);
}

void onLoopback(const std::function<void()>& body) {
    inOwnNetwork([&body] { onSmallStack(body); });
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace koraha::test
