// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hasupport/io/unique_fd.h"
#include "peer_link.h"
#include "running_peer_door.h"
#include "stream_client.h"
#include "tests/support/in_namespace.h"
#include "tests/support/told.h"

// The peer's port when this process has no descriptor left.

namespace KORA::HA::Daemon::support {
namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using namespace std::chrono_literals;

/// Takes every descriptor that this process can have, from now on.
class Hoard {
  public:
    Hoard() {
        const rlimit few{64, 64};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        fill();
    }
    void fill() {
        while (UniqueFd fd{::dup(0)}) {
            fds_.push_back(std::move(fd));
        }
    }
    void giveOne() { fds_.pop_back(); }

  private:
    std::vector<UniqueFd> fds_;
};

TEST(PeerDoor, GoesOnWhenDescriptorsRunOut) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        {
            const Hoard hoard;
            const unsigned steps = door.steps();
            ASSERT_TRUE(eventually([&] { return door.steps() > steps + 3; }));
        }
        EXPECT_TRUE(isPeerAnswering());
        EXPECT_EQ(door.failedSteps(), 0U);
    });
}

TEST(PeerDoor, WaitsForDescriptorsInPeaceAndSaysItOnce) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k');
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        forgetTold();
        {
            Hoard hoard;
            std::optional<StreamClient> knocking;
            ASSERT_TRUE(eventually([&] {
                hoard.fill();
                hoard.giveOne();
                knocking.emplace();
                return knocking->isConnected();
            }));
            hoard.fill();
            const unsigned before = door.steps();
            std::this_thread::sleep_for(2500ms);  // of 20 ms each, and some for what happens
            EXPECT_LE(door.steps() - before, 150U);
            EXPECT_EQ(told(),
                      std::vector<std::string>{"libkorahadaemon: the peer cannot be taken in: "
                                               "descriptors or memory are exhausted"});
        }
        ASSERT_TRUE(isPeerAnswering());
        EXPECT_EQ(timesTold("the peer is taken in again"), 1U);
        EXPECT_EQ(timesTold("the peer is not served"), 0U);
        EXPECT_EQ(door.failedSteps(), 0U);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
