// SPDX-License-Identifier: Apache-2.0
// The types on which the daemon and the support library have agreed: another implementation of
// either must be able to rely on them.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <string>
#include <type_traits>

#include "hasupport/daemon_log.h"
#include "hasupport/exec.h"
#include "hasupport/interface_checker.h"
#include "hasupport/local_probes.h"
#include "hasupport/local_socket.h"
#include "hasupport/reboot_remote.h"
#include "hasupport/records.h"
#include "hasupport/remote_probes.h"
#include "hasupport/replication_link.h"
#include "hasupport/socket_server.h"
#include "hasupport/status.h"
#include "log/process_objects.h"
#include "log/upkeep/log_handler.h"
#include "log/upkeep/record_system_info.h"
#include "monitor/busy_flag_control.h"
#include "monitor/check_loops.h"
#include "monitor/flag.h"
#include "monitor/heartbeat_monitors.h"
#include "monitor/interval.h"
#include "monitor/remote_disk_watch.h"
#include "monitor/role.h"
#include "server/serving_routines.h"

static_assert(std::is_same_v<decltype(localIP), std::string(const std::string&)>);
static_assert(std::is_same_v<decltype(remoteIP), std::string(const std::string&)>);
static_assert(std::is_same_v<decltype(drbdIF), std::string(const std::string&)>);
static_assert(std::is_same_v<decltype(VLIBCExecl), int(const char*, int, const char*, ...)>);
static_assert(std::is_empty_v<SocketServer> && !std::is_polymorphic_v<SocketServer>);
static_assert(std::is_default_constructible_v<SocketServer>);
static_assert(std::is_invocable_r_v<bool, SocketServer, KORA::HA::Daemon::Status&>);

