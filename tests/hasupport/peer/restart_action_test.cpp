// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_action.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "hasupport/daemon_log.h"
#include "hasupport/peer/restart_duty.h"
#include "peer_link.h"
#include "tests/support/in_namespace.h"
#include "tests/support/told.h"

// A restart by a command of the settings, which is what systems use that must not restart the
// machine. The machine's own restart is never touched here.

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::eventually;
using koraha::test::PeerLink;

/// Runs the body where a file lies over the kernel's log and /run is empty.
void whereNothingLasts(const std::function<void(PeerLink&)>& body) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root's stamps are believed";
    }
    koraha::test::inOwnMounts([&] {
        PeerLink link;
        ASSERT_EQ(::mount("none", "/run", "tmpfs", 0, nullptr), 0) << std::strerror(errno);
        const std::string kernelLog = link.scratch().write("kmsg", "");
        ASSERT_EQ(::mount(kernelLog.c_str(), "/dev/kmsg", nullptr, MS_BIND, nullptr), 0)
            << std::strerror(errno);
        body(link);
    });
}

TEST(CommandRestart, RunsTheCommandAndNothingElse) {
    whereNothingLasts([](PeerLink& link) {
        link.settings.orderlyCommand = {link.writeCounter("restarts"), "this", "node"};
        EXPECT_FALSE(restartAction().armForced()) << "nothing is promised beside the command";
        EXPECT_TRUE(restartAction().startOrderly());
        EXPECT_TRUE(eventually([&] { return link.scratch().read("restarts") == "this node\n"; }));
    });
}

TEST(CommandRestart, ThatCannotBeStartedIsARefusal) {
    whereNothingLasts([](PeerLink& link) {
        link.settings.orderlyCommand = {link.path("no such command")};
        EXPECT_FALSE(restartAction().startOrderly());
        EXPECT_EQ(koraha::test::timesTold(link.path("no such command") +
                                          " cannot be started: No such file or directory"),
                  1U);
        const RestartVerdict verdict = obeyRestart("test");
        EXPECT_FALSE(verdict.accepted);
        EXPECT_TRUE(verdict.unable);
        EXPECT_EQ(verdict.reason, "no restart can be started");
    });
}

TEST(CommandRestart, LeavesItsReasonInThreeLogs) {
    whereNothingLasts([](PeerLink& link) {
        const std::string line = "libkorahadaemon: restarting at the peer's request: sda failed";
        DaemonLog log(link.path("log"), "/ha.daemon.log");
        EXPECT_TRUE(obeyRestart("sda failed").accepted);
        EXPECT_EQ(koraha::test::timesTold(line), 1U);
        EXPECT_EQ(link.scratch().read("kmsg"), line + "\n");
        keepRestartInLog();
        EXPECT_NE(link.scratch().read("log/ha.daemon.log").find(line + "\n"), std::string::npos)
            << "on disk";
        EXPECT_TRUE(eventually([&] { return link.countOf("restarts") == 1; }));
    });
}

TEST(CommandRestart, DoesWithoutALog) {
    whereNothingLasts([](PeerLink& link) {
        EXPECT_TRUE(obeyRestart("x").accepted);
        EXPECT_TRUE(eventually([&] { return link.countOf("restarts") == 1; }));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
