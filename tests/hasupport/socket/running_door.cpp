// SPDX-License-Identifier: Apache-2.0
#include "running_door.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace koraha::test {
namespace {

namespace support = KORA::HA::Daemon::support;

// Sanitizers need several times the stack that the code itself does.
#ifdef KORAHA_ROUTINE_STACK_BYTES
constexpr std::size_t stackBytes = KORAHA_ROUTINE_STACK_BYTES;
#else
constexpr std::size_t stackBytes = 80UL * 1024;
#endif

}  // namespace

support::StatusSources quietSources() {
    support::StatusSources sources;
    sources.roleMarker = "/nonexistent/role";
    sources.constraints = [] { return std::vector<std::string>(); };
    sources.lastRestart = [] { return std::optional<support::RestartRecord>(); };
    sources.degradedArrays = [] { return std::optional(std::vector<std::string>()); };
    return sources;
}

RunningDoor::RunningDoor(support::ClientLimits limits, support::StatusSources sources)
    : socket_(scratch_.path("door"), {scratch_.path(), "/nonexistent/group", 0}) {
    if (!socket_.bindAndListen()) {
        throw std::runtime_error("cannot bind");
    }
    door_ = std::make_unique<support::ClientDoor>(socket_.listener(), limits, std::move(sources));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::max<std::size_t>(stackBytes, PTHREAD_STACK_MIN));
    if (pthread_create(&thread_, &attributes, &serveThread, this) != 0) {
        throw std::runtime_error("no thread");
    }
    pthread_attr_destroy(&attributes);
}

RunningDoor::~RunningDoor() {
    stop_ = true;
    pthread_join(thread_, nullptr);
}

void* RunningDoor::serveThread(void* self) {
    static_cast<RunningDoor*>(self)->serve();
    return nullptr;
}

void RunningDoor::serve() {
    support::Door* const doors[] = {door_.get()};
    while (!stop_) {
        if (!support::serveDoors(doors, status, std::chrono::milliseconds(20))) {
            ++failedSteps_;
        }
        clients_ = door_->clientCount();
    }
}

}  // namespace koraha::test
