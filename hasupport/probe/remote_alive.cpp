// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <exception>

#include "hasupport/io/notice.h"
#include "hasupport/net/echo_session.h"
#include "hasupport/peer/restart_progress.h"
#include "hasupport/remote_probes.h"
#include "hasupport/settings/link_addresses.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

using support::Deadline;
using support::Milliseconds;
using support::SteadyClock;

constexpr std::uint16_t tries = 3;
constexpr Milliseconds tryEvery{333};
constexpr Milliseconds bound{1000};
// What a try gets at least. It only matters to a thread that was kept from running: a request sent
// too late to be answered in time would prove nothing.
constexpr Milliseconds fairWait{100};

constinit support::Notice unaskable;

struct Outcome {
    bool alive = false;
    bool asked = false;  ///< at least one echo went out
};

Outcome askPeer(support::EchoSession& session) {
    Outcome outcome;
    SteadyClock::time_point start;
    for (std::uint16_t number = 1; number <= tries && !outcome.alive; ++number) {
        outcome.asked = session.send(number) || outcome.asked;
        if (session.hopeless()) {
            break;
        }
        const auto now = SteadyClock::now();
        start = number == 1 ? now : start;
        const auto until = start + (number == tries ? bound : tryEvery * number);
        outcome.alive = session.receive(Deadline(std::max(until, now + fairWait))).has_value();
    }
    return outcome;
}

void tell(const Outcome& outcome, const support::EchoSession& session) {
    if (outcome.asked) {
        unaskable.clear("the peer can be asked again");
        support::noteFlag(support::Reading::remoteAlive, outcome.alive);
        return;
    }
    unaskable.raise("cannot ask whether the peer is alive: " + session.reason());
    support::noteFailed(support::Reading::remoteAlive, session.reason());
}

bool isPeerAlive() {
    support::EchoSession session(support::linkAddresses(), false);
    const Outcome outcome = askPeer(session);
    tell(outcome, session);
    if (outcome.asked) {
        support::noteRestartProgress(outcome.alive);
    }
    return outcome.alive;
}

}  // namespace

IsRemoteAlive::IsRemoteAlive() = default;
IsRemoteAlive::~IsRemoteAlive() = default;

bool IsRemoteAlive::operator()() try {
    return isPeerAlive();
} catch (const std::exception& failure) {
    support::noteFailed(support::Reading::remoteAlive, failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon
