// SPDX-License-Identifier: Apache-2.0
// What a status says forbids a restart, on a node with DRBD 9, whose state only drbdsetup tells.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/io/deadline.h"
#include "hasupport/local_probes.h"
#include "hasupport/probe/constraints.h"
#include "hasupport/socket/status_sources.h"
#include "tests/support/covered_kernel.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::seconds;

/// A node with DRBD 9, whose drbdsetup a shell script plays.
class ConstraintsAtHand : public testing::Test {
  protected:
    class HangingProbe;

    ConstraintsAtHand() {
        scratch_.write("proc/drbd", koraha::test::testText("written/drbd9-proc-drbd"));
        scratch_.write("sys/none", "");
    }

    void onTheNode(const std::function<void()>& body) const {
        play("exit 1");
        koraha::test::withKernelFiles(scratch_.path("proc"), scratch_.path("sys"), [&] {
            ASSERT_EQ(
                ::mount(scratch_.path("sbin").c_str(), "/usr/sbin", nullptr, MS_BIND, nullptr), 0);
            body();
        });
    }

    /// Every run of it is counted.
    void play(const std::string& script) const {
        scratch_.write("sbin/drbdsetup",
                       "#!/bin/sh\necho run >> " + scratch_.path("runs") + "\n" + script + "\n",
                       0755);
    }
    void answerWith(const std::string& sample) const {
        play("exec cat " + koraha::test::testData("written/drbd9-events2-" + sample));
    }

    std::ptrdiff_t runs() const {
        const std::string lines = scratch_.read("runs");
        return std::count(lines.begin(), lines.end(), '\n');
    }

    static std::vector<std::string> inStatus() {
        std::vector<std::string> reasons;
        koraha::test::onSmallStack([&] { reasons = StatusSources().constraints(); });
        return reasons;
    }
    static bool has(const std::vector<std::string>& reasons, const std::string& reason) {
        return std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
    }

    koraha::test::ScratchDir scratch_;
};

/// A probe whose drbdsetup hangs until this ends, or the probe gives it up.
class ConstraintsAtHand::HangingProbe {
  public:
    explicit HangingProbe(const ConstraintsAtHand& node) : node_(node) {
        node_.play("while ! [ -e " + node_.scratch_.path("enough") + " ]; do sleep 0.01; done");
        thread_ = std::thread([this] {
            isDRBDConnect();
            over_ = true;
        });
    }
    ~HangingProbe() {
        const std::string enough = node_.scratch_.write("enough", "");
        thread_.join();
        ::unlink(enough.c_str());
    }
    HangingProbe(const HangingProbe&) = delete;
    HangingProbe& operator=(const HangingProbe&) = delete;

    bool isOver() const { return over_; }

  private:
    const ConstraintsAtHand& node_;
    std::atomic<bool> over_{false};
    std::thread thread_;
};

TEST_F(ConstraintsAtHand, areUnknownUntilAProbeHasAskedDrbdsetup) {
    onTheNode([&] {
        EXPECT_TRUE(
            has(inStatus(), "The state of DRBD cannot be told: drbdsetup has not answered yet."));
        EXPECT_EQ(runs(), 0) << "a status starts no process";
    });
}

TEST_F(ConstraintsAtHand, sayWhatTheLastProbeFoundInTheSameWords) {
    onTheNode([&] {
        answerWith("connected");
        EXPECT_TRUE(isDRBDConnect());
        const auto connected = inStatus();
        EXPECT_EQ(runs(), 1);
        EXPECT_EQ(connected, currentConstraints());
        EXPECT_EQ(runs(), 2);

        answerWith("synctarget");
        EXPECT_EQ(inStatus(), connected) << "nobody has asked since";
        EXPECT_TRUE(isHadConstraints()) << "which asks anew";
        EXPECT_EQ(runs(), 3);
        const auto target = inStatus();
        EXPECT_TRUE(has(target, "DRBD resource r0 is being synchronised from the peer."));
        EXPECT_EQ(runs(), 3);
        EXPECT_EQ(target, currentConstraints());

        play("exit 1");
        EXPECT_FALSE(isDRBDConnect());
        EXPECT_TRUE(
            has(inStatus(),
                "The state of DRBD cannot be told: the answer of drbdsetup is not understood."));
    });
}

TEST_F(ConstraintsAtHand, areToldAtOnceWhileDrbdsetupHangs) {
    onTheNode([&] {
        const Deadline patience = Deadline::in(seconds(60));
        bool told = false;
        // Again where this machine hangs for as long as a probe waits.
        while (!told && !patience.passed()) {
            answerWith("connecting");
            EXPECT_FALSE(isDRBDConnect());
            const auto before = inStatus();
            EXPECT_TRUE(has(before, "DRBD resource r0 is not connected to the peer."));
            const auto runsBefore = runs();
            const HangingProbe probe(*this);
            while (runs() == runsBefore && !probe.isOver()) {
                std::this_thread::yield();
            }
            told = inStatus() == before && runs() == runsBefore + 1;
        }
        EXPECT_TRUE(told);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
