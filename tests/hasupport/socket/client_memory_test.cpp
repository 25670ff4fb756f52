// SPDX-License-Identifier: Apache-2.0
// Whatever allocation fails in a step of the local door: a client gets whole replies or is dropped,
// and the others are served in the same step.
#include <gtest/gtest.h>
#include <poll.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "hasupport/socket/client_door.h"
#include "hasupport/socket/socket_path.h"
#include "hasupport/status/history.h"
#include "line_client.h"
#include "running_door.h"
#include "tests/support/failing_memory.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/told.h"

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::FailingAllocation;
using koraha::test::LineClient;
using namespace std::chrono_literals;

constexpr int more = 1'000'000;  // allocations than any step makes

ClientLimits alwaysLooking() {
    ClientLimits limits;
    limits.lookEvery = 0ms;
    return limits;
}

/// A door that is served by the test itself, step by step.
class SteppedDoor {
  public:
    SteppedDoor() {
        EXPECT_TRUE(socket_.bindAndListen());
        door_ = std::make_unique<ClientDoor>(socket_.listener(), alwaysLooking(),
                                             koraha::test::quietSources());
    }

    std::string path() const { return scratch_.path("door"); }
    std::size_t clientCount() const { return door_->clientCount(); }

    /// Serves what is there to be served; that allocation fails. False when it made fewer.
    bool stepWithout(int allocation) {
        std::vector<pollfd> fds;
        auto wakeAt = SteadyClock::now() + 1s;
        door_->collect(fds, wakeAt);
        EXPECT_GE(::poll(fds.data(), fds.size(), Deadline(wakeAt).pollTimeout()), 0);
        const FailingAllocation failing(allocation);
        EXPECT_NO_THROW(fine_ = door_->serve(fds, status));
        return FailingAllocation::hasFailed();
    }
    /// Whether the last step succeeded.
    bool isFine() const { return fine_; }

    void stepUntil(std::size_t clients) {
        for (int steps = 0; clientCount() != clients && steps < 1000; ++steps) {
            stepWithout(more);
        }
        EXPECT_EQ(clientCount(), clients);
    }

    Status status;

  private:
    koraha::test::ScratchDir scratch_;
    SocketPath socket_{scratch_.path("door"), {scratch_.path(), "/nonexistent/group", 0}};
    std::unique_ptr<ClientDoor> door_;
    bool fine_ = true;
};

/// All that the client was sent by a door that has let go of it; every line is a reply.
std::vector<Json::Value> repliesTo(LineClient& client) {
    std::vector<Json::Value> replies;
    while (const auto line = client.line()) {
        replies.push_back(koraha::test::parseLine(*line));
        EXPECT_EQ(replies.back()["version"], 1) << *line;
    }
    return replies;
}

/// A request that could not be read for lack of memory is answered with an error.
bool answers(const Json::Value& reply, const char* member) {
    return reply.isMember(member) || reply.isMember("error");
}

/// Two clients, one of them with two requests, and a step that lacks memory once. False when it
/// needed less.
bool serveTwoWithout(int allocation, bool knowsThem) {
    SteppedDoor door;
    LineClient asking(door.path());
    LineClient other(door.path());
    if (knowsThem) {
        door.stepUntil(2);
    }
    asking.send("{\"request\":\"history\"}\n{\"request\":\"status\"}\n");
    other.send("{\"request\":\"status\"}\n");
    const bool failed = door.stepWithout(allocation);
    EXPECT_GE(door.clientCount(), 1U);
    EXPECT_TRUE(asking.hears(0ms)) << "neither answered nor dropped";
    EXPECT_TRUE(other.hears(0ms)) << "neither answered nor dropped";
    const std::size_t dropped = 2 - door.clientCount();
    EXPECT_TRUE(door.isFine() || dropped == 1);

    asking.endSending();
    other.endSending();
    auto askingReads = std::async(std::launch::async, [&] { return repliesTo(asking); });
    door.stepUntil(0);
    EXPECT_TRUE(door.isFine());
    const auto askingGot = askingReads.get();
    const auto otherGot = repliesTo(other);
    EXPECT_TRUE(askingGot.empty() || answers(askingGot[0], "samples"));
    EXPECT_TRUE(askingGot.size() < 2 || answers(askingGot[1], "pid"));
    EXPECT_TRUE(otherGot.empty() || answers(otherGot[0], "pid"));
    if (dropped == 0) {
        EXPECT_EQ(askingGot.size(), 2U);
        EXPECT_EQ(otherGot.size(), 1U);
    } else {
        EXPECT_TRUE(askingGot.size() == 2 || otherGot.size() == 1) << "both lack something";
    }
    return failed;
}

class ClientMemory : public testing::TestWithParam<bool> {};

TEST_P(ClientMemory, LackingAtAnyMomentMixesNoRepliesAndSilencesNobody) {
    for (int count = 0; count < 300; ++count) {
        noteSample(SampleKind::hbLatency, 0.25F, 5, 5);
    }
    int allocations = 0;
    while (!HasFailure() && serveTwoWithout(allocations, GetParam())) {
        ++allocations;
    }
    EXPECT_GT(allocations, 20);
    EXPECT_GT(koraha::test::timesTold("a local client could not be served: std::bad_alloc"), 0U);
}

INSTANTIATE_TEST_SUITE_P(OfClientsThatAreInAndOfNewOnes, ClientMemory, testing::Bool());

TEST(ClientMemoryOfWatchers, LackingAtAnyMomentHidesNoChange) {
    bool failed = true;
    for (int allocation = 0; failed && !testing::Test::HasFailure(); ++allocation) {
        SteppedDoor door;
        LineClient watcher(door.path());
        watcher.send("{\"request\":\"watch\"}\n");
        while (!watcher.hears(0ms)) {
            door.stepWithout(more);
        }
        EXPECT_EQ(watcher.json()["drbdConnected"], false);
        door.status.drbdConnected = true;
        failed = door.stepWithout(allocation);
        door.stepWithout(more);
        ASSERT_TRUE(watcher.hears(0ms)) << allocation;
        EXPECT_EQ(watcher.json()["drbdConnected"], true) << allocation;
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
