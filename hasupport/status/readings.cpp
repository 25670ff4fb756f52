// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/readings.h"

#include <algorithm>
#include <mutex>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t reasonLimit = 160;
constexpr std::string_view notMeasured = "not measured yet";

constexpr std::array<std::string_view, readingCount> names = {
    "remoteAlive",   "drbdConnected",        "remoteMDResync", "remoteDiskErrHandling",
    "localMDResync", "localDiskErrHandling", "netNonOkRate",   "hbLatency",
};

// Fixed text, so that the table needs no construction before main and no destruction after it.
struct Entry {
    bool valid = false;
    bool attempted = false;
    std::size_t length = 0;
    std::array<char, reasonLimit> reason{};
    std::optional<SteadyClock::time_point> lastGood;
    std::optional<SteadyClock::time_point> lastAttempt;

    std::string_view text() const { return {reason.data(), length}; }
};

constinit std::mutex mutex;  // guards everything below
constinit std::array<Entry, readingCount> entries;
constinit std::uint64_t generation = 0;

std::size_t indexOf(Reading reading) {
    return std::min(static_cast<std::size_t>(reading), readingCount - 1);
}

char printable(char c) {
    return c >= ' ' && c < '\x7f' ? c : '?';
}

/// Stores the text; true when it differs from what was there.
bool setReason(Entry& entry, std::string_view text) {
    text = text.substr(0, reasonLimit);
    std::array<char, reasonLimit> clean{};
    std::transform(text.begin(), text.end(), clean.begin(), printable);
    if (entry.text() == std::string_view(clean.data(), text.size())) {
        return false;
    }
    entry.reason = clean;
    entry.length = text.size();
    return true;
}

void note(Reading reading, bool valid, std::string_view reason) {
    const auto now = SteadyClock::now();
    const std::lock_guard lock(mutex);
    Entry& entry = entries[indexOf(reading)];
    const bool flipped = entry.valid != valid || !entry.attempted;
    const bool reworded = setReason(entry, reason);
    entry.valid = valid;
    entry.attempted = true;
    entry.lastAttempt = now;
    if (valid) {
        entry.lastGood = now;
    }
    if (flipped || reworded) {
        ++generation;
    }
}

}  // namespace

std::string_view readingName(Reading reading) {
    return names[indexOf(reading)];
}

void noteGood(Reading reading) {
    note(reading, true, {});
}

void noteFailed(Reading reading, std::string_view reason) {
    note(reading, false, reason);
}

ReadingState readingState(Reading reading) {
    const std::lock_guard lock(mutex);
    const Entry& entry = entries[indexOf(reading)];
    ReadingState state;
    state.valid = entry.valid;
    state.reason = entry.attempted ? entry.text() : notMeasured;
    state.lastGood = entry.lastGood;
    state.lastAttempt = entry.lastAttempt;
    return state;
}

std::uint64_t readingsGeneration() {
    const std::lock_guard lock(mutex);
    return generation;
}

}  // namespace KORA::HA::Daemon::support
