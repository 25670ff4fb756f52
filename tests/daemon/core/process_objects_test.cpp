// SPDX-License-Identifier: Apache-2.0
#include "log/process_objects.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log/running_flag.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using Names = std::vector<std::string>;

// As found by an object of the test's own that is built before main, too.
const Names madeBeforeMain = script().madeInOrder;
const bool runningBeforeMain = isRunning();

TEST(ProcessObjects, logsThenStatusAreBuiltOnceBeforeMain) {
    EXPECT_EQ((Names{"DaemonLog /var/log/ha /ha.daemon.log",
                     "DaemonLog /var/log/ha /ha.daemon.record", "Status"}),
              madeBeforeMain);
}

TEST(ProcessObjects, runningFlagIsTrueBeforeMain) {
    EXPECT_TRUE(runningBeforeMain);
}

TEST(ProcessObjects, runningFlagIsClearedForGood) {
    stopRunning();
    EXPECT_FALSE(isRunning());
    stopRunning();
    EXPECT_FALSE(isRunning());
}

TEST(ProcessObjects, areTheSameAtEachCall) {
    EXPECT_EQ(&daemonLog(), &daemonLog());
    EXPECT_EQ(&recordLog(), &recordLog());
    EXPECT_EQ(&sharedStatus(), &sharedStatus());
    EXPECT_NE(&daemonLog(), &recordLog());
}

TEST(ProcessObjects, usingThemBuildsNothing) {
    daemonLog().set("a line");
    recordLog().writeLogToDisk();
    sharedStatus().setRemoteAlive(false);
    EXPECT_EQ(Names{}, script().madeInOrder);
    EXPECT_EQ((Names{"daemonLog.set a line", "recordLog.writeLogToDisk", "setRemoteAlive false"}),
              script().calls);
}

}  // namespace
}  // namespace KORA::HA::Daemon
