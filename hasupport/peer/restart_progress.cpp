// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_progress.h"

#include <ctime>
#include <exception>
#include <mutex>

#include "hasupport/logfile/registry.h"
#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

// What the probe still has to note: looking closer at each echo would be waste.
enum class Awaits : std::uint8_t { leaving, returning, nothing };

struct Known {
    bool learned = false;  ///< what is on disk was read or written by this process
    std::optional<RestartStamp> stamp;
    Awaits awaits = Awaits::nothing;
    bool unwritten = false;
};

struct Progress {
    std::mutex disk;    // one at a time reads and replaces the stamp; not for who must not wait
    std::mutex memory;  // guards `known`; held for a copy, never for a disk
    Known known;
};

Progress& progress() {
    static Progress theOne;
    return theOne;
}

// A restart too quick to be noticed must not take a later outage for its own.
constexpr std::chrono::minutes leavesWithin{10};

Awaits awaitedBy(const std::optional<RestartStamp>& stamp) {
    if (!stamp || stamp->backSeconds != 0 ||
        (stamp->outcome != "accepted" && stamp->outcome != "left") ||
        (stamp->leftSeconds == 0 && stamp->age() > leavesWithin)) {
        return Awaits::nothing;
    }
    return stamp->leftSeconds == 0 ? Awaits::leaving : Awaits::returning;
}

bool isSame(const RestartStamp& one, const RestartStamp& other) {
    return one.bootId == other.bootId && one.bootSeconds == other.bootSeconds &&
           one.wallSeconds == other.wallSeconds;
}

Known copyOfKnown() {
    const std::lock_guard lock(progress().memory);
    return progress().known;
}

void know(const std::optional<RestartStamp>& stamp, bool unwritten) {
    const std::lock_guard lock(progress().memory);
    progress().known = {true, stamp, awaitedBy(stamp), unwritten};
}

void follow(Known& known, bool peerAlive) {
    if (known.awaits != (peerAlive ? Awaits::returning : Awaits::leaving)) {
        return;
    }
    known.awaits = awaitedBy(known.stamp);  // it may have taken too long
    if (known.awaits == Awaits::nothing) {
        return;
    }
    (peerAlive ? known.stamp->backSeconds : known.stamp->leftSeconds) = std::time(nullptr);
    known.stamp->outcome = peerAlive ? "back" : "left";
    known.unwritten = true;
    known.awaits = awaitedBy(known.stamp);
    noteEvent(peerAlive ? "the peer is back from its restart"
                        : "the peer has left for its restart");
}

/// It is on disk now; but more may have been noted meanwhile.
void noteWritten(const RestartStamp& stamp) {
    const std::lock_guard lock(progress().memory);
    Known& known = progress().known;
    known.unwritten = known.stamp && stampText(*known.stamp) != stampText(stamp);
}

}  // namespace

bool noteRestartAsked(const RestartStamp& stamp) {
    const std::lock_guard lock(progress().disk);
    if (!writeStamp(askedStampPath(), stamp)) {
        withdrawStamp(askedStampPath(), stamp);  // nobody was asked
        return false;
    }
    know(stamp, false);
    return true;
}

void noteRestartOutcome(const RestartStamp& stamp) {
    know(stamp, true);
    keepRestartProgress();
}

void noteRestartProgress(bool peerAlive) try {
    doAfterFlush(&keepRestartProgress);
    const std::lock_guard lock(progress().memory);
    follow(progress().known, peerAlive);
} catch (const std::exception&) {
    return;  // a record that cannot be kept must not cost the probe its answer
}

void keepRestartProgress() try {
    const std::lock_guard lock(progress().disk);
    const Known known = copyOfKnown();
    if (known.learned && !known.unwritten) {
        return;
    }
    const StampFile file = readStamp(askedStampPath());
    if (file.unreadable) {
        return;  // and stays as it is, until somebody has looked at it
    }
    if (!known.learned || !file.stamp || !isSame(*file.stamp, *known.stamp)) {
        know(file.stamp, false);  // what was taken away on purpose does not come back
    } else if (writeStamp(askedStampPath(), *known.stamp)) {
        noteWritten(*known.stamp);
    }
} catch (const std::exception&) {
    return;  // the next flush tries again
}

std::optional<RestartStamp> progressSince(const RestartStamp& stamp) {
    const Known known = copyOfKnown();
    return known.unwritten && isSame(*known.stamp, stamp) ? known.stamp : std::nullopt;
}

void TEST_forgetRestartProgress() {
    const std::lock_guard lock(progress().memory);
    progress().known = {};
}

}  // namespace KORA::HA::Daemon::support
