// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_burst.h"

#include <algorithm>
#include <limits>

namespace KORA::HA::Daemon::support {
namespace {

using Nanoseconds = std::chrono::nanoseconds;

/// True when the wall clock was stepped between the two moments.
bool stepped(const Moment& from, const Moment& to) {
    const auto drift = (to.wall - from.wall) - (to.steady - from.steady);
    return std::chrono::abs(drift) > EchoBurst::lateness;
}

float toMs(Nanoseconds span) {
    return std::chrono::duration<float, std::milli>(span).count();
}

/// Round trips in order, good ones before others, lost ones as the longest of all.
struct Judged {
    std::array<Nanoseconds, EchoBurst::most> trips{};
    std::size_t count = 0;

    void add(Nanoseconds trip) { trips.at(count++) = trip; }
};

constexpr Nanoseconds lost = Nanoseconds::max();

}  // namespace

std::size_t EchoBurst::usable() const {
    const auto all = entries();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [](const Entry& entry) { return entry.clean; }));
}

std::optional<SteadyClock::time_point> EchoBurst::nextSend() const {
    if (usable() >= wanted || count_ >= most) {
        return std::nullopt;
    }
    return nextAt_;
}

void EchoBurst::sent(const Moment& before, const Moment& after) {
    if (count_ == most) {
        return;
    }
    Entry& entry = entries_.at(count_++);
    entry.before = before;
    entry.clean = after.steady - before.steady <= lateness;
    nextAt_ = after.steady + spacing;
}

void EchoBurst::notSent(SteadyClock::time_point at) {
    refused_ = std::min(refused_ + 1, wanted);
    nextAt_ = at + spacing;
}

void EchoBurst::answered(const EchoReply& reply) {
    if (reply.sequence == 0 || reply.sequence > count_) {
        return;
    }
    Entry& entry = entries_.at(reply.sequence - 1U);
    if (entry.roundTrip) {
        return;  // a duplicate
    }
    if (reply.stamp && !stepped(entry.before, reply.received)) {
        const auto trip = *reply.stamp - entry.before.wall;
        if (trip >= Nanoseconds(0) && *reply.stamp <= reply.received.wall) {
            entry.roundTrip = trip;
            return;
        }
    }
    // Without the kernel's stamp our own delay is part of the time, and nobody knows how much.
    entry.roundTrip = reply.received.steady - entry.before.steady;
    entry.clean = entry.clean && !reply.stamp;
}

bool EchoBurst::complete() const {
    const auto all = entries();
    return !nextSend() && std::all_of(all.begin(), all.end(), [](const Entry& entry) {
        return !entry.clean || entry.roundTrip.has_value();
    });
}

BurstVerdict EchoBurst::verdict(SteadyClock::time_point now) const {
    BurstVerdict verdict;
    Judged judged;
    for (const Entry& entry : entries()) {
        verdict.sent += 1;
        verdict.answered += entry.roundTrip ? 1 : 0;
        const bool fair = now - entry.before.steady >= fairWait;
        if (entry.clean && (entry.roundTrip || fair)) {
            judged.add(entry.roundTrip.value_or(lost));
        }
    }
    for (const Entry& entry : entries()) {
        if (!entry.clean && judged.count < wanted) {
            judged.add(entry.roundTrip.value_or(lost));
        }
    }
    for (std::size_t i = 0; i < refused_ && judged.count < wanted; ++i) {
        judged.add(lost);
    }
    const auto end = judged.trips.begin() + static_cast<std::ptrdiff_t>(judged.count);
    std::sort(judged.trips.begin(), end);
    const Nanoseconds middle = judged.count == 0 ? lost : judged.trips.at(judged.count / 2);
    if (middle != lost) {
        verdict.medianMs = toMs(middle);
    }
    return verdict;
}

}  // namespace KORA::HA::Daemon::support
