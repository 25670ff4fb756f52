#include "hasupport/peer/remote_state.h"

#include <mutex>
#include <utility>

#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
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

constinit Notice silentPeer;

RemoteState ask() {
    const Milliseconds bound(supportSettings().peerTimeoutMs);
    const PeerAnswer answer = askPeer(R"({"request":"state"})", false, Deadline::in(bound));
    RemoteState outcome{std::nullopt, answer.problem};
    if (answer.payload) {
        outcome.state = decodeState(*answer.payload, outcome.problem);
    }
    if (outcome.state) {
        silentPeer.clear("the peer tells its state again");
    } else {
        silentPeer.raise("the peer does not tell its state: " + outcome.problem);
    }
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
