// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "records.h"
#include "run_tool.h"
#include "sound_node.h"
#include "status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;
using ::testing::Not;

struct Doctor : ::testing::Test {
    SoundNode node;
    std::unique_ptr<StatusServer> daemon;
    int code = -1;

    Doctor() { runs(healthyStatus()); }
    void runs(const Json::Value& status) {
        daemon = std::make_unique<StatusServer>(StatusServer::saying(lineOf(status)));
    }
    std::string look() {
        korahamonctl::StatusOptions options;
        options.socketPath = daemon ? daemon->path() : "/nonexistent/socket";
        options.configuration = node.configuration();
        std::ostringstream out;
        code = korahamonctl::examineNode(options, out, node.root());
        return out.str();
    }
    // As a user who may read what others may; empty where there is no other user to be.
    std::string lookAsNobody() {
        constexpr uid_t nobody = 65534;
        EXPECT_EQ(::chmod(node.path("/..").c_str(), 0755), 0);
        if (::syscall(SYS_setresuid, -1, nobody, -1) != 0) {
            return {};
        }
        const std::string text = look();
        EXPECT_EQ(::syscall(SYS_setresuid, -1, 0, -1), 0);
        return text;
    }
    // What is bad has its remedy in the next line, and makes the whole end with 1.
    void expectBad(const std::string& point) {
        const std::string text = look();
        EXPECT_EQ(code, 1) << text;
        const auto at = text.find("BAD   " + point);
        ASSERT_NE(at, std::string::npos) << "no BAD " << point << " in\n" << text;
        EXPECT_EQ(text.find("      mend: ", at), text.find('\n', at) + 1) << text;
    }
    void expectNote(const std::string& point) {
        const std::string text = look();
        EXPECT_EQ(code, 0) << text;
        EXPECT_THAT(text, HasSubstr("note  " + point));
    }
    void expectFine(const std::string& point) {
        const std::string text = look();
        EXPECT_EQ(code, 0) << text;
        EXPECT_THAT(text, HasSubstr("ok    " + point));
    }
};

TEST_F(Doctor, FindsASoundNodeSound) {
    const std::string text = look();
    EXPECT_EQ(code, 0) << text;
    EXPECT_THAT(text, Not(HasSubstr("BAD")));
    EXPECT_THAT(text, Not(HasSubstr("note  ")));
    EXPECT_THAT(text, Not(HasSubstr("mend")));
    EXPECT_THAT(text, HasSubstr("points: 0 bad, 0 to note\n"));
    for (const char* point :
         {"support settings: ", "configuration: ", "directory /tmp/ha: ", "directory /var/lib/ha: ",
          "directory /var/log/ha: ", "room for the logs: ", "directory /run/koraha: ",
          "key for the peer: has the fingerprint ", "cluster tool: ", "DRBD: version 9 is loaded",
          "memory lock limit: unlimited", "right to send echoes: is held (raw sockets)",
          "port 8909: is open", "daemon: answers", "addresses: 10.0.0.2 and 10.0.0.3",
          "interface eth1: is up", "health: "}) {
        EXPECT_THAT(text, HasSubstr(std::string("ok    ") + point));
    }
}

TEST_F(Doctor, ExaminesTheDirectories) {
    node.remove("/tmp/ha");
    expectBad("directory /tmp/ha: No such file");
    node.write("/tmp/ha", "a file");
    expectBad("directory /tmp/ha: is no directory");
    node.remove("/tmp/ha");
    ASSERT_EQ(::symlink(node.path("/var/lib/ha").c_str(), node.path("/tmp/ha").c_str()), 0);
    expectBad("directory /tmp/ha: is no directory");
    ASSERT_EQ(::chmod(node.path("/var/lib/ha").c_str(), 0777), 0);
    expectBad("directory /var/lib/ha: may be changed by everybody");
}

TEST_F(Doctor, FindsFaultWithADirectoryOfTheBuffersThatAGroupMayChange) {
    ASSERT_EQ(::chmod(node.path("/var/log/ha").c_str(), 0775), 0);
    expectFine("directory /var/log/ha: is there");
    ASSERT_EQ(::chmod(node.path("/run/koraha").c_str(), 0775), 0);
    expectBad("directory /run/koraha: may be changed by its group");
    ASSERT_EQ(::chmod(node.path("/run/koraha").c_str(), 0700), 0);
    expectFine("directory /run/koraha: is there");
}

