// SPDX-License-Identifier: Apache-2.0
#include "hasupport/settings/support_settings.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/told.h"

namespace KORA::HA::Daemon::support {
namespace {

using Texts = std::vector<std::string>;

SupportSettings parse(const std::string& text, Texts& problems) {
    SupportSettings settings;
    koraha::test::onSmallStack([&] { settings = parseSupportSettings(text, problems); });
    return settings;
}

SupportSettings parseGood(const std::string& text) {
    Texts problems;
    SupportSettings settings = parse(text, problems);
    EXPECT_EQ(problems, Texts{}) << text;
    return settings;
}

Texts problemsOf(const std::string& text) {
    Texts problems;
    parse(text, problems);
    return problems;
}

TEST(SupportSettings, HaveDefaults) {
    const SupportSettings settings = parseGood("{}");
    EXPECT_EQ(settings.peerPort, 8909);
    EXPECT_EQ(settings.peerTimeoutMs, 1000);
    EXPECT_EQ(settings.disks, Texts{});
    EXPECT_TRUE(settings.drbd);
    EXPECT_EQ(settings.restart, RestartMethod::request);
    EXPECT_EQ(settings.restartCommand, Texts{});
    EXPECT_EQ(settings.orderlyCommand, Texts{});
    EXPECT_EQ(settings.peerKeyPath, "/var/lib/ha/peer.key");
    EXPECT_EQ(settings.stampDirectory, "/var/lib/ha");
}

TEST(SupportSettings, TakeEveryMember) {
    const SupportSettings settings =
        parseGood(R"({"port":65535,"peerTimeoutMs":100,"disks":["sda","/dev/sdb"],"drbd":false,)"
                  R"("restart":"request-then-command","restartCommand":["/sbin/fence","peer",""],)"
                  R"("orderlyCommand":["/bin/true"],"unknown":[1,2,{}]})");
    EXPECT_EQ(settings.peerPort, 65535);
    EXPECT_EQ(settings.peerTimeoutMs, 100);
    EXPECT_EQ(settings.disks, (Texts{"sda", "/dev/sdb"}));
    EXPECT_FALSE(settings.drbd);
    EXPECT_EQ(settings.restart, RestartMethod::requestThenCommand);
    EXPECT_EQ(settings.restartCommand, (Texts{"/sbin/fence", "peer", ""}));
    EXPECT_EQ(settings.orderlyCommand, Texts{"/bin/true"});
}

TEST(SupportSettings, KnowTheThreeWaysToRestart) {
    EXPECT_EQ(parseGood(R"({"restart":"request"})").restart, RestartMethod::request);
    EXPECT_EQ(parseGood(R"({"restart":"command","restartCommand":["/a"]})").restart,
              RestartMethod::command);
    for (const char* other : {"\"Request\"", "\"\"", "true", "1", "[\"request\"]", "null", "{}"}) {
        Texts problems;
        EXPECT_EQ(parse(std::string("{\"restart\":") + other + "}", problems).restart,
                  RestartMethod::request);
        EXPECT_EQ(problems, Texts{"restart must be request, command or request-then-command"});
    }
}

TEST(SupportSettings, DoNotRestartByACommandThatIsNotThere) {
    for (const char* command : {"", R"(,"restartCommand":[])", R"(,"restartCommand":["fence"])",
                                R"(,"restartCommand":"/sbin/fence")", R"(,"restartCommand":[7])"}) {
        for (const char* method : {"command", "request-then-command"}) {
            Texts problems;
            const SupportSettings settings =
                parse(std::string(R"({"restart":")") + method + "\"" + command + "}", problems);
            EXPECT_EQ(settings.restart, RestartMethod::request) << command;
            EXPECT_EQ(settings.restartCommand, Texts{});
            ASSERT_FALSE(problems.empty());
            EXPECT_EQ(problems.back(), "restart asks for a command, but restartCommand names none");
        }
    }
}

TEST(SupportSettings, KeepTheDefaultOfAnUnusableNumber) {
    for (const char* port : {"0", "65536", "-1", "1e400", "8909.5", "99999999999999999999", "\"1\"",
                             "null", "true", "[]", "{}"}) {
        Texts problems;
        EXPECT_EQ(parse(std::string("{\"port\":") + port + "}", problems).peerPort, 8909) << port;
        EXPECT_EQ(problems.size(), 1U) << port;
    }
    for (const char* timeout : {"99", "1001", "0", "-5"}) {
        EXPECT_EQ(problemsOf(std::string("{\"peerTimeoutMs\":") + timeout + "}"),
                  Texts{"peerTimeoutMs must be a whole number from 100 to 1000"});
    }
}

TEST(SupportSettings, KeepTheDefaultOfAnUnusableList) {
    std::string many = "\"a\"";
    for (int i = 1; i < 64; ++i) {
        many += ",\"a\"";
    }
    EXPECT_EQ(parseGood("{\"disks\":[" + many + "]}").disks.size(), 64U);
    for (const std::string& list : {"[" + many + ",\"a\"]", std::string("\"sda\""),
                                    std::string("[\"sda\",7]"), std::string("{\"0\":\"sda\"}")}) {
        Texts problems;
        EXPECT_EQ(parse("{\"disks\":" + list + "}", problems).disks, Texts{});
        EXPECT_EQ(problems, Texts{"disks must be a list of at most 64 strings"});
    }
    EXPECT_EQ(problemsOf(R"({"drbd":"no"})"), Texts{"drbd must be true or false"});
}

TEST(SupportSettings, OneMistakeCostsOneMember) {
    Texts problems;
    const SupportSettings settings =
        parse(R"({"port":"x","drbd":false,"peerTimeoutMs":500})", problems);
    EXPECT_EQ(problems.size(), 1U);
    EXPECT_EQ(settings.peerPort, 8909);
    EXPECT_FALSE(settings.drbd);
    EXPECT_EQ(settings.peerTimeoutMs, 500);
}

TEST(SupportSettings, IgnoreWhatIsNoObject) {
    for (const char* text : {"[]", "7", "\"port\"", "null", "true", "[{\"port\":1}]"}) {
        EXPECT_EQ(problemsOf(text), Texts{"is not a JSON object: it is ignored"}) << text;
    }
    for (const char* text : {"", "{", "{\"port\":1", "port=1", "{\"port\":}"}) {
        const Texts problems = problemsOf(text);
        ASSERT_EQ(problems.size(), 1U) << text;
        EXPECT_TRUE(problems[0].starts_with("does not parse, it is ignored: ")) << problems[0];
    }
}

TEST(SupportSettings, IgnoreWhatIsTooLargeOrTooDeep) {
    const Texts refused{"too large or nested too deep: it is ignored"};
    EXPECT_EQ(problemsOf(std::string(100'000, '[')), refused);
    EXPECT_EQ(problemsOf("{\"a\":" + std::string(16, '[') + std::string(16, ']') + "}"), refused);
    EXPECT_EQ(problemsOf("{" + std::string(65'536, ' ') + "}"), refused);
    EXPECT_EQ(parseGood("{\"port\":1" + std::string(60'000, ' ') + "}").peerPort, 1);
}

class SettingsFile : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can make files that are trusted";
        }
        koraha::test::forgetTold();
    }

    std::string path() const { return scratch_.path("hasupport.conf"); }

    /// Nothing of the file was taken, and that was said once.
    void expectIgnored(const std::string& why) const {
        koraha::test::forgetTold();
        EXPECT_EQ(loadSupportSettings(path()).peerPort, 8909);
        EXPECT_EQ(koraha::test::told(),
                  Texts{"libkorahadaemon: " + path() + " " + why + ": it is ignored"});
    }

    koraha::test::ScratchDir scratch_;
};

TEST_F(SettingsFile, IsOptional) {
    EXPECT_EQ(loadSupportSettings(path()).peerPort, 8909);
    EXPECT_EQ(loadSupportSettings(path() + "/below/nothing").peerPort, 8909);
    EXPECT_EQ(koraha::test::told(), Texts{});
}

TEST_F(SettingsFile, IsRead) {
    scratch_.write("hasupport.conf", "{\"port\":4711,\"drbd\":0}");
    EXPECT_EQ(loadSupportSettings(path()).peerPort, 4711);
    EXPECT_EQ(koraha::test::told(),
              Texts{"libkorahadaemon: " + path() + ": drbd must be true or false"});
}

TEST_F(SettingsFile, ThatOthersMayWriteIsIgnored) {
    for (const mode_t mode : {0664U, 0646U, 0666U, 0777U}) {
        scratch_.write("hasupport.conf", "{\"port\":4711}", mode);
        expectIgnored("has a mode that lets others at it");
    }
}

TEST_F(SettingsFile, OfAnotherUserIsIgnored) {
    scratch_.write("hasupport.conf", "{\"port\":4711}");
    ASSERT_EQ(::chown(path().c_str(), 65534, 0), 0);
    expectIgnored("is not owned by root");
}

TEST_F(SettingsFile, ThatIsNoRegularFileIsIgnored) {
    ASSERT_EQ(::symlink(scratch_.write("real", "{\"port\":4711}").c_str(), path().c_str()), 0);
    expectIgnored("is a link");
    ::unlink(path().c_str());
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    expectIgnored("is not a regular file");
    ::unlink(path().c_str());
    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    expectIgnored("is not a regular file");
}

TEST_F(SettingsFile, ThatIsTooLargeIsIgnored) {
    scratch_.write("hasupport.conf", std::string(65'537, ' '));
    expectIgnored("is too large");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
