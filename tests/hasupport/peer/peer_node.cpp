// SPDX-License-Identifier: Apache-2.0
#include "peer_node.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>

#include "hasupport/peer/peer_door.h"
#include "recorded_restart.h"

namespace koraha::test {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)

namespace {

// No thread is made here: a process forked from one with threads cannot count on them.
void serveUntilHangUp(int life) {
    KORA::HA::Daemon::Status status;
    PeerDoor door;
    Door* const doors[] = {&door};
    pollfd end{life, POLLIN, 0};
    while (::poll(&end, 1, 0) == 0) {
        serveDoors(doors, status, std::chrono::milliseconds(20));
    }
}

[[noreturn]] void live(int life, const std::string& local, const std::string& remote,
                       const std::function<void(PeerLink&)>& prepare) {
    {
        PeerLink link(local, remote);
        RecordedRestart restart;
        restart.onCall = [&](const std::string& call) {
            if (call == "start") {
                std::ofstream(link.path("restarts"), std::ios::app) << "restart\n";
            }
        };
        prepare(link);
        const std::string directory = link.path();
        EXPECT_EQ(::send(life, directory.data(), directory.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(directory.size()));
        serveUntilHangUp(life);
    }
    (void)std::fflush(nullptr);
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
}

}  // namespace

PeerNode::PeerNode(const std::string& local, const std::string& remote,
                   const std::function<void(PeerLink&)>& prepare) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    life_ = UniqueFd(ends[0]);
    pid_ = ::fork();
    if (pid_ == 0) {
        life_.reset();
        live(ends[1], local, remote, prepare);
    }
    ::close(ends[1]);
    std::array<char, 256> directory{};
    const ssize_t got = ::recv(life_.get(), directory.data(), directory.size(), 0);
    EXPECT_GT(got, 0);
    directory_.assign(directory.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

PeerNode::~PeerNode() {
    life_.reset();
    int status = -1;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_EQ(status, 0);
}

std::string PeerNode::read(const std::string& name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::size_t PeerNode::restarts() const {
    const std::string lines = read("restarts");
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
}

}  // namespace koraha::test
