// SPDX-License-Identifier: Apache-2.0
#include "tools/status_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <sstream>

#include "records.h"
#include "status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using korahamonctl::StatusOptions;
using ::testing::HasSubstr;
using ::testing::Not;

struct Shown {
    int code = -1;
    std::string out;
    std::string err;
};

using Command = int(const StatusOptions&, std::ostream&, std::ostream&);

Shown run(Command& command, const std::string& socket, bool json = false) {
    StatusOptions options;
    options.socketPath = socket;
    options.configuration = "/nonexistent";
    options.json = json;
    std::ostringstream out;
    std::ostringstream err;
    const int code = command(options, out, err);
    return {code, out.str(), err.str()};
}

Shown statusOf(const StatusServer::Behaviour& behaviour, bool json = false) {
    const StatusServer server(behaviour);
    return run(korahamonctl::showStatus, server.path(), json);
}

Shown statusSaying(const std::string& line, bool json = false) {
    return statusOf(StatusServer::saying(line), json);
}

void expectNoAnswer(const Shown& shown, const std::string& why) {
    EXPECT_EQ(shown.code, 3);
    EXPECT_EQ(shown.out, "");
    EXPECT_THAT(shown.err, HasSubstr("korahamonctl: the daemon does not answer: "));
    EXPECT_THAT(shown.err, HasSubstr(why));
}

TEST(ShowStatus, EndsWithZeroWhenAllIsWell) {
    const Shown shown = statusSaying(lineOf(healthyStatus()));
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("peer                alive"));
    EXPECT_EQ(statusSaying(lineOf(healthyBut("localMDResync", true))).code, 0);
}

TEST(ShowStatus, EndsWithOneOnACauseForAlarm) {
    Json::Value degraded(Json::arrayValue);
    degraded.append("md0");
    for (const Json::Value& status :
         {healthyBut("remoteAlive", false), healthyBut("drbdConnected", false),
          healthyBut("localDiskErrHandling", true), healthyBut("remoteDiskErrHandling", true),
          healthyBut("degradedArrays", degraded), healthyWithout("hbLatency", "x"),
          healthyAged("localMDResync", 500)}) {
        EXPECT_EQ(statusSaying(lineOf(status)).code, 1) << lineOf(status);
    }
}

TEST(ShowStatus, PassesTheJsonOnAndJudgesItAllTheSame) {
    const std::string fine = lineOf(healthyStatus());
    EXPECT_EQ(statusSaying(fine, true).out, fine + "\n");
    const std::string bad = lineOf(healthyBut("remoteAlive", false));
    EXPECT_EQ(statusSaying(bad, true).code, 1);
    EXPECT_EQ(statusSaying(bad, true).out, bad + "\n");
    const std::string evil = "{\"version\":1,\"x\":\"\xc2\x9b\"}";
    EXPECT_EQ(statusSaying(evil, true).out, "{\"version\":1,\"x\":\"\\u009b\"}\n");
}

TEST(ShowStatus, TakesTheStalenessFromTheConfiguration) {
    const ScratchDir scratch;
    const StatusServer server(StatusServer::saying(lineOf(healthyAged("localMDResync", 500))));
    StatusOptions options;
    options.socketPath = server.path();
    options.configuration = scratch.write("conf", R"({"BASE_INTERVAL_ACTIVE":300})");
    std::ostringstream out;
    EXPECT_EQ(showStatus(options, out, out), 0) << out.str();
}

Shown waitOn(const StatusServer::Behaviour& behaviour, int seconds) {
    const StatusServer server(behaviour);
    StatusOptions options;
    options.socketPath = server.path();
    options.configuration = "/nonexistent";
    options.waitSeconds = seconds;
    std::ostringstream out;
    std::ostringstream err;
    const int code = showStatus(options, out, err);
    return {code, out.str(), err.str()};
}

TEST(ShowStatus, WaitsUntilAllIsWell) {
    int asked = 0;
    const Shown shown = waitOn(
        [&](int client) {
            requestOf(client);
            ++asked;
            if (asked > 1) {  // at first it only hangs up
                say(client, lineOf(healthyBut("remoteAlive", asked > 2)) + "\n");
            }
        },
        600);
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(asked, 3);
    EXPECT_THAT(shown.out, HasSubstr("peer                alive"));
}

TEST(ShowStatus, WaitsNoLongerThanToldAndSaysWhatIsThen) {
    const auto start = std::chrono::steady_clock::now();
    const Shown bad = waitOn(StatusServer::saying(lineOf(healthyBut("remoteAlive", false))), 2);
    EXPECT_EQ(bad.code, 1);
    EXPECT_THAT(bad.out, HasSubstr("NOT ALIVE"));
    EXPECT_EQ(std::count(bad.out.begin(), bad.out.end(), 'D'), 2) << "shown once:" << bad.out;
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    expectNoAnswer(waitOn([](int) {}, 1), "");
}

TEST(ShowStatus, EndsWithThreeWithoutADaemon) {
    const ScratchDir scratch;
    expectNoAnswer(run(korahamonctl::showStatus, scratch.path("absent")), "No such file");
    const auto unheard = boundSocket(scratch.path("refusing"));
    expectNoAnswer(run(korahamonctl::showStatus, scratch.path("refusing")), "refused");
    expectNoAnswer(run(korahamonctl::showStatus, scratch.write("file", "")), "refused");
    expectNoAnswer(run(korahamonctl::showStatus, std::string(300, 'x')), "too long");
    expectNoAnswer(run(korahamonctl::showStatus, ""), "");
}