// The key is root's alone, and so is this daemon's socket.
TEST_F(Doctor, SendsForRootWhereThisUserMayNotLook) {
    node.write("/var/lib/ha/hasupport.conf", "{}", 0600);
    const std::string text = lookAsNobody();
    if (text.empty()) {
        GTEST_SKIP() << "there is no other user here to be";
    }
    for (const char* finding :
         {"note  key for the peer: cannot be read\n", "note  support settings: cannot be read\n",
          "note  port 8909: is taken; whether by the daemon is not known\n",
          "Permission denied; root and the group koraha may ask\n"}) {
        EXPECT_THAT(text, HasSubstr(std::string(finding) + "      mend: run this as root\n"));
    }
    ASSERT_EQ(::chmod(node.path("/var/lib/ha/peer.key").c_str(), 0644), 0);
    EXPECT_THAT(lookAsNobody(), HasSubstr("BAD   key for the peer: is refused"));
}

TEST_F(Doctor, KnowsTheDirectoriesThatTheDaemonMakes) {
    node.remove("/var/log/ha");
    expectNote("directory /var/log/ha: is not there yet");
    node.remove("/run/koraha");
    expectNote("directory /run/koraha: is not there yet");
    ASSERT_EQ(::chmod(node.path("/var/log").c_str(), 0755), 0);
    node.write("/var/log/ha", "a file");
    expectBad("directory /var/log/ha: is no directory");
}

TEST_F(Doctor, ExaminesTheConfiguration) {
    node.write("/var/lib/ha/remote_mond.conf", R"({"THR_OF_HB_LATENCY":50})");
    expectFine("configuration: is fine");
    node.write("/var/lib/ha/remote_mond.conf", "{");
    expectBad("configuration: does not parse");
    node.write("/var/lib/ha/remote_mond.conf", "{\"\x1b\":1}");
    expectBad("configuration: \\x1b: no such setting");
}

TEST_F(Doctor, ExaminesTheSupportSettings) {
    const std::string file = "/var/lib/ha/hasupport.conf";
    node.write(file, R"({"drbd":false})", 0600);
    node.remove("/proc/drbd");
    expectFine("DRBD: is not used by this pair");
    node.write(file, "{}", 0666);
    expectBad("support settings: the file is ignored: it has a mode");
    node.write(file, R"({"port":0})", 0600);
    expectBad("support settings: port must be");
}

TEST_F(Doctor, ExaminesTheKey) {
    node.write("/var/lib/ha/peer.key.next", std::string(32, 'n'), 0600);
    expectNote("key for the peer: a key to come");
    node.remove("/var/lib/ha/peer.key.next");
    ASSERT_EQ(::chmod(node.path("/var/lib/ha/peer.key").c_str(), 0644), 0);
    expectBad("key for the peer: is refused");
    node.write("/var/lib/ha/peer.key", "short", 0600);
    expectBad("key for the peer: is refused");
    node.remove("/var/lib/ha/peer.key");
    expectNote("key for the peer: there is none");
}

TEST_F(Doctor, ExaminesThePrograms) {
    const std::string tool = "/var/packages/Twinhold/target/sbin/koraha";
    node.write(tool, "", 0644);
    expectBad("cluster tool: " + tool + ": cannot be run");
    node.write(tool, "", 0777);
    expectBad("cluster tool: " + tool + ": may be changed by others");
    node.remove(tool);
    expectBad("cluster tool: " + tool + ": No such file");
    node.write(tool, "", 0755);
    node.write("/var/lib/ha/hasupport.conf",
               R"({"restart":"command","restartCommand":["/sbin/fence","-x"]})", 0600);
    expectBad("restart command: /sbin/fence: No such file");
    node.write("/sbin/fence", "", 0755);
    expectFine("restart command: /sbin/fence can be run");
    node.write("/var/lib/ha/hasupport.conf", R"({"orderlyCommand":["/sbin/gone"]})", 0600);
    expectBad("orderly command: /sbin/gone");
}

TEST_F(Doctor, ExaminesDrbd) {
    node.remove("/usr/sbin/drbdsetup");
    expectBad("DRBD: version 9, but drbdsetup is not there");
    node.write("/proc/drbd", "version: 8.4.11 (api:1/proto:86-101)\n");
    expectFine("DRBD: version 8 is loaded");
    node.write("/proc/drbd", "what is this\n");
    expectBad("DRBD: is of an unknown kind");
    node.remove("/proc/drbd");
    expectBad("DRBD: is not loaded");
}

