// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "hasupport/local_probes.h"
#include "hasupport/peer/forced_restart.h"
#include "hasupport/peer/restart_duty.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/reboot_remote.h"
#include "hasupport/remote_probes.h"
#include "hasupport/replication_link.h"
#include "hasupport/socket_server.h"
#include "hasupport/status/readings.h"
#include "tests/faults/addresses.h"
#include "tests/faults/operation.h"

namespace koraha::faults {
namespace {

using namespace KORA::HA::Daemon;
using namespace KORA::HA::Daemon::support;

constexpr float slowMs = 900.0F;  // where an unanswered burst begins

Outcome read(Reading reading, std::string value) {
    const ReadingState state = readingState(reading);
    return {std::move(value), !state.valid && !state.reason.empty()};
}

Outcome measureLatency() {
    const float latency = heartbeatLatency();
    return read(Reading::hbLatency, latency >= 0 && latency < slowMs ? "answered" : "not answered");
}

Outcome askDisks() {
    Json::Value disks;
    const bool handling = IsRemoteDiskErrHandling()(disks);
    return read(Reading::remoteDiskErrHandling,
                (handling ? "handling" : "quiet") + std::string(disks.isArray() ? "" : " no list"));
}

void forgetRestarts() {
    ::unlink("/var/lib/ha/restart.asked");
    ::unlink("/var/lib/ha/restart.obeyed");
}

// True is only said of a restart that the peer took on and that is on disk.
Outcome askForRestart() {
    Status status;
    const bool accepted = RebootRemote()(status);
    return {accepted ? "accepted" : "not accepted", !accepted};
}

Outcome requireStamp(Outcome outcome) {
    if (outcome.value == "accepted" && !readStamp("/var/lib/ha/restart.asked").stamp) {
        outcome = {"accepted, but no stamp is on disk", false};
    }
    return outcome;
}

Outcome obey() {
    const RestartVerdict verdict = obeyRestart("a test");
    return {verdict.accepted ? "accepted" : "refused",
            !verdict.accepted && !verdict.reason.empty()};
}

// Cancelled at once; what could go wrong writes to a file of no meaning.
Outcome armAndCancel() {
    const UniqueFd handle = startForcedRestart({60, 60, [] {}, "/run/no-trigger"});
    cancelForcedRestart(handle);
    return {handle ? "armed" : "not armed", !handle};
}

void copyFile(const char* from, const char* to, mode_t mode) {
    std::ofstream(to) << std::ifstream(from).rdbuf();
    ::chmod(to, mode);
}

/// The peer's own files over this node's, out of sight of it.
void makePeersFiles() {
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) != 0) {
        std::abort();
    }
    copyFile("/var/lib/ha/peer.key", "/mnt/peer.key", 0600);
    copyFile("/var/lib/ha/hasupport.conf", "/mnt/hasupport.conf", 0644);
    if (::mount("/mnt", "/var/lib/ha", nullptr, MS_BIND, nullptr) != 0 ||
        ::mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0) {
        std::abort();
    }
}

}  // namespace

void startPeer() {
    if (::fork() != 0) {
        return;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    makePeersFiles();
    localIP(peerAddress);
    remoteIP(ownAddress);
    drbdIF(interface);
    Status status;
    Json::Value disks;
    isMDResync();  // so that it has something to tell
    isDiskErrHandling(disks);
    for (;;) {
        forgetRestarts();  // it obeys every time
        SocketServer()(status);
    }
}

std::vector<Operation> linkOperations() {
    std::vector<Operation> all{
        {"IsRemoteAlive",
         [] { return read(Reading::remoteAlive, IsRemoteAlive()() ? "alive" : "silent"); }},
        {"heartbeatLatency", measureLatency},
        {"IsRemoteMDResync",
         [] { return read(Reading::remoteMDResync, IsRemoteMDResync()() ? "yes" : "no"); }},
        {"IsRemoteDiskErrHandling", askDisks},
        {"RebootRemote", askForRestart, forgetRestarts, requireStamp, true},
        // Without its settings it arms the forced restart, and keeps the handle.
        {"obeyRestart", obey, forgetRestarts, nullptr, true, 1},
        {"forced restart", armAndCancel},
    };
    return all;
}

}  // namespace koraha::faults