namespace KORA::HA::Daemon {
namespace {

template <typename... Types>
constexpr bool arePolymorphicWithoutData = ((std::is_polymorphic_v<Types> &&
                                             std::is_default_constructible_v<Types> &&
                                             sizeof(Types) == sizeof(void*)) &&
                                            ...);

// The health record.
static_assert(std::is_default_constructible_v<Status> && !std::is_copy_constructible_v<Status>);
static_assert(std::is_same_v<decltype(Status::remoteMDResync), std::atomic<bool>>);
static_assert(std::is_same_v<decltype(Status::remoteDiskErrHandling), std::atomic<bool>>);
static_assert(std::is_same_v<decltype(Status::localMDResync), std::atomic<bool>>);
static_assert(std::is_same_v<decltype(Status::localDiskErrHandling), std::atomic<bool>>);
static_assert(std::is_same_v<decltype(Status::drbdConnected), std::atomic<bool>>);
static_assert(std::is_same_v<decltype(Status::netNonOkRate), std::atomic<float>>);
static_assert(std::is_same_v<decltype(Status::hbLatency), std::atomic<float>>);
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<float>::is_always_lock_free);
using SetDisks = void (Status::*)(const Json::Value&);
static_assert(std::is_same_v<decltype(&Status::setRemoteAlive), void (Status::*)(bool)>);
static_assert(std::is_same_v<decltype(&Status::isRemoteAlive), bool (Status::*)() const>);
static_assert(std::is_same_v<decltype(&Status::setErrHandlingDisk), SetDisks>);
static_assert(std::is_same_v<decltype(&Status::setErrHandlingDiskRemote), SetDisks>);
static_assert(
    std::is_same_v<decltype(&Status::getErrHandlingDiskRemote), Json::Value (Status::*)() const>);

// The probes, and what acts on the peer.
static_assert(arePolymorphicWithoutData<IsRemoteAlive, IsRemoteMDResync, IsRemoteDiskErrHandling,
                                        RebootRemote>);
static_assert(std::is_invocable_r_v<bool, IsRemoteAlive>);
static_assert(std::is_invocable_r_v<bool, IsRemoteMDResync>);
static_assert(std::is_invocable_r_v<bool, IsRemoteDiskErrHandling, Json::Value&>);
static_assert(std::is_invocable_v<RebootRemote, Status&>);
static_assert(std::is_default_constructible_v<InterfaceChecker>);
static_assert(std::is_same_v<decltype(&InterfaceChecker::networkNonOkRate),
                             bool (InterfaceChecker::*)(float&)>);
static_assert(std::is_same_v<decltype(heartbeatLatency), float()>);
static_assert(std::is_same_v<decltype(isDRBDConnect), bool()>);
static_assert(std::is_same_v<decltype(isMDResync), bool()>);
static_assert(std::is_same_v<decltype(isHadConstraints), bool()>);
static_assert(std::is_same_v<decltype(isDiskErrHandling), bool(Json::Value&)>);

// Logs, records and the status socket.
static_assert(std::is_constructible_v<DaemonLog, std::string, std::string>);
static_assert(std::is_same_v<decltype(&DaemonLog::set), void (DaemonLog::*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&DaemonLog::size), std::int64_t (DaemonLog::*)() const>);
static_assert(std::is_invocable_v<decltype(&DaemonLog::writeLogToDisk), DaemonLog>);
static_assert(std::is_invocable_v<decltype(&DaemonLog::rotate), DaemonLog>);
static_assert(std::is_invocable_v<decltype(recordMemoryInfo)>);
static_assert(std::is_invocable_v<decltype(recordPS)>);
static_assert(std::is_invocable_v<decltype(recordDF)>);
static_assert(std::is_invocable_v<decltype(recordStatus), Status&>);
static_assert(std::is_base_of_v<DaemonLocalSocket, MonitordSocket>);
static_assert(std::has_virtual_destructor_v<DaemonLocalSocket>);
static_assert(std::is_constructible_v<MonitordSocket, std::string, unsigned int>);
static_assert(std::is_invocable_r_v<bool, decltype(&MonitordSocket::hasError), MonitordSocket>);
static_assert(std::is_invocable_r_v<bool, decltype(&MonitordSocket::serverBind), MonitordSocket>);
static_assert(std::is_invocable_r_v<bool, decltype(&MonitordSocket::serverListen), MonitordSocket>);
static_assert(
    std::is_same_v<decltype(&MonitordSocket::setStatus), void (MonitordSocket::*)(Status*)>);

// The daemon's own.
using Routine = bool(Status&);
static_assert(std::is_same_v<decltype(logHandler), bool()>);
static_assert(std::is_same_v<decltype(recordSystemInfo), Routine>);
static_assert(std::is_same_v<decltype(server), Routine>);
static_assert(std::is_same_v<decltype(busyFlagControl), Routine>);
static_assert(std::is_same_v<decltype(nonBlockCheck), Routine>);
static_assert(std::is_same_v<decltype(mayBlockCheck), Routine>);
static_assert(std::is_same_v<decltype(monitorEnv), Routine>);
static_assert(std::is_same_v<decltype(daemonDataServer), bool()>);
static_assert(std::is_same_v<decltype(logWrite), bool()>);
static_assert(std::is_same_v<decltype(logRotate), bool(int)>);
static_assert(std::is_same_v<decltype(monitorRemoetDiskErrHandling), Routine>);
static_assert(std::is_invocable_v<decltype(monitorLatency), Status&>);
static_assert(std::is_invocable_v<decltype(monitorInterface), Status&>);
static_assert(std::is_same_v<decltype(isLocalActive), bool()>);
static_assert(std::is_same_v<decltype(checkInterval), int()>);
static_assert(std::is_same_v<decltype(doTaskByIntervals), bool(unsigned int, const std::string&)>);
static_assert(std::is_constructible_v<Flag, const std::string&>);
static_assert(sizeof(Flag) == sizeof(std::string));
static_assert(std::is_same_v<decltype(&Flag::up), void (Flag::*)()>);
static_assert(std::is_same_v<decltype(&Flag::down), void (Flag::*)()>);

TEST(Interface, statusHoldsItsMembersInTheirDeclaredOrder) {
    const Status& status = sharedStatus();
    const void* const members[] = {&status.remoteMDResync, &status.remoteDiskErrHandling,
                                   &status.localMDResync,  &status.localDiskErrHandling,
                                   &status.drbdConnected,  &status.netNonOkRate,
                                   &status.hbLatency};
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members)));
    EXPECT_EQ(&status, members[0]);
}

}  // namespace
}  // namespace KORA::HA::Daemon
