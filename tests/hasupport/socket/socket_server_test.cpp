// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket_server.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/peer/peer_client.h"
#include "hasupport/replication_link.h"
#include "hasupport/status.h"
#include "line_client.h"
#include "tests/hasupport/peer/peer_link.h"
#include "tests/support/failing_memory.h"
#include "tests/support/in_namespace.h"
#include "tests/support/small_stack.h"
#include "tests/support/told.h"

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::eventually;
using koraha::test::LineClient;
using koraha::test::PeerLink;
using namespace std::chrono_literals;

constexpr const char* doorPath = "/run/koraha/server.sock";

/// Runs the body with a network and an empty /run of its own.
void alone(const std::function<void()>& body) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs a /run of its own";
    }
    koraha::test::inOwnNetwork([&] { koraha::test::inOwnRun(body); });
}

bool localDoorAnswers() {
    LineClient client(doorPath);
    return client.isConnected() && client.ask("status").isMember("remoteAlive");
}

bool peerDoorAnswers() {
    return askPeer(R"({"request":"state"})", false, Deadline::in(20s)).payload.has_value();
}

/// The routine that calls the server over and over.
class Routine {
  public:
    Routine() : thread_([this] { koraha::test::onSmallStack([this] { run(); }); }) {}
    ~Routine() {
        stop_ = true;
        const LineClient wakesIt(doorPath);
        thread_.join();
    }
    Routine(const Routine&) = delete;
    Routine& operator=(const Routine&) = delete;

    bool ended() const { return ended_; }
    unsigned steps() const { return steps_; }

    Status status;

  private:
    void run() {
        SocketServer serve;
        while (!stop_ && serve(status)) {
            ++steps_;
        }
        ended_ = !stop_;
    }

    std::atomic<bool> stop_{false};
    std::atomic<bool> ended_{false};
    std::atomic<unsigned> steps_{0};
    std::thread thread_;
};

TEST(SocketServer, ServesTheLocalDoorAndThePeer) {
    alone([] {
        const PeerLink link;
        Routine routine;
        routine.status.setRemoteAlive(true);
        ASSERT_TRUE(eventually(localDoorAnswers));
        EXPECT_TRUE(LineClient(doorPath).ask("status")["remoteAlive"].asBool());
        EXPECT_TRUE(LineClient(doorPath).ask("history").isMember("samples"));
        EXPECT_TRUE(eventually(peerDoorAnswers));
        struct stat file {};
        ASSERT_EQ(::stat(doorPath, &file), 0);
        EXPECT_EQ(file.st_mode & 07777U, 0660U);
        EXPECT_FALSE(routine.ended());
    });
}

TEST(SocketServer, StepsAreBoundedWhenNobodyAsks) {
    alone([] {
        const PeerLink link;
        koraha::test::onSmallStack([] {
            Status status;
            const auto start = std::chrono::steady_clock::now();
            EXPECT_TRUE(SocketServer()(status));
            const auto took = std::chrono::steady_clock::now() - start;
            EXPECT_GE(took, 4s);
            EXPECT_LT(took, 30s);
            const LineClient client(doorPath);
            EXPECT_TRUE(client.isConnected()) << "the doors outlive the object";
            EXPECT_TRUE(SocketServer()(status));
        });
    });
}

TEST(SocketServer, GoesOnWithoutAnyAddress) {
    alone([] {
        const PeerLink link("", "");
        drbdIF("");
        const Routine routine;
        EXPECT_TRUE(eventually(localDoorAnswers));
        EXPECT_TRUE(eventually([&] { return routine.steps() > 3; }));
        EXPECT_EQ(koraha::test::timesTold("the peer is not served: \"\" is no interface name"), 1U);
        localIP("127.0.0.1");
        remoteIP("127.0.0.1");
        drbdIF("lo");
        EXPECT_TRUE(eventually(peerDoorAnswers));
        EXPECT_FALSE(routine.ended());
    });
}

TEST(SocketServer, ServesThePeerWithoutALocalDoorAndOpensThatLater) {
    alone([] {
        const PeerLink link;
        ASSERT_EQ(::mkdir("/run/koraha", 0700), 0);
        ASSERT_EQ(::mkdir(doorPath, 0700), 0);
        const Routine routine;
        EXPECT_TRUE(eventually(peerDoorAnswers));
        EXPECT_FALSE(localDoorAnswers());
        struct stat file {};
        ASSERT_EQ(::stat(doorPath, &file), 0);
        EXPECT_TRUE(S_ISDIR(file.st_mode)) << "what is no socket stays";
        ASSERT_EQ(::rmdir(doorPath), 0);
        EXPECT_TRUE(eventually([] { return peerDoorAnswers() && localDoorAnswers(); }));
        EXPECT_FALSE(routine.ended());
    });
}

TEST(SocketServer, GoesOnWhenDescriptorsRunOut) {
    alone([] {
        const PeerLink link;
        const Routine routine;
        ASSERT_TRUE(eventually(localDoorAnswers));
        const rlimit few{64, 64};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        {
            const LineClient waiting(doorPath);
            std::vector<UniqueFd> hoard;
            do {
                hoard.emplace_back(::dup(0));
            } while (hoard.back());
            const unsigned steps = routine.steps();
            EXPECT_TRUE(eventually([&] { return routine.steps() > steps + 2; }));
        }
        EXPECT_TRUE(eventually([] { return localDoorAnswers() && peerDoorAnswers(); }));
        EXPECT_FALSE(routine.ended());
    });
}

TEST(SocketServer, PausesWhereThereIsNoMemoryForItsDoorsAndMakesThemLater) {
    alone([] {
        const PeerLink link;
        koraha::test::onSmallStack([] {
            Status status;
            SocketServer serve;
            bool goesOn = false;
            const auto start = std::chrono::steady_clock::now();
            {
                const koraha::test::FailingAllocation none(0, true);
                goesOn = serve(status);
            }
            EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
            EXPECT_TRUE(goesOn);
            EXPECT_FALSE(LineClient(doorPath).isConnected());
        });
        const Routine routine;
        EXPECT_TRUE(eventually(localDoorAnswers));
    });
}

TEST(SocketServer, AnswersBothDoorsWithACrowdAtOne) {
    alone([] {
        const PeerLink link;
        const Routine routine;
        ASSERT_TRUE(eventually(localDoorAnswers));
        std::vector<std::unique_ptr<LineClient>> idle;
        for (int i = 0; i < 40; ++i) {
            idle.push_back(std::make_unique<LineClient>(doorPath));
            idle.back()->send("{\"request\":");
        }
        EXPECT_TRUE(eventually(peerDoorAnswers));
        EXPECT_TRUE(eventually(localDoorAnswers));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
