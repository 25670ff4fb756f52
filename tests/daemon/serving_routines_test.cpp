// SPDX-License-Identifier: Apache-2.0
#include "server/serving_routines.h"

#include <gtest/gtest.h>

#include "log/process_objects.h"
#include "log/running_flag.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const Calls made{"DaemonLocalSocket /tmp/.ha_daemon.socket 15", "hasError"};
const Calls bound = made + Calls{"setStatus", "serverBind"};
const Calls gone{"~DaemonLocalSocket"};

// Serves with these results; the running flag is clear after the last one.
std::function<bool()> servingSteps(const std::vector<bool>& results) {
    return [results, next = std::size_t{0}]() mutable {
        if (next + 1 == results.size()) {
            stopRunning();
        }
        return results.at(next++);
    };
}

TEST(DaemonDataServer, createsAttachesBindsAndServesWithoutPauseUntilTheFlagIsClear) {
    inOwnSystem([] {
        script().bind = always(true);
        script().listen = servingSteps({true, true, true});
        EXPECT_FALSE(daemonDataServer());
        EXPECT_EQ(bound + Calls(3, "serverListen") + gone, script().calls);
    });
}

TEST(DaemonDataServer, servesTheOneSharedStatus) {
    inOwnSystem([] {
        daemonDataServer();
        EXPECT_EQ(&sharedStatus(), script().attached);
    });
}

TEST(DaemonDataServer, socketThatCannotBeCreatedIsLoggedAndEndsTheRoutine) {
    inOwnSystem([] {
        script().socketError = always(true);
        EXPECT_FALSE(daemonDataServer());
        EXPECT_EQ(made + Calls{"daemonLog.set koraharemotemond:294 Failed to create socket"} + gone,
                  script().calls);
    });
}

TEST(DaemonDataServer, bindThatFailsEndsTheRoutineAfterOneAttemptWithExactlyOneLine) {
    inOwnSystem([] {
        script().bind = inTurn({false, true});
        EXPECT_FALSE(daemonDataServer());
        EXPECT_EQ(bound + Calls{"daemonLog.set koraharemotemond:299 Failed to bind socket"} + gone,
                  script().calls);
    });
}

TEST(DaemonDataServer, repeatedListenFailuresLogOneLinePerSecond) {
    inOwnSystem([] {
        script().bind = always(true);
        script().listen = servingSteps({true, false, false, false, true});
        EXPECT_FALSE(daemonDataServer());
        const Calls failure{
            "serverListen",
            "daemonLog.set koraharemotemond:304 Failed to listen local socket request", "sleep 1"};
        EXPECT_EQ(
            bound + Calls{"serverListen"} + repeated(3, failure) + Calls{"serverListen"} + gone,
            script().calls);
    });
}

TEST(DaemonDataServer, flagThatIsClearBeforeItStartsStillCreatesAttachesAndBinds) {
    inOwnSystem([] {
        script().bind = always(true);
        TEST_setRunning(false);
        EXPECT_FALSE(daemonDataServer());
        EXPECT_EQ(bound + gone, script().calls);
    });
}

TEST(DaemonDataServer, neitherRemovesAnOldSocketFileNorCreatesOne) {
    inOwnSystem([] {
        daemonDataServer();
        EXPECT_FALSE(exists("/tmp/.ha_daemon.socket"));
        touch("/tmp/.ha_daemon.socket");
        daemonDataServer();
        EXPECT_TRUE(exists("/tmp/.ha_daemon.socket"));
    });
}

TEST(Server, callsOneSocketServerWithTheStatusUntilItReturnsFalse) {
    inOwnSystem([] {
        Status status;
        script().socketServer = [&status, left = 4](Status& given) mutable {
            EXPECT_EQ(&status, &given);
            return --left > 0;
        };
        EXPECT_FALSE(server(status));
        EXPECT_EQ(Calls(4, "SocketServer"), script().calls);
        EXPECT_EQ(1, script().made["SocketServer"]);
        EXPECT_TRUE(isRunning());
    });
}

TEST(Server, stopsBeforeTheNextCallWhenTheFlagIsClear) {
    inOwnSystem([] {
        Status status;
        script().socketServer = [left = 3](Status&) mutable {
            if (--left == 0) {
                stopRunning();
            }
            return true;
        };
        EXPECT_FALSE(server(status));
        EXPECT_EQ(Calls(3, "SocketServer"), script().calls);
    });
}

TEST(Server, flagThatIsClearBeforeItStartsReturnsFalseWithoutACall) {
    inOwnSystem([] {
        Status status;
        script().socketServer = always(true);
        TEST_setRunning(false);
        EXPECT_FALSE(server(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
