// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>

namespace KORA::HA::Daemon {

/// Every setting of the daemon, grouped by thousands: intervals in seconds, rest counts in passes,
/// thresholds, tolerated violations, sizes in bytes. The values order the configuration table.
enum ConfType {
    BASE_INTERVAL_RECORD_ENV = 0,
    BASE_INTERVAL_BUSY_FLAG = 1,
    BASE_INTERVAL_ACTIVE = 2,
    BASE_INTERVAL_PASSIVE = 3,
    BASE_INTERVAL_LOG_WRITE = 4,
    BASE_INTERVAL_LOG_ROTATE = 5,

    NUM_OF_REST_NETWORK = 1000,
    NUM_OF_REST_MON_HB_LATENCY = 1001,
    NUM_OF_REST_MON_PKT_DROP = 1002,

    THR_OF_HB_LATENCY = 2000,
    THR_OF_HB_PKT_DROP = 2001,
    THR_OF_RDISK_ERRHANDLE = 2002,

    TOLERANCE_TIMES_OF_HB_LATENCY = 3000,
    TOLERANCE_TIMES_OF_PKT_DROP = 3001,

    SIZE_MAX_OF_LOG_FILE = 4000,
};

/// A setting's key in the configuration file and its default, kept as text.
using ConfEntry = std::pair<std::string, std::string>;
using ConfTable = std::map<ConfType, ConfEntry>;

/// The table of all settings; built before `main`, never changed. Any thread.
const ConfTable& configTable();

}  // namespace KORA::HA::Daemon
