// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <thread>

#include "hasupport/local_probes.h"
#include "hasupport/replication_link.h"
#include "hasupport/status/history.h"
#include "hasupport/status/readings.h"
#include "tests/support/in_namespace.h"
#include "tests/support/tun_peer.h"

namespace {

using namespace std::chrono_literals;
using KORA::HA::Daemon::heartbeatLatency;
using KORA::HA::Daemon::support::Reading;
using KORA::HA::Daemon::support::readingState;
using KORA::HA::Daemon::support::Sample;
using KORA::HA::Daemon::support::samplesAfter;
using koraha::test::inOwnNetwork;
using koraha::test::Packet;
using koraha::test::Request;
using koraha::test::TunPeer;

using Answers = std::vector<TunPeer::Answer>;

void useTunnel() {
    localIP(TunPeer::local);
    remoteIP(TunPeer::remote);
    drbdIF(TunPeer::device);
}

bool isValid() {
    return readingState(Reading::hbLatency).valid;
}

Sample lastSample() {
    const auto samples = samplesAfter(0);
    return samples.empty() ? Sample{} : samples.back();
}

TEST(HeartbeatLatency, IsShortToAPromptPeer) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        const float latency = heartbeatLatency();
        EXPECT_GT(latency, 0.0F);
        EXPECT_LT(latency, 1400.0F);
        EXPECT_TRUE(isValid());
        EXPECT_EQ(lastSample().value, latency);
        EXPECT_GE(lastSample().answered, 3U);
        EXPECT_GE(peer.requests(), 5U);
    });
}

TEST(HeartbeatLatency, RunsOnTheStackOfARoutine) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        float latency = -1.0F;
        koraha::test::onRoutineStack([&latency] { latency = heartbeatLatency(); });
        EXPECT_GT(latency, 0.0F);
        EXPECT_LT(latency, 1400.0F);
    });
}

TEST(HeartbeatLatency, IsTheDelayOfASlowPeer) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            return Answers{{request.reply(), 150ms}};
        });
        useTunnel();
        const float latency = heartbeatLatency();
        EXPECT_GE(latency, 149.0F);
        EXPECT_LT(latency, 1400.0F);
    });
}

TEST(HeartbeatLatency, IsTheMedianNotTheMeanNorTheWorst) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            const bool slow = request.number == 2 || request.number == 4;
            return Answers{{request.reply(), slow ? 900ms : 40ms}};
        });
        useTunnel();
        const float latency = heartbeatLatency();
        EXPECT_GE(latency, 39.0F);
        EXPECT_LT(latency, 850.0F);
    });
}

TEST(HeartbeatLatency, ThreeAnswersOfFiveAreEnough) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            const std::chrono::milliseconds after = 50ms * request.number;
            return request.number > 3 ? Answers{} : Answers{{request.reply(), after}};
        });
        useTunnel();
        const float latency = heartbeatLatency();
        EXPECT_GE(latency, 149.0F) << "the third of five, as two are infinitely long";
        EXPECT_LT(latency, 1400.0F);
    });
}

TEST(HeartbeatLatency, TwoAnswersGiveTheTimeReallyWaited) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            return request.number > 2 ? Answers{} : TunPeer::honest(request);
        });
        useTunnel();
        const auto start = std::chrono::steady_clock::now();
        const float latency = heartbeatLatency();
        const std::chrono::duration<float, std::milli> took =
            std::chrono::steady_clock::now() - start;
        EXPECT_GE(latency, 1500.0F);
        EXPECT_LE(latency, took.count());
        EXPECT_TRUE(isValid());
        EXPECT_EQ(lastSample().answered, 2U);
    });
}

TEST(HeartbeatLatency, ASilentPeerGivesAFreshSampleEachTime) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request&) { return Answers{}; });
        useTunnel();
        const float first = heartbeatLatency();
        const float second = heartbeatLatency();
        EXPECT_GE(first, 1500.0F);
        EXPECT_GE(second, 1500.0F);
        EXPECT_NE(first, second);
    });
}

TEST(HeartbeatLatency, DuplicateRepliesCountOnce) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            if (request.number > 2) {
                return Answers{};
            }
            return Answers{{request.reply(), 0ms}, {request.reply(), 1ms}, {request.reply(), 2ms}};
        });
        useTunnel();
        EXPECT_GE(heartbeatLatency(), 1500.0F);
    });
}

/// The latency to lo as a process measures it that is stopped after `before`, for longer than the
/// measurement may take.
float latencyWhenStopped(std::chrono::milliseconds before) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const float latency = heartbeatLatency();
        const bool told = ::write(ends[1], &latency, sizeof latency) == sizeof latency;
        ::_exit(told ? 0 : 1);
    }
    std::this_thread::sleep_for(before);
    ::kill(child, SIGSTOP);
    std::this_thread::sleep_for(1700ms);
    ::kill(child, SIGCONT);
    float latency = -1.0F;
    EXPECT_EQ(::read(ends[0], &latency, sizeof latency), static_cast<ssize_t>(sizeof latency));
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    return latency;
}

TEST(HeartbeatLatency, OurOwnDelayIsNotThePeers) {
    inOwnNetwork([] {
        localIP("127.0.0.1");
        remoteIP("127.0.0.2");
        drbdIF("lo");
        for (const auto before : {1ms, 10ms, 30ms, 70ms}) {
            const float latency = latencyWhenStopped(before);
            EXPECT_GT(latency, 0.0F);
            EXPECT_LT(latency, 1000.0F) << "stopped after " << before.count() << " ms";
        }
    });
}

TEST(HeartbeatLatency, AMissingInterfaceGivesTheTimeWaitedAndAFailedReading) {
    inOwnNetwork([] {
        useTunnel();
        const float latency = heartbeatLatency();
        EXPECT_GE(latency, 1500.0F);
        EXPECT_TRUE(std::isfinite(latency));
        EXPECT_FALSE(isValid());
        EXPECT_EQ(lastSample().sent, 0U);
    });
}

TEST(HeartbeatLatency, RefusedSendsGiveAFreshSampleOfTheTimeWaited) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        koraha::test::command("ip xfrm policy add dst 192.0.2.2 dir out action block");
        const float latency = heartbeatLatency();
        EXPECT_GE(latency, 1500.0F);
        EXPECT_TRUE(std::isfinite(latency));
        EXPECT_FALSE(isValid());
        EXPECT_EQ(lastSample().value, latency);
        EXPECT_EQ(peer.requests(), 0U);
    });
}

TEST(HeartbeatLatency, AWrongAddressIsInfiniteAtOnceAndNoSample) {
    inOwnNetwork([] {
        useTunnel();
        remoteIP("nowhere");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(std::isinf(heartbeatLatency()));
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1400ms);
        EXPECT_FALSE(isValid());
        EXPECT_TRUE(samplesAfter(0).empty());
    });
}

}  // namespace
