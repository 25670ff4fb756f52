// SPDX-License-Identifier: Apache-2.0
#include "hasupport/door/door.h"

#include <algorithm>
#include <cerrno>
#include <exception>

#include "hasupport/io/notice.h"

namespace KORA::HA::Daemon::support {
namespace {

constinit Notice stepFailure;

bool step(std::span<Door* const> doors, Status& status, SteadyClock::duration span) {
    std::vector<pollfd> fds;
    std::vector<std::size_t> counts;
    auto wakeAt = SteadyClock::now() + span;
    for (Door* door : doors) {
        const std::size_t before = fds.size();
        door->collect(fds, wakeAt);
        counts.push_back(fds.size() - before);
    }
    if (::poll(fds.data(), fds.size(), Deadline(wakeAt).pollTimeout()) < 0) {
        if (errno != EINTR) {
            return false;
        }
        std::for_each(fds.begin(), fds.end(), [](pollfd& fd) { fd.revents = 0; });
    }
    std::span<const pollfd> rest = fds;
    bool fine = true;
    for (std::size_t index = 0; index < doors.size(); ++index) {
        fine = doors[index]->serve(rest.first(counts[index]), status) && fine;
        rest = rest.subspan(counts[index]);
    }
    return fine;
}

}  // namespace

bool serveDoors(std::span<Door* const> doors, Status& status, SteadyClock::duration span) try {
    const bool fine = step(doors, status, span);
    if (fine) {
        stepFailure.clear();
    }
    return fine;
} catch (const std::exception& failure) {
    stepFailure.raise(failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon::support
