// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

#include "hasupport/local_socket.h"
#include "hasupport/peer/peer_client.h"
#include "hasupport/replication_link.h"
#include "hasupport/socket_server.h"
#include "tests/faults/addresses.h"
#include "tests/faults/operation.h"

namespace koraha::faults {
namespace {

using namespace KORA::HA::Daemon;
using namespace KORA::HA::Daemon::support;

constexpr const char* statusSocket = "/tmp/.ha_daemon.socket";
constexpr const char* serverSocket = "/run/koraha/server.sock";
constexpr unsigned clientLimit = 15;
constexpr int clientSeconds = 20;  // a server gets over any one failure sooner
constexpr timespec shortPause{0, 20'000'000};

sockaddr_un addressOf(const char* path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    return address;
}

std::string exchange(int fd, const char* path) {
    const sockaddr_un address = addressOf(path);
    constexpr std::string_view request = "{\"request\":\"status\"}\n";
    std::string reply;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return reply;
    }
    std::array<char, 4096> chunk{};
    ssize_t got = 1;
    while (got > 0 && !reply.ends_with('\n')) {
        got = ::recv(fd, chunk.data(), chunk.size(), 0);
        reply.append(chunk.data(), static_cast<std::size_t>(got > 0 ? got : 0));
    }
    return reply;
}

/// One request for the status, which wants the whole line of the answer.
bool askLocally(const char* path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval patience{5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const std::string reply = exchange(fd, path);
    ::close(fd);
    return reply.starts_with("{\"version\":1,\"remoteAlive\"") && reply.ends_with("}\n");
}

bool askAsPeer() {
    localIP(peerAddress);
    remoteIP(ownAddress);
    return askPeer(R"({"request":"state"})", true, Deadline::in(Milliseconds(1000)))
        .payload.has_value();
}

/// What a client's process tells its parent.
enum class Told : int { nothing, answered, notAnswered };

/// An honest client in a process of its own, which tries until it has its answers. Afterwards it
/// goes on knocking, so that the server's step returns at once.
class Client {
  public:
    explicit Client(bool alsoPeer)
        : alsoPeer_(alsoPeer),
          told_(static_cast<Told*>(::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
          pid_(::fork()) {
        if (pid_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            __atomic_store_n(told_, isServed() ? Told::answered : Told::notAnswered,
                             __ATOMIC_SEQ_CST);
            for (;;) {
                knock();
            }
        }
    }

    Told told() const { return __atomic_load_n(told_, __ATOMIC_SEQ_CST); }

    void end() const {
        ::kill(pid_, SIGKILL);
        ::wait4(pid_, nullptr, 0, nullptr);
    }

  private:
    const char* path() const { return alsoPeer_ ? serverSocket : statusSocket; }

    void knock() const {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const sockaddr_un address = addressOf(path());
        ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        ::close(fd);
        ::nanosleep(&shortPause, nullptr);
    }

    bool isServed() const {
        const std::time_t end = std::time(nullptr) + clientSeconds;
        bool local = false;
        bool peer = !alsoPeer_;
        while ((!local || !peer) && std::time(nullptr) < end) {
            local = local || askLocally(path());
            peer = peer || askAsPeer();
            ::nanosleep(&shortPause, nullptr);
        }
        return local && peer;
    }

    bool alsoPeer_;
    Told* told_;
    pid_t pid_;
};

std::optional<Client>& client() {
    static std::optional<Client> theOne;
    return theOne;
}

template <typename Step>
Outcome serveUntilAnswered(const Step& step) {
    for (;;) {
        step();
        if (const Told told = client()->told(); told != Told::nothing) {
            return {told == Told::answered ? "answered" : "not answered"};
        }
    }
}

Outcome serveStatus() {
    static Status status;
    MonitordSocket server(statusSocket, clientLimit);
    if (server.hasError()) {
        return {"no socket", true};
    }
    server.setStatus(&status);
    if (!server.serverBind()) {
        return {"not bound", true};
    }
    return serveUntilAnswered([&] { server.serverListen(); });
}

Outcome serveBoth() {
    static Status status;
    return serveUntilAnswered([] { SocketServer()(status); });
}

Outcome endClient(Outcome outcome) {
    client()->end();
    return outcome;
}

}  // namespace

bool askForRestartAsPeer() {
    localIP(peerAddress);
    remoteIP(ownAddress);
    drbdIF(interface);
    const PeerAnswer answer = askPeer(R"({"request":"restart","reason":"a test"})", true,
                                      Deadline::in(Milliseconds(1000)));
    std::puts(answer.payload ? answer.payload->c_str() : answer.problem.c_str());
    return answer.payload.has_value();
}

std::vector<Operation> servingOperations() {
    return {
        {"MonitordSocket", serveStatus, [] { client().emplace(false); }, endClient, true},
        {"SocketServer", serveBoth, [] { client().emplace(true); }, endClient, true, 3},
    };
}

}  // namespace koraha::faults
