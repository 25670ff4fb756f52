// SPDX-License-Identifier: Apache-2.0
#include "hasupport/records.h"

#include <exception>
#include <mutex>

#include "hasupport/daemon_log.h"
#include "hasupport/logfile/registry.h"
#include "hasupport/record/collect.h"

namespace KORA::HA::Daemon {
namespace {

/// Runs `collect` with the record log as its sink. Without such a log there is nobody to tell.
template <typename Collect>
bool record(const Collect& collect) try {
    DaemonLog* const log = support::recordLog();
    return log != nullptr && collect([log](const std::string& line) { log->set(line); });
} catch (const std::exception&) {
    return false;
}

struct SampleMark {
    std::mutex mutex;        // guards everything below
    std::uint64_t last = 0;  // the sequence of the sample recorded last
};

constinit SampleMark sampleMark;

}  // namespace

bool recordMemoryInfo() {
    return record([](const support::LineSink& sink) { return support::collectMemory({}, sink); });
}

bool recordPS() {
    return record(
        [](const support::LineSink& sink) { return support::collectProcesses({}, sink); });
}

bool recordDF() {
    return record(
        [](const support::LineSink& sink) { return support::collectDiskUsage({}, sink); });
}

bool recordStatus(Status& status) {
    return record([&status](const support::LineSink& sink) {
        const std::lock_guard lock(sampleMark.mutex);
        return support::collectStatus(status, sampleMark.last, sink);
    });
}

}  // namespace KORA::HA::Daemon
