// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/remote_state.h"

#include <mutex>
#include <utility>

#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
#include "hasupport/io/telling_rate.h"
#include "hasupport/peer/peer_client.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds freshFor{2};

struct Kept {
    std::mutex mutex;
    std::optional<RemoteState> outcome;
    SteadyClock::time_point at;
};

Kept& kept() {
    static Kept theOne;
    return theOne;
}

/// Says that the peer is silent, or not any more, once per change. The peer has a part in the words
/// of a refusal, so that changes alone would not bound how much is said.
void tell(const RemoteState& outcome) {
    static std::mutex mutex;
    static std::string told;
    static constinit TellingRate rate;
    const std::string now = outcome.state ? std::string() : outcome.problem;
    const std::lock_guard lock(mutex);
    if (now == told || !rate.allows()) {
        return;
    }
    told = now;
    notify(now.empty() ? "the peer tells its state again"
                       : "the peer does not tell its state: " + now);
}

RemoteState ask() {
    const Milliseconds bound(supportSettings().peerTimeoutMs);
    const PeerAnswer answer = askPeer(R"({"request":"state"})", false, Deadline::in(bound));
    RemoteState outcome{std::nullopt, answer.problem};
    if (answer.payload) {
        outcome.state = decodeState(*answer.payload, outcome.problem);
    }
    tell(outcome);
    return outcome;
}

}  // namespace

RemoteState askForState() {
    RemoteState outcome = ask();
    const std::lock_guard lock(kept().mutex);
    kept().outcome = outcome;
    kept().at = SteadyClock::now();
    return outcome;
}

RemoteState lastOutcomeOrAsk() {
    {
        const std::lock_guard lock(kept().mutex);
        auto outcome = std::exchange(kept().outcome, std::nullopt);
        if (outcome && SteadyClock::now() - kept().at <= freshFor) {
            return *outcome;
        }
    }
    return ask();
}

}  // namespace KORA::HA::Daemon::support
