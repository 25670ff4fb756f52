// SPDX-License-Identifier: Apache-2.0
// What heartbeatLatency answers when it has no round trip to tell:
//
// - Too few echoes were answered, or the link did not let them out (interface down or missing,
//   address not there, network unreachable, packet filter; tried again until the time is over): the
//   time really waited. It is a true lower bound, above any sane threshold, and a fresh sample each
//   time.
// - Nothing can ever be measured (an address that is none, no right to open the socket, no memory):
//   infinity, at once. Nothing was waited for, so no number of milliseconds would be true; infinity
//   cannot be taken for a normal heartbeat, and being the same each time never looks like a fresh
//   sample. The status shows it as null, the reading as failed with the reason.
#include <algorithm>
#include <exception>
#include <limits>
#include <string>

#include "hasupport/io/notice.h"
#include "hasupport/local_probes.h"
#include "hasupport/net/echo_burst.h"
#include "hasupport/net/echo_session.h"
#include "hasupport/settings/link_addresses.h"
#include "hasupport/status/history.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

using support::Deadline;
using support::Moment;
using support::SteadyClock;

constexpr support::Milliseconds bound{1500};

constinit support::Notice unmeasurable;

void sendNext(support::EchoSession& session, support::EchoBurst& burst) {
    (void)session.open();
    const Moment before = Moment::now();
    const bool sent = session.send(burst.nextSequence());
    const Moment after = Moment::now();
    if (sent) {
        burst.sent(before, after);
    } else {
        burst.notSent(after.steady);
    }
}

/// The time begins with the first echo: however late this thread is before and after, that one has
/// all of it.
void runBurst(support::EchoSession& session, support::EchoBurst& burst) {
    sendNext(session, burst);
    const Deadline end = Deadline::in(bound);
    while (!session.hopeless() && !burst.complete() && !end.passed()) {
        const auto next = burst.nextSend();
        if (next && SteadyClock::now() >= *next) {
            sendNext(session, burst);
            continue;
        }
        const Deadline wait(next ? std::min(*next, end.at()) : end.at());
        if (const auto reply = session.receive(wait)) {
            burst.answered(*reply);
        }
    }
    // Replies that came while this thread was kept from running.
    while (const auto reply = session.receive(Deadline(SteadyClock::now()))) {
        burst.answered(*reply);
    }
}

void tellFailed(const std::string& reason) {
    unmeasurable.raise("cannot measure the heartbeat: " + reason);
    support::noteFailed(support::Reading::hbLatency, reason);
}

float measure() {
    const auto start = SteadyClock::now();
    support::EchoSession session(support::linkAddresses(), true);
    support::EchoBurst burst;
    runBurst(session, burst);
    const auto now = SteadyClock::now();
    const auto verdict = burst.verdict(now);
    if (verdict.sent == 0) {
        tellFailed(session.reason());
        if (session.hopeless()) {
            return std::numeric_limits<float>::infinity();
        }
    } else {
        unmeasurable.clear("the heartbeat is measured again");
        support::noteGood(support::Reading::hbLatency);
    }
    const float waitedMs = std::chrono::duration<float, std::milli>(now - start).count();
    const float value = verdict.medianMs.value_or(waitedMs);
    support::noteSample(support::SampleKind::hbLatency, value, verdict.sent, verdict.answered);
    return value;
}

}  // namespace

float heartbeatLatency() try { return measure(); } catch (const std::exception& failure) {
    support::noteFailed(support::Reading::hbLatency, failure.what());
    return std::numeric_limits<float>::infinity();
}

}  // namespace KORA::HA::Daemon
