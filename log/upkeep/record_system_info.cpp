// SPDX-License-Identifier: Apache-2.0
#include "log/upkeep/record_system_info.h"

#include <unistd.h>

#include "config/int_daemon_conf.h"
#include "hasupport/records.h"
#include "log/running_flag.h"

namespace KORA::HA::Daemon {

bool recordSystemInfo(Status& status) {
    while (isRunning()) {
        recordMemoryInfo();
        recordPS();
        recordDF();
        recordStatus(status);
        sleep(static_cast<unsigned int>(GetInt(BASE_INTERVAL_RECORD_ENV)));
    }
    return false;
}

}  // namespace KORA::HA::Daemon
