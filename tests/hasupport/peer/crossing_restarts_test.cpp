// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include "hasupport/reboot_remote.h"
#include "hasupport/status.h"
#include "peer_link.h"
#include "recorded_restart.h"
#include "running_peer_door.h"
#include "tests/support/in_namespace.h"

// Two nodes that ask for each other's restart at the same moment, by every means: at most one of
// them may go.

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::PeerLink;

/// A file that both nodes append to: one line for each restart of a node.
class Casualties {
  public:
    explicit Casualties(std::string path) : path_(std::move(path)) {}
    void add(const std::string& line) const {
        std::ofstream(path_, std::ios::app) << line << "\n" << std::flush;
    }
    std::string all() const {
        std::ifstream file(path_);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::size_t count() const {
        const std::string lines = all();
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

struct Node {
    const char* local;
    const char* remote;
    std::chrono::milliseconds after{0};
};

/// Both nodes are ready when both have opened the gate from their side.
void meet(const std::string& mine, const std::string& other) {
    std::ofstream(mine) << "ready";
    EXPECT_TRUE(koraha::test::eventually([&] { return ::access(other.c_str(), F_OK) == 0; }));
}

void live(const Node& node, RestartMethod method, const Casualties& casualties,
          const std::string& gates) {
    PeerLink link(node.local, node.remote);
    link.giveKey('k');
    link.settings.restart = method;
    link.settings.restartCommand = {link.scratch().write(
        "bin/fence",
        "#!/bin/sh\necho " + std::string(node.remote) + " forced >> " + casualties.path() + "\n",
        0755)};
    koraha::test::RecordedRestart restart;
    restart.onCall = [&](const std::string& call) {
        if (call == "start") {
            casualties.add(node.local + std::string(" obeyed"));
        }
    };
    koraha::test::RunningPeerDoor door;
    ASSERT_TRUE(koraha::test::eventually([&] { return door.steps() > 2; }));
    meet(gates + node.local, gates + node.remote);
    std::this_thread::sleep_for(node.after);
    Status status;
    RebootRemote()(status);
    meet(gates + "end" + node.local, gates + "end" + node.remote);
}

/// Each node is a process of its own, forked before there are threads.
void raceOnce(RestartMethod method, std::chrono::milliseconds apart) {
    koraha::test::inOwnNetwork([&] {
        const koraha::test::ScratchDir scratch;
        const Casualties casualties(scratch.path("casualties"));
        const std::array<Node, 2> nodes{
            {{"127.0.0.1", "127.0.0.2", {}}, {"127.0.0.2", "127.0.0.1", apart}}};
        std::array<pid_t, 2> children{};
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            children.at(i) = ::fork();
            if (children.at(i) == 0) {
                live(nodes.at(i), method, casualties, scratch.path("gate"));
                (void)std::fflush(nullptr);
                ::_exit(::testing::Test::HasFailure() ? 1 : 0);
            }
        }
        for (const pid_t child : children) {
            int status = -1;
            EXPECT_EQ(::waitpid(child, &status, 0), child);
            EXPECT_EQ(status, 0);
        }
        EXPECT_LE(casualties.count(), 1U) << casualties.all();
    });
}

void race(RestartMethod method) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make keys and stamps that are trusted";
    }
    for (int round = 0; round < 5; ++round) {
        raceOnce(method, std::chrono::milliseconds(0));
    }
    for (const int apart : {1, 2, 5, 20, 200}) {
        raceOnce(method, std::chrono::milliseconds(apart));
    }
}

TEST(CrossingRestarts, ByRequestTakeOneNodeAtMost) {
    race(RestartMethod::request);
}
TEST(CrossingRestarts, ByRequestThenCommandTakeOneNodeAtMost) {
    race(RestartMethod::requestThenCommand);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