TEST(ShowStatus, BelievesOnlyAServerOfRoot) {
    const ScratchDir scratch;
    const auto listener = boundSocket(scratch.path("other"));
    constexpr uid_t nobody = 65534;
    if (::syscall(SYS_setresuid, -1, nobody, -1) != 0) {
        GTEST_SKIP() << "there is no other user here to be";
    }
    ASSERT_EQ(::listen(listener.get(), 1), 0);
    ASSERT_EQ(::syscall(SYS_setresuid, -1, 0, -1), 0);
    expectNoAnswer(run(korahamonctl::showStatus, scratch.path("other")), "not root's");
}

TEST(ShowStatus, EndsWithThreeOnWhatIsNoStatus) {
    for (const std::string& line :
         {std::string("nonsense"), std::string("[]"), std::string("{}"), std::string("null"),
          std::string("{\"version\":1"), std::string(100'000, '['), std::string("\0\xff\x1b[2J", 6),
          std::string()}) {
        expectNoAnswer(statusSaying(line), "no status");
    }
    std::string nested = lineOf(healthyStatus());
    nested.pop_back();
    nested += ",\"x\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    expectNoAnswer(statusSaying(nested), "no status");
}

TEST(ShowStatus, ShowsARefusalSafely) {
    const Shown shown = statusSaying(R"({"version":1,"error":"too many \u001b[2J"})");
    expectNoAnswer(shown, "it refuses: too many \\x1b[2J");
    EXPECT_THAT(shown.err, Not(HasSubstr("\x1b")));
    EXPECT_LT(statusSaying(R"({"error":")" + std::string(1U << 20U, 'e') + R"("})").err.size(),
              400U);
}

TEST(ShowStatus, EndsWithThreeOnHalfAReply) {
    const std::string half = lineOf(healthyStatus()).substr(0, 100);
    expectNoAnswer(statusOf([&](int client) {
                       requestOf(client);
                       say(client, half);
                   }),
                   "no complete reply");
    expectNoAnswer(statusOf([](int) {}), "");  // leaves at once
}

TEST(ShowStatus, DoesNotWaitForADaemonThatHangs) {
    const auto start = std::chrono::steady_clock::now();
    expectNoAnswer(statusOf(awaitLeave), "no complete reply");
    expectNoAnswer(statusOf([](int client) {
                       requestOf(client);
                       say(client, "{\"version\":1,");
                       awaitLeave(client);
                   }),
                   "no complete reply");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(25));
}

TEST(ShowStatus, DoesNotWaitToBeLetIn) {
    const ScratchDir scratch;
    const auto listener = boundSocket(scratch.path("full"));
    ASSERT_EQ(::listen(listener.get(), 0), 0);
    std::list<Shown> shown;
    for (int i = 0; i < 3; ++i) {  // the first ones find a place in the queue
        shown.push_back(run(korahamonctl::showStatus, scratch.path("full")));
        expectNoAnswer(shown.back(), "");
    }
}

TEST(ShowStatus, HasALimitForAnEndlessReply) {
    expectNoAnswer(statusOf([](int client) {
                       requestOf(client);
                       const std::string much(1U << 20U, ' ');
                       for (int i = 0; i < 40; ++i) {
                           say(client, much);
                       }
                   }),
                   "no complete reply");
}

TEST(ShowStatus, ReadsAReplyThatComesInPieces) {
    const Shown shown = statusOf([](int client) {
        requestOf(client);
        for (const char c : lineOf(healthyStatus()) + "\n") {
            say(client, {&c, 1});
        }
    });
    EXPECT_EQ(shown.code, 0) << shown.err;
}

Shown watchOf(const std::vector<std::string>& lines, bool json = false) {
    const StatusServer server([&](int client) {
        EXPECT_THAT(requestOf(client), HasSubstr("watch"));
        for (const std::string& line : lines) {
            say(client, line + "\n");
        }
    });
    return run(korahamonctl::watchStatus, server.path(), json);
}

std::size_t linesIn(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(WatchStatus, PrintsALinePerChangeAndNoneForASignOfLife) {
    const std::string fine = lineOf(healthyStatus());
    const Shown shown = watchOf({fine, lineOf(healthyAged("localMDResync", 20)),
                                 lineOf(healthyBut("remoteAlive", false)), fine});
    EXPECT_EQ(shown.code, 3);  // the daemon has left
    EXPECT_EQ(linesIn(shown.out), 3U) << shown.out;
    EXPECT_THAT(shown.out, HasSubstr("peer: NOT ALIVE"));
    EXPECT_THAT(shown.out, ::testing::ContainsRegex("^[0-9:]+  active; "));
    EXPECT_THAT(shown.err, HasSubstr("has left"));
}

TEST(WatchStatus, PassesEveryLineOfJsonOn) {
    const std::string fine = lineOf(healthyStatus());
    EXPECT_EQ(watchOf({fine, fine}, true).out, fine + "\n" + fine + "\n");
}

TEST(WatchStatus, EndsWithThreeOnGarbageARefusalOrNobody) {
    const Shown garbage = watchOf({lineOf(healthyStatus()), "\x1b[2J"});
    EXPECT_EQ(garbage.code, 3);
    EXPECT_THAT(garbage.err, HasSubstr("no status"));
    EXPECT_THAT(garbage.err + garbage.out, Not(HasSubstr("\x1b")));
    expectNoAnswer(watchOf({R"({"version":1,"error":"8 watch already"})"}), "8 watch already");
    expectNoAnswer(run(korahamonctl::watchStatus, "/nonexistent/socket"), "No such file");
}

TEST(WatchStatus, EndsWhenItsLinesCannotBeWritten) {
    const std::string fine = lineOf(healthyStatus());
    const StatusServer server([&](int client) {
        requestOf(client);
        say(client, fine + "\n");
        awaitLeave(client);
    });
    StatusOptions options;
    options.socketPath = server.path();
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    EXPECT_EQ(watchStatus(options, out, out), 1);
}

}  // namespace
