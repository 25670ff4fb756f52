// Another implementation of the support library's interface: it touches nothing and answers what a
// test scripted. The daemon's own objects link against it unchanged.
#include <cstdarg>

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
#include "tests/scripted/script.h"

Script& script() {
    static Script theOne;
    return theOne;
}

int VLIBCExecl(const char* path, int options, const char* arg, ...) {
    std::string call = std::string(path) + " " + std::to_string(options);
    va_list rest;
    va_start(rest, arg);
    for (const char* each = arg; each != nullptr; each = va_arg(rest, const char*)) {
        call += std::string(" ") + each;
    }
    va_end(rest);
    script().toolCalls.push_back(call);
    return script().toolResult;
}

std::string localIP(const std::string& address) {
    return address;
}
std::string remoteIP(const std::string& address) {
    return address;
}
std::string drbdIF(const std::string& name) {
    return name;
}

SocketServer::SocketServer() = default;
SocketServer::~SocketServer() = default;
bool SocketServer::operator()(KORA::HA::Daemon::Status&) {
    return false;
}

namespace KORA::HA::Daemon {

Status::Status()
    : remoteMDResync(false),
      remoteDiskErrHandling(false),
      localMDResync(false),
      localDiskErrHandling(false),
      drbdConnected(false),
      netNonOkRate(0.0F),
      hbLatency(0.0F),
      remoteAlive_(false) {}
Status::~Status() = default;
void Status::setRemoteAlive(bool alive) {
    remoteAlive_ = alive;
}
bool Status::isRemoteAlive() const {
    return remoteAlive_;
}
void Status::setErrHandlingDisk(const Json::Value& disks) {
    errHandlingDisk_ = disks;
}
void Status::setErrHandlingDiskRemote(const Json::Value& disks) {
    errHandlingDiskRemote_ = disks;
}
Json::Value Status::getErrHandlingDiskRemote() const {
    return errHandlingDiskRemote_;
}

class DaemonLog::Impl {};
DaemonLog::DaemonLog(std::string, std::string) {}
DaemonLog::~DaemonLog() = default;
void DaemonLog::set(const std::string& line) {
    script().logLines.push_back(line);
}
bool DaemonLog::writeLogToDisk() {
    return true;
}
std::int64_t DaemonLog::size() const {
    return 0;
}
bool DaemonLog::rotate() {
    return true;
}

class DaemonLocalSocket::Impl {};
DaemonLocalSocket::DaemonLocalSocket(std::string, unsigned int) {}
DaemonLocalSocket::~DaemonLocalSocket() = default;
bool DaemonLocalSocket::hasError() const {
    return false;
}
bool DaemonLocalSocket::serverBind() {
    return false;
}
bool DaemonLocalSocket::serverListen() {
    return true;
}
void DaemonLocalSocket::attach(Status*) {}
MonitordSocket::MonitordSocket(std::string path, unsigned int maxClients)
    : DaemonLocalSocket(std::move(path), maxClients) {}
MonitordSocket::~MonitordSocket() = default;
void MonitordSocket::setStatus(Status* status) {
    attach(status);
}

IsRemoteAlive::IsRemoteAlive() = default;
IsRemoteAlive::~IsRemoteAlive() = default;
bool IsRemoteAlive::operator()() {
    return script().remoteAlive();
}
IsRemoteMDResync::IsRemoteMDResync() = default;
IsRemoteMDResync::~IsRemoteMDResync() = default;
bool IsRemoteMDResync::operator()() {
    return false;
}
IsRemoteDiskErrHandling::IsRemoteDiskErrHandling() = default;
IsRemoteDiskErrHandling::~IsRemoteDiskErrHandling() = default;
bool IsRemoteDiskErrHandling::operator()(Json::Value&) {
    return false;
}
RebootRemote::RebootRemote() = default;
RebootRemote::~RebootRemote() = default;
bool RebootRemote::operator()(Status&) {
    ++script().restarts;
    return true;
}

InterfaceChecker::InterfaceChecker() = default;
InterfaceChecker::~InterfaceChecker() = default;
bool InterfaceChecker::networkNonOkRate(float&) {
    return false;
}

float heartbeatLatency() {
    return 0.0F;
}
bool isDRBDConnect() {
    return script().drbdConnected();
}
bool isMDResync() {
    return false;
}
bool isDiskErrHandling(Json::Value&) {
    return false;
}
bool isHadConstraints() {
    return script().constraints;
}
bool recordMemoryInfo() {
    return true;
}
bool recordPS() {
    return true;
}
bool recordDF() {
    return true;
}
bool recordStatus(Status&) {
    return true;
}

}  // namespace KORA::HA::Daemon
