#include "hasupport/status/history.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <mutex>
#include <new>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::minutes keptSpan{60};
constexpr std::size_t samplesLimit = 8192;
constexpr std::size_t eventsLimit = 64;
constexpr std::size_t eventTextLimit = 256;

struct KeptSample {
    Sample sample;
    SteadyClock::time_point steady;  // wall time may be set back and must not decide what is old
};

struct History {
    std::mutex mutex;  // guards everything below
    std::deque<KeptSample> samples;
    std::deque<Event> events;
    std::uint64_t lastSample = 0;
    std::uint64_t lastEvent = 0;

    void forgetOld(SteadyClock::time_point now) {
        while (!samples.empty() &&
               (now - samples.front().steady > keptSpan || samples.size() > samplesLimit)) {
            samples.pop_front();
        }
    }
};

// Never destroyed: a thread may still note something while the process ends.
History& history() {
    static History& kept = *new History;
    return kept;
}

std::uint16_t narrow(unsigned count) {
    constexpr unsigned most = std::numeric_limits<std::uint16_t>::max();
    return static_cast<std::uint16_t>(std::min(count, most));
}

std::string printable(std::string_view text) {
    std::string clean(text.substr(0, eventTextLimit));
    std::replace_if(
        clean.begin(), clean.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return clean;
}

}  // namespace

void noteSample(SampleKind kind, float value, unsigned sent, unsigned answered) try {
    const auto wall = std::chrono::system_clock::now();
    const auto now = SteadyClock::now();
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    const std::uint64_t sequence = kept.lastSample + 1;
    kept.samples.push_back({{sequence, wall, kind, value, narrow(sent), narrow(answered)}, now});
    kept.lastSample = sequence;
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
    const auto first = std::partition_point(
        kept.samples.begin(), kept.samples.end(),
        [after](const KeptSample& one) { return one.sample.sequence <= after; });
    const auto left = static_cast<std::size_t>(kept.samples.end() - first);
    found.reserve(std::min(left, limit));
    for (auto at = first; at != kept.samples.end() && found.size() < limit; ++at) {
        found.push_back(at->sample);
    }
    return found;
}

std::vector<Event> recentEvents() {
    History& kept = history();
    const std::lock_guard lock(kept.mutex);
    return {kept.events.begin(), kept.events.end()};
}

}  // namespace KORA::HA::Daemon::support
