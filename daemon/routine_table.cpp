// SPDX-License-Identifier: Apache-2.0
#include "daemon/routine_table.h"

#include <boost/bind/bind.hpp>
#include <boost/ref.hpp>

#include "log/upkeep/log_handler.h"
#include "log/upkeep/record_system_info.h"
#include "monitor/busy_flag_control.h"
#include "monitor/check_loops.h"
#include "server/serving_routines.h"

namespace KORA::HA::Daemon {

RoutineTable startRoutines(Status& status) {
    const auto shared = boost::ref(status);
    RoutineTable table;
    table.emplace("logHandler", MyRoutine(boost::bind(logHandler)));
    table.emplace("recordSystemInfo", MyRoutine(boost::bind(recordSystemInfo, shared)));
    table.emplace("server", MyRoutine(boost::bind(server, shared)));
    table.emplace("busyFlagControl", MyRoutine(boost::bind(busyFlagControl, shared)));
    table.emplace("nonBlockCheck", MyRoutine(boost::bind(nonBlockCheck, shared)));
    table.emplace("mayBlockCheck", MyRoutine(boost::bind(mayBlockCheck, shared)));
    table.emplace("monitorEnv", MyRoutine(boost::bind(monitorEnv, shared)));
    table.emplace("daemonDataServer", MyRoutine(boost::bind(daemonDataServer)));
    return table;
}

}  // namespace KORA::HA::Daemon
