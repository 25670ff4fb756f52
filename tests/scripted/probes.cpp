// SPDX-License-Identifier: Apache-2.0
// Another implementation of the support library's interface: it touches nothing, answers what a
// test scripted and notes what it was asked. The daemon's own objects link against it unchanged.
#include "hasupport/interface_checker.h"
#include "hasupport/local_probes.h"
#include "hasupport/reboot_remote.h"
#include "hasupport/remote_probes.h"
#include "tests/scripted/json_line.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {

IsRemoteAlive::IsRemoteAlive() {
    script().noteMade("IsRemoteAlive");
}
IsRemoteAlive::~IsRemoteAlive() = default;
bool IsRemoteAlive::operator()() {
    script().note("IsRemoteAlive");
    return script().remoteAlive();
}

IsRemoteMDResync::IsRemoteMDResync() {
    script().noteMade("IsRemoteMDResync");
}
IsRemoteMDResync::~IsRemoteMDResync() = default;
bool IsRemoteMDResync::operator()() {
    script().note("IsRemoteMDResync");
    return script().remoteMDResync();
}

IsRemoteDiskErrHandling::IsRemoteDiskErrHandling() {
    script().noteMade("IsRemoteDiskErrHandling");
}
IsRemoteDiskErrHandling::~IsRemoteDiskErrHandling() = default;
bool IsRemoteDiskErrHandling::operator()(Json::Value& disks) {
    script().note("IsRemoteDiskErrHandling " + jsonLine(disks));
    return script().remoteDiskErrHandling(disks);
}

RebootRemote::RebootRemote() {
    script().noteMade("RebootRemote");
}
RebootRemote::~RebootRemote() = default;
bool RebootRemote::operator()(Status& status) {
    script().note("RebootRemote");
    ++script().restarts;
    return script().rebootRemote(status);
}

InterfaceChecker::InterfaceChecker() {
    script().noteMade("InterfaceChecker");
}
InterfaceChecker::~InterfaceChecker() = default;
bool InterfaceChecker::networkNonOkRate(float& rate) {
    script().note("networkNonOkRate");
    return script().nonOkRate(rate);
}

float heartbeatLatency() {
    script().note("heartbeatLatency");
    return script().latency();
}
bool isDRBDConnect() {
    script().note("isDRBDConnect");
    return script().drbdConnected();
}
bool isMDResync() {
    script().note("isMDResync");
    return script().mdResync();
}
bool isDiskErrHandling(Json::Value& disks) {
    script().note("isDiskErrHandling " + jsonLine(disks));
    return script().diskErrHandling(disks);
}
bool isHadConstraints() {
    script().note("isHadConstraints");
    return script().constraints();
}

}  // namespace KORA::HA::Daemon
