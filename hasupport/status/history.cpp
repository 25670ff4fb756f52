// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/history.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <mutex>
#include <new>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::uint32_t keptSeconds = 3600;
constexpr std::size_t samplesLimit = 8192;
constexpr std::size_t eventsLimit = 64;
constexpr std::size_t eventTextLimit = 256;

/// Small, because an hour of them stays in locked memory. What follows from its place in the row is
/// left out.
struct KeptSample {
    std::uint64_t wallMs : 44;
    std::uint64_t kind : 4;
    std::uint64_t sent : 8;
    std::uint64_t answered : 8;
    std::uint32_t steadySeconds;  // wall time may be set back and must not decide what is old
    float value;
};
static_assert(sizeof(KeptSample) == 16);
constexpr std::uint64_t wallMask = (std::uint64_t{1} << 44U) - 1;

std::uint32_t secondsOf(SteadyClock::time_point time) {
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count());
}

std::uint64_t millisecondsOf(std::chrono::system_clock::time_point time) {
    constexpr auto most = static_cast<std::int64_t>(wallMask);
    const auto since =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    return static_cast<std::uint64_t>(std::clamp(std::int64_t{since}, std::int64_t{0}, most));
}

Sample unpacked(const KeptSample& kept, std::uint64_t sequence) {
    return {sequence,
            std::chrono::system_clock::time_point(std::chrono::milliseconds(kept.wallMs)),
            static_cast<SampleKind>(kept.kind),
            kept.value,
            static_cast<std::uint8_t>(kept.sent),
            static_cast<std::uint8_t>(kept.answered)};
}

struct History {
    std::mutex mutex;  // guards everything below
    std::deque<KeptSample> samples;
    std::deque<Event> events;
    std::uint64_t lastSample = 0;
    std::uint64_t lastEvent = 0;

    void forgetOld(SteadyClock::time_point now) {
        const std::uint32_t seconds = secondsOf(now);
        while (!samples.empty() && (seconds - samples.front().steadySeconds > keptSeconds ||
                                    samples.size() > samplesLimit)) {
            samples.pop_front();
        }
    }
};

// Never destroyed: a thread may still note something while the process ends.
History& history() {
    static History& kept = *new History;
    return kept;
}

std::uint8_t narrow(unsigned count) {
    constexpr unsigned most = std::numeric_limits<std::uint8_t>::max();
    return static_cast<std::uint8_t>(std::min(count, most));
}

std::string printable(std::string_view text) {
    std::string clean(text.substr(0, eventTextLimit));
    std::replace_if(
        clean.begin(), clean.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return clean;
}

}  // namespace

void noteSample(SampleKind kind, float value, unsigned sent, unsigned answered) try {
    const auto wall = millisecondsOf(std::chrono::system_clock::now());
    const auto now = SteadyClock::now();
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    kept.samples.push_back({wall & wallMask, static_cast<std::uint64_t>(kind) & 0xfU, narrow(sent),
                            narrow(answered), secondsOf(now), value});
    ++kept.lastSample;
    kept.forgetOld(now);
} catch (const std::bad_alloc&) {
    return;  // a history with a gap is better than a probe that fails
}

void noteEvent(std::string_view text) try {
    Event event{0, std::chrono::system_clock::now(), printable(text)};
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    event.sequence = kept.lastEvent + 1;
    kept.events.push_back(std::move(event));
    ++kept.lastEvent;
    if (kept.events.size() > eventsLimit) {
        kept.events.pop_front();
    }
} catch (const std::bad_alloc&) {
    return;
}

std::vector<Sample> samplesAfter(std::uint64_t after, std::size_t limit) {
    std::vector<Sample> found;
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    kept.forgetOld(SteadyClock::now());
    const std::uint64_t forgotten = kept.lastSample - kept.samples.size();
    const std::uint64_t first = std::clamp(after, forgotten, kept.lastSample);
    const std::uint64_t end = first + std::min<std::uint64_t>(kept.lastSample - first, limit);
    found.reserve(end - first);
    for (std::uint64_t sequence = first; sequence < end; ++sequence) {
        found.push_back(unpacked(kept.samples[sequence - forgotten], sequence + 1));
    }
    return found;
}

std::vector<Event> recentEvents() {
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    return {kept.events.begin(), kept.events.end()};
}

}  // namespace KORA::HA::Daemon::support
