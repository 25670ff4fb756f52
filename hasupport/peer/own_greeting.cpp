// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/own_greeting.h"

#include <algorithm>
#include <array>
#include <mutex>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t atOnce = 8;  // the routines ask two at a time at most

struct OnTheirWay {
    std::mutex mutex;  // guards everything below
    std::array<Nonce, atOnce> nonces{};
};

constinit OnTheirWay onTheirWay;
constexpr Nonce none{};

void replace(const Nonce& old, const Nonce& fresh) {
    const std::lock_guard lock(onTheirWay.mutex);
    auto& all = onTheirWay.nonces;
    const auto place = std::find(all.begin(), all.end(), old);
    if (place != all.end()) {
        *place = fresh;
    }
}

}  // namespace

OwnGreeting::OwnGreeting(const Nonce& nonce) : nonce_(nonce) {
    replace(none, nonce_);
}

OwnGreeting::~OwnGreeting() {
    replace(nonce_, none);
}

bool OwnGreeting::has(const Nonce& nonce) {
    const std::lock_guard lock(onTheirWay.mutex);
    const auto& all = onTheirWay.nonces;
    return nonce != none && std::find(all.begin(), all.end(), nonce) != all.end();
}

}  // namespace KORA::HA::Daemon::support
