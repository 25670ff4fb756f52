// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_record.h"

#include <ctime>
#include <exception>
#include <mutex>

#include "hasupport/peer/restart_stamp.h"
#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::system_clock;

std::optional<system_clock::time_point> wallTime(std::int64_t seconds) {
    if (seconds == 0) {
        return std::nullopt;
    }
    return system_clock::from_time_t(seconds);
}

// Whether the probe still has something to note: reading the stamp at each echo would be waste.
enum class Progress { unknown, waitsForLeaving, waitsForReturn, over };

struct Watch {
    std::mutex mutex;
    Progress progress = Progress::unknown;
};

Watch& watch() {
    static Watch theOne;
    return theOne;
}

// A restart too quick to be noticed must not take a later outage for its own.
constexpr std::chrono::minutes leavesWithin{10};

Progress progressOf(const std::optional<RestartStamp>& stamp) {
    if (!stamp || stamp->backSeconds != 0 ||
        (stamp->outcome != "accepted" && stamp->outcome != "left") ||
        (stamp->leftSeconds == 0 && stamp->age() > leavesWithin)) {
        return Progress::over;
    }
    return stamp->leftSeconds == 0 ? Progress::waitsForLeaving : Progress::waitsForReturn;
}

void note(Watch& watched, bool peerAlive) {
    const bool awaited = watched.progress == Progress::unknown ||
                         (watched.progress == Progress::waitsForLeaving && !peerAlive) ||
                         (watched.progress == Progress::waitsForReturn && peerAlive);
    if (!awaited) {
        return;
    }
    auto [stamp, unreadable] = readStamp(askedStampPath());
    watched.progress = progressOf(stamp);
    if (watched.progress == Progress::waitsForLeaving && !peerAlive) {
        stamp->leftSeconds = std::time(nullptr);
        stamp->outcome = "left";
        noteEvent("the peer has left for its restart");
    } else if (watched.progress == Progress::waitsForReturn && peerAlive) {
        stamp->backSeconds = std::time(nullptr);
        stamp->outcome = "back";
        noteEvent("the peer is back from its restart");
    } else {
        return;
    }
    writeStamp(askedStampPath(), *stamp);
    watched.progress = progressOf(stamp);
}

}  // namespace

std::optional<RestartRecord> lastRestart() {
    const auto stamp = readStamp(askedStampPath()).stamp;
    if (!stamp) {
        return std::nullopt;
    }
    return RestartRecord{system_clock::from_time_t(stamp->wallSeconds),
                         stamp->age(),
                         stamp->reason,
                         stamp->outcome,
                         wallTime(stamp->leftSeconds),
                         wallTime(stamp->backSeconds)};
}

bool restartAskedWithin(std::chrono::seconds span) {
    const StampFile file = readStamp(askedStampPath());
    return file.unreadable || (file.stamp && file.stamp->age() < span);
}

void noteRestartProgress(bool peerAlive) try {
    const std::lock_guard lock(watch().mutex);
    note(watch(), peerAlive);
} catch (const std::exception&) {
    return;  // a record that cannot be kept must not cost the probe its answer
}

void expectRestartProgress() {
    const std::lock_guard lock(watch().mutex);
    watch().progress = Progress::unknown;
}

}  // namespace KORA::HA::Daemon::support
