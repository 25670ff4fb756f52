// SPDX-License-Identifier: Apache-2.0
#include "monitor/interval.h"

#include <cstdint>
#include <map>
#include <mutex>

#include "config/int_daemon_conf.h"
#include "monitor/role.h"

namespace KORA::HA::Daemon {

int checkInterval() {
    return GetInt(isLocalActive() ? BASE_INTERVAL_ACTIVE : BASE_INTERVAL_PASSIVE);
}

bool doTaskByIntervals(unsigned int rest, const std::string& name) {
    // The counters belong to one thread each; the lock guards the table, into which two threads
    // may put their first names at the same time.
    static constinit std::mutex tableMutex;
    static std::map<std::string, std::uint32_t> passes;
    const std::lock_guard lock(tableMutex);
    const auto [task, isNew] = passes.try_emplace(name, 0);
    if (isNew) {
        return true;
    }
    if (task->second >= rest) {
        task->second = 0;
        return true;
    }
    ++task->second;
    return false;
}

}  // namespace KORA::HA::Daemon
