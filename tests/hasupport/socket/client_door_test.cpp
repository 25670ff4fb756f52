// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/client_door.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <list>
#include <thread>

#include "hasupport/status/history.h"
#include "line_client.h"
#include "running_door.h"

namespace {

using KORA::HA::Daemon::support::ClientLimits;
using koraha::test::LineClient;
using koraha::test::RunningDoor;
using namespace std::chrono_literals;

ClientLimits impatient() {
    ClientLimits limits;
    limits.patience = 200ms;
    limits.lookEvery = 50ms;
    return limits;
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

TEST(ClientDoor, AnswersAnyNumberOfRequestsOfSeveralClients) {
    RunningDoor door;
    door.status.setRemoteAlive(true);
    LineClient one(door.path());
    LineClient other(door.path());
    for (int count = 0; count < 200; ++count) {
        door.status.hbLatency = static_cast<float>(count);
        EXPECT_EQ(one.ask("status")["hbLatency"].asFloat(), static_cast<float>(count));
        const Json::Value reply = other.ask("status");
        EXPECT_EQ(reply["version"], 1);
        EXPECT_EQ(reply["remoteAlive"], true);
    }
}

TEST(ClientDoor, AnswersRequestsThatCameTogetherOrInPieces) {
    RunningDoor door;
    LineClient client(door.path());
    std::string many;
    for (int count = 0; count < 300; ++count) {
        many += "{\"request\":\"status\"}\r\n";
    }
    std::thread sender([&] { client.send(many); });
    for (int count = 0; count < 300; ++count) {
        ASSERT_EQ(client.json()["version"], 1) << count;
    }
    sender.join();
    for (const char c : std::string("{\"request\":\"status\"}\n")) {
        client.send({&c, 1});
        std::this_thread::yield();
    }
    EXPECT_EQ(client.json()["version"], 1);
}

TEST(ClientDoor, AnswersAClientThatHasEndedItsSide) {
    RunningDoor door;
    LineClient client(door.path());
    client.send("{\"request\":\"status\"}\n{\"request\":\"status\"}");  // the last without its end
    client.endSending();
    EXPECT_EQ(client.json()["version"], 1);
    EXPECT_EQ(client.json()["version"], 1);
    EXPECT_TRUE(client.isClosed());
}

TEST(ClientDoor, AnswersGarbageWithAnErrorAndGoesOn) {
    RunningDoor door;
    LineClient client(door.path());
    const std::string garbage[] = {
        "",
        "hello",
        "[]",
        "null",
        "{}",
        "{\"request\":7}",
        "{\"request\":\"reboot\"}",
        "{\"request\":\"status\"} x",
        "{\"request\":\"sta\\u0000tus\"}",
        "{\"request\":1e999}",
        std::string("\0\xff\xfe\x01", 4),
        std::string(2000, '['),
        std::string(1000, '{') + "\"a\":",
        "{\"a\":" + std::string(16, '[') + std::string(16, ']') + ",\"request\":\"status\"}"};
    for (const std::string& line : garbage) {
        client.send(line + "\n");
        const Json::Value reply = client.json();
        EXPECT_EQ(reply["version"], 1) << line;
        EXPECT_TRUE(reply["error"].isString()) << line;
    }
    EXPECT_FALSE(client.ask("status").isMember("error"));
}

TEST(ClientDoor, RefusesAnEndlessLine) {
    RunningDoor door;
    LineClient fits(door.path());
    const std::string request = "{\"request\":\"status\"}";
    fits.send(request + std::string(4095 - request.size(), ' ') + "\n");
    EXPECT_TRUE(fits.json().isMember("pid"));

    LineClient endless(door.path());
    endless.send(std::string(4096, ' '));
    EXPECT_TRUE(endless.json()["error"].isString());
    EXPECT_TRUE(endless.isClosed());
    EXPECT_TRUE(fits.ask("status").isMember("pid"));
}

TEST(ClientDoor, DropsAClientOnHalfALineAndKeepsAnIdleOne) {
    RunningDoor door(impatient());
    LineClient idle(door.path());
    LineClient half(door.path());
    ASSERT_TRUE(eventually([&] { return door.clientCount() == 2; }));
    half.send("{\"request\":");
    EXPECT_TRUE(half.isClosed());
    // A byte now and then does not make the line any more complete.
    LineClient drip(door.path());
    EXPECT_TRUE(eventually([&] { return !drip.send("x") || drip.hears(1ms); }));
    EXPECT_EQ(idle.ask("status")["version"], 1);
}

void fillHistory() {
    for (int count = 0; count < 8192; ++count) {
        KORA::HA::Daemon::support::noteSample(KORA::HA::Daemon::support::SampleKind::hbLatency,
                                              0.25F, 5, 5);
    }
}

TEST(ClientDoor, DropsAClientThatDoesNotReadAndServesTheOthersMeanwhile) {
    fillHistory();
    RunningDoor door(impatient());
    LineClient slow(door.path());
    slow.send("{\"request\":\"history\"}\n");
    LineClient honest(door.path());
    for (int count = 0; count < 50; ++count) {
        ASSERT_EQ(honest.ask("status")["version"], 1);
    }
    EXPECT_TRUE(eventually([&] { return door.clientCount() == 1; }));
    EXPECT_EQ(honest.ask("status")["version"], 1);
}

TEST(ClientDoor, SurvivesClientsThatLeaveInTheMiddleOfAReply) {
    fillHistory();
    RunningDoor door;
    for (int count = 0; count < 50; ++count) {
        LineClient client(door.path());
        client.send("{\"request\":\"history\"}\n{\"request\":\"status\"}\n");
        if (count % 2 == 0) {
            client.hears(1s);
        }
    }
    LineClient honest(door.path());
    EXPECT_EQ(honest.ask("status")["version"], 1);
    EXPECT_TRUE(eventually([&] { return door.clientCount() == 1; }));
    EXPECT_EQ(door.failedSteps(), 0U);
}

TEST(ClientDoor, AnswersAnHonestClientAmongManyIdleOnes) {
    RunningDoor door;
    std::list<LineClient> idle;
    for (int count = 0; count < 40; ++count) {
        idle.emplace_back(door.path());
        ASSERT_TRUE(idle.back().isConnected());
    }
    LineClient honest(door.path());
    EXPECT_EQ(honest.ask("status")["version"], 1);
    EXPECT_LE(door.clientCount(), 15U);
    EXPECT_TRUE(idle.front().isClosed());
}

TEST(ClientDoor, TakesAClientInThoughAllOthersAreBusy) {
    RunningDoor door;
    std::atomic<bool> stop{false};
    std::list<std::jthread> busy;
    for (int count = 0; count < 15; ++count) {
        busy.emplace_back([&] {
            while (!stop) {
                LineClient client(door.path());
                while (!stop && client.ask("status")["version"] == 1) {
                }
            }
        });
    }
    for (int count = 0; count < 20; ++count) {
        LineClient honest(door.path());
        EXPECT_EQ(honest.ask("status")["version"], 1);
    }
    stop = true;
}

TEST(ClientDoor, TakesThePlaceOfWhoeverIsAnsweredBeforeThatOfWhoeverHasNotSpokenYet) {
    ClientLimits limits;
    limits.grace = 1h;
    RunningDoor door(limits);
    LineClient silent(door.path());
    ASSERT_TRUE(eventually([&] { return door.clientCount() == 1; }));
    std::list<LineClient> answered;
    for (int count = 0; count < 200; ++count) {
        answered.emplace_back(door.path());
        ASSERT_EQ(answered.back().ask("status")["version"], 1);
    }
    EXPECT_LE(door.clientCount(), 15U);
    EXPECT_TRUE(answered.front().isClosed());
    EXPECT_EQ(silent.ask("status")["version"], 1);
}

TEST(ClientDoor, TellsWatchersAboutChangesOnly) {
    RunningDoor door(impatient());
    LineClient watcher(door.path());
    EXPECT_EQ(watcher.ask("watch")["drbdConnected"], false);
    EXPECT_FALSE(watcher.hears(300ms));
    door.status.drbdConnected = true;
    EXPECT_EQ(watcher.json()["drbdConnected"], true);
    Json::Value disks(Json::arrayValue);
    disks.append("sdq");
    door.status.setErrHandlingDiskRemote(disks);
    EXPECT_EQ(watcher.json()["errHandlingDisksRemote"], disks);
    EXPECT_FALSE(watcher.hears(300ms));
    EXPECT_TRUE(watcher.ask("status").isMember("pid"));  // it may still ask
    door.status.localMDResync = true;
    EXPECT_EQ(watcher.json()["localMDResync"], true);
}

TEST(ClientDoor, KeepsAWatcherThatSendsNoMoreUntilItLeaves) {
    RunningDoor door(impatient());
    LineClient watcher(door.path());
    watcher.send("{\"request\":\"watch\"}\n");
    watcher.endSending();
    EXPECT_EQ(watcher.json()["version"], 1);
    door.status.hbLatency = 3.5F;
    EXPECT_EQ(watcher.json()["hbLatency"], 3.5);
    watcher.leave();
    EXPECT_TRUE(eventually([&] { return door.clientCount() == 0; }));
}

TEST(ClientDoor, GivesWatchersASignOfLife) {
    ClientLimits limits = impatient();
    limits.signOfLife = 100ms;
    RunningDoor door(limits);
    LineClient watcher(door.path());
    const double first = watcher.ask("watch")["uptimeSeconds"].asDouble();
    EXPECT_TRUE(watcher.json().isMember("pid"));
    EXPECT_GE(watcher.json()["uptimeSeconds"].asDouble(), first);
}

TEST(ClientDoor, LetsOnlySoManyWatchAndKeepsThemWhenOthersCrowdIn) {
    RunningDoor door(impatient());
    std::list<LineClient> watchers;
    for (int count = 0; count < 8; ++count) {
        watchers.emplace_back(door.path());
        ASSERT_TRUE(watchers.back().ask("watch").isMember("pid"));
    }
    LineClient ninth(door.path());
    EXPECT_TRUE(ninth.ask("watch")["error"].isString());
    EXPECT_TRUE(ninth.ask("status").isMember("pid"));
    std::list<LineClient> idle;
    for (int count = 0; count < 30; ++count) {
        idle.emplace_back(door.path());
    }
    LineClient honest(door.path());
    EXPECT_EQ(honest.ask("status")["version"], 1);
    door.status.hbLatency = 9.0F;
    for (LineClient& watcher : watchers) {
        EXPECT_EQ(watcher.json()["hbLatency"], 9.0);
    }
}

TEST(ClientDoor, GivesTheWholeHistory) {
    fillHistory();
    KORA::HA::Daemon::support::noteEvent("link went away");
    RunningDoor door;
    LineClient client(door.path());
    for (int pass = 0; pass < 2; ++pass) {
        const Json::Value history = client.ask("history");
        ASSERT_EQ(history["samples"].size(), 8192U);
        EXPECT_EQ(history["samples"][8191]["kind"], "hbLatency");
        EXPECT_EQ(history["samples"][8191]["value"], 0.25);
        EXPECT_EQ(history["samples"][8191]["answered"], 5);
        const Json::Value& events = history["events"];
        ASSERT_GE(events.size(), 1U);
        EXPECT_EQ(events[events.size() - 1]["text"], "link went away");
        EXPECT_GT(events[0]["at"].asDouble(), 1e9);
    }
    EXPECT_TRUE(client.ask("status").isMember("pid"));
}

// Many writers and readers at once; mostly for the thread sanitizer.
TEST(ClientDoor, ServesWhileTheRecordChanges) {
    RunningDoor door(impatient());
    std::atomic<bool> stop{false};
    std::jthread writer([&] {
        Json::Value disks(Json::arrayValue);
        disks.append("sda");
        for (int pass = 0; !stop; ++pass) {
            door.status.setRemoteAlive(pass % 2 == 0);
            door.status.setErrHandlingDisk(pass % 2 == 0 ? disks : Json::Value(Json::arrayValue));
            door.status.netNonOkRate = static_cast<float>(pass);
            KORA::HA::Daemon::support::noteSample(
                KORA::HA::Daemon::support::SampleKind::netNonOkRate, 0.5F);
        }
    });
    LineClient watcher(door.path());
    watcher.send("{\"request\":\"watch\"}\n");
    LineClient client(door.path());
    for (int pass = 0; pass < 100; ++pass) {
        EXPECT_LE(client.ask("status")["errHandlingDisks"].size(), 1U);
    }
    EXPECT_TRUE(client.ask("history").isMember("samples"));
    EXPECT_TRUE(watcher.json().isMember("pid"));
    EXPECT_TRUE(watcher.json().isMember("pid"));
    stop = true;
}

/// Lets the process open no further file, until it goes.
class NoDescriptors {
  public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit none = before_;
        const int next = ::fcntl(0, F_DUPFD_CLOEXEC, 0);
        ::close(next);
        none.rlim_cur = static_cast<rlim_t>(next);
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit before_{};
};

TEST(ClientDoor, FailsAStepWithoutDescriptorsAndGoesOnAfter) {
    ClientLimits limits;
    limits.acceptPause = 100ms;
    RunningDoor door(limits);
    LineClient first(door.path());
    ASSERT_EQ(first.ask("status")["version"], 1);
    std::optional<LineClient> second;
    {
        // The client's own socket takes the last descriptor there is.
        const int place = ::fcntl(0, F_DUPFD_CLOEXEC, 0);
        std::optional<NoDescriptors> none;
        none.emplace();
        ::close(place);
        second.emplace(door.path());
        ASSERT_TRUE(second->isConnected());
        EXPECT_TRUE(eventually([&] { return door.failedSteps() > 0; }));
        EXPECT_EQ(first.ask("status")["version"], 1);
    }
    EXPECT_EQ(second->ask("status")["version"], 1);
}

}  // namespace
