// SPDX-License-Identifier: Apache-2.0
#include "hasupport/local_socket.h"
#include "hasupport/socket_server.h"
#include "tests/scripted/script.h"

SocketServer::SocketServer() {
    script().noteMade("SocketServer");
}
SocketServer::~SocketServer() = default;
bool SocketServer::operator()(KORA::HA::Daemon::Status& status) {
    script().note("SocketServer");
    return script().socketServer(status);
}

namespace KORA::HA::Daemon {

class DaemonLocalSocket::Impl {};

DaemonLocalSocket::DaemonLocalSocket(std::string path, unsigned int maxClients) {
    script().note("DaemonLocalSocket " + path + " " + std::to_string(maxClients));
}
DaemonLocalSocket::~DaemonLocalSocket() {
    script().note("~DaemonLocalSocket");
}
bool DaemonLocalSocket::hasError() const {
    script().note("hasError");
    return script().socketError();
}
bool DaemonLocalSocket::serverBind() {
    script().note("serverBind");
    return script().bind();
}
bool DaemonLocalSocket::serverListen() {
    script().note("serverListen");
    return script().listen();
}
void DaemonLocalSocket::attach(Status* status) {
    script().note("setStatus");
    script().attached = status;
}

MonitordSocket::MonitordSocket(std::string path, unsigned int maxClients)
    : DaemonLocalSocket(std::move(path), maxClients) {}
MonitordSocket::~MonitordSocket() = default;
void MonitordSocket::setStatus(Status* status) {
    attach(status);
}

}  // namespace KORA::HA::Daemon
