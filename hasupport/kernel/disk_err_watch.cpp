// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/disk_err_watch.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "hasupport/kernel/watched_disks.h"

namespace KORA::HA::Daemon::support {
namespace {

using Counter = std::optional<std::uint32_t>;

/// A counter that went back is a new one.
bool grew(const Counter& before, const Counter& now) {
    return before && now && *now > *before;
}

}  // namespace

DiskErrWatch::DiskErrWatch(KernelRoots roots, std::vector<std::string> named)
    : roots_(std::move(roots)), named_(std::move(named)) {}

DiskErrLook DiskErrWatch::look(SteadyClock::time_point now) {
    Memories after;
    DiskErrLook found = evaluate(now, after);
    if (found.known) {
        memories_ = std::move(after);
    }
    return found;
}

DiskErrLook DiskErrWatch::peek(SteadyClock::time_point now) const {
    Memories after;
    return evaluate(now, after);
}

DiskErrLook DiskErrWatch::evaluate(SteadyClock::time_point now, Memories& after) const {
    const auto disks = watchedDisks(roots_, named_);
    if (!disks) {
        return {false, std::string("the disks cannot be listed: ") + std::strerror(errno), {}};
    }
    DiskErrLook found{true, {}, {}};
    for (const std::string& name : *disks) {
        const DiskState disk = readDiskState(roots_, name);
        if (disk.unreadable != 0) {
            return {false, name + " cannot be read: " + std::strerror(disk.unreadable), {}};
        }
        const auto known = memories_.find(name);
        // Another device under the old name counts from 0 again.
        const bool same = known != memories_.end() && known->second.device == disk.device;
        if (judge(disk, same ? &known->second : nullptr, now, after[name])) {
            found.disks.push_back(name);
        }
    }
    return found;
}

bool DiskErrWatch::judge(const DiskState& disk, const Memory* before, SteadyClock::time_point now,
                         Memory& after) {
    const bool timedOut = before != nullptr && grew(before->timeouts, disk.timeouts);
    const bool erred = before != nullptr && grew(before->errors, disk.errors);
    // Without an earlier look, time-outs of the past are the best clue to whom the host works for.
    const bool oldTimeouts = before == nullptr && disk.timeouts.value_or(0) > 0;
    const bool wasSuspect = before != nullptr && before->suspect;

    after.device = disk.device;
    after.timeouts = disk.timeouts;
    after.errors = disk.errors;
    if (timedOut) {
        after.timedOutAt = now;
    } else if (before != nullptr) {
        after.timedOutAt = before->timedOutAt;
    }
    // The look that saw the time-out may have come before the recovery that it leads to.
    const bool lately = after.timedOutAt && now - *after.timedOutAt < recoveryFollowsWithin;
    // Errors alone are no error handling: medium errors and SMART queries count there, too.
    after.suspect = disk.hostRecovers && (wasSuspect || lately || erred || oldTimeouts);
    return !disk.failed && (disk.handling || timedOut || after.suspect);
}

}  // namespace KORA::HA::Daemon::support