TEST_F(Doctor, ExaminesTheMemoryLockLimit) {
    const auto limit = [&](const std::string& soft) {
        node.write("/proc/4242/limits", "Max locked memory         " + soft + "   7  bytes\n");
    };
    limit("8388608");
    expectBad("memory lock limit: of 8388608 bytes is too low");
    limit("67108864");
    expectFine("memory lock limit: 67108864 bytes are enough");
    limit("0");
    expectNote("memory lock limit: is 0");
    limit("what");
    expectNote("memory lock limit: cannot be read");
    limit("8388608");
    node.write("/proc/4242/status", "CapEff:\t0000000000006000\n");
    expectFine("memory lock limit: does not bind");
}

TEST_F(Doctor, ExaminesThePort) {
    node.write("/proc/net/tcp", "   1: 0200000A:22CD 0300000A:1234 01 00000000:00000000\n");
    expectBad("port 8909: is not open");
    node.write("/proc/net/tcp6", "   1: 00000000000000000000000000000000:22CD 0:0 0A 0:0\n");
    expectFine("port 8909: is open");
    node.write("/var/lib/ha/hasupport.conf", R"({"port":8910})", 0600);
    expectBad("port 8910: is not open");
}

TEST_F(Doctor, ExaminesWhatIsKnownWithoutADaemon) {
    daemon.reset();
    node.write("/proc/self/limits", "Max locked memory         unlimited  unlimited  bytes\n");
    expectBad("daemon: does not answer: /nonexistent/socket: No such file");
    expectBad(
        "port 8909: is taken: by a daemon that does not answer, or by something else\n"
        "      mend: ss -ltnp names it\n");
    EXPECT_THAT(look(), HasSubstr("if it hangs, restart it, else start it as: "));
    node.remove("/proc/net/tcp");
    EXPECT_THAT(look(), HasSubstr("ok    port 8909: is free"));
    EXPECT_THAT(look(), HasSubstr("ok    memory lock limit of this shell: unlimited"));
    EXPECT_THAT(look(), HasSubstr("right to send echoes: is "));
}

TEST_F(Doctor, ExaminesWhatTheDaemonSays) {
    runs(healthyBut("drbdConnected", false));
    expectBad("health: DRBD not connected");
    runs(healthyWithout("hbLatency", "no \x1b right"));
    expectBad("health: hbLatency unknown: no \\x1b right");
    runs(healthyBut("softwareVersion", "0.9"));
    expectNote("version: the daemon runs 0.9, this tool is " KORAHA_VERSION);
    runs(healthyBut("softwareVersion", 7));
    expectNote("version: the daemon runs an unknown one");
}

TEST_F(Doctor, ExaminesHowTheDaemonWasStarted) {
    const auto started = [&](std::string words) {
        std::replace(words.begin(), words.end(), ' ', '\0');
        node.write("/proc/4242/cmdline", words + '\0');
    };
    started("d fd00::1 fd00::2 eth1");
    expectFine("addresses: fd00::1 and fd00::2");
    started("d 10.0.0.2 fd00::2 eth1");
    expectBad("addresses: 10.0.0.2 and fd00::2 are no two addresses");
    started("d 10.0.0.2 10.0.0.2 eth1");
    expectBad("addresses: ");
    started("d here there eth1");
    expectBad("addresses: here and there");
    started("d 10.0.0.2 10.0.0.3 eth7");
    expectBad("interface eth7: is not there");
    started("d 10.0.0.2 10.0.0.3 ../eth1");
    expectBad("interface ../eth1: is not there");
    started("d 10.0.0.2 10.0.0.3 eth1");
    node.write("/sys/class/net/eth1/operstate", "down\n");
    expectBad("interface eth1: is down");
    node.write("/sys/class/net/eth1/operstate", "unknown\n");
    expectFine("interface eth1: is unknown");
    node.remove("/proc/4242/cmdline");
    expectNote("arguments: cannot be read");
}

TEST_F(Doctor, NotesTheMaintenanceMarker) {
    node.write("/var/lib/ha/maintenance", "");
    expectNote("maintenance: ");
}

TEST_F(Doctor, TakesADaemonThatSaysNonsenseCalmly) {
    runs(healthyBut("pid", -5));
    look();
    runs(healthyBut("pid", "../../etc"));
    look();
    Json::Value bare;
    bare["version"] = 1;
    runs(bare);
    expectBad("health: remoteAlive unknown");
}

TEST(DoctorCommand, EndsWithOneWhereNoDaemonRuns) {
    const ToolRun run = runTool({"doctor", "--socket", "/nonexistent/socket"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.out, HasSubstr("BAD   daemon: does not answer"));
    EXPECT_EQ(runTool({"doctor", "now"}).code, 2);
}

}  // namespace
