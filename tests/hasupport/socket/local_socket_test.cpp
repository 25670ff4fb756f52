// SPDX-License-Identifier: Apache-2.0
#include "hasupport/local_socket.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "line_client.h"
#include "tests/support/in_namespace.h"
#include "tests/support/scratch_dir.h"

namespace {

using KORA::HA::Daemon::MonitordSocket;
using KORA::HA::Daemon::Status;
using koraha::test::inOwnRun;
using koraha::test::LineClient;
using koraha::test::ScratchDir;

TEST(MonitordSocket, HasAnErrorWhenThePathIsTooLong) {
    MonitordSocket socket("/tmp/" + std::string(200, 'x'), 15);
    EXPECT_TRUE(socket.hasError());
    EXPECT_FALSE(socket.serverBind());
    EXPECT_FALSE(socket.serverListen());
}

TEST(MonitordSocket, CreatesNothingBeforeItBinds) {
    const ScratchDir scratch;
    const MonitordSocket socket(scratch.path("door"), 15);
    EXPECT_FALSE(socket.hasError());
    struct stat file {};
    EXPECT_NE(::lstat(scratch.path("door").c_str(), &file), 0);
}

TEST(MonitordSocket, CannotServeWithoutARecordOrASocket) {
    inOwnRun([] {
        const ScratchDir scratch;
        Status status;
        MonitordSocket socket(scratch.path("door"), 15);
        socket.setStatus(&status);
        EXPECT_FALSE(socket.serverListen());
        socket.setStatus(nullptr);
        ASSERT_TRUE(socket.serverBind());
        EXPECT_FALSE(socket.serverListen());
    });
}

TEST(MonitordSocket, AnswersWithTheRecordAndRemovesItsFile) {
    inOwnRun([] {
        const ScratchDir scratch;
        Status status;
        status.setRemoteAlive(true);
        {
            MonitordSocket socket(scratch.path("door"), 15);
            socket.setStatus(&status);
            ASSERT_TRUE(socket.serverBind());
            std::atomic<bool> stop{false};
            std::jthread server([&] {
                while (!stop) {
                    EXPECT_TRUE(socket.serverListen());
                }
            });
            LineClient client(scratch.path("door"));
            EXPECT_EQ(client.ask("status")["remoteAlive"], true);
            stop = true;
            client.leave();  // which ends the step in progress
        }
        struct stat file {};
        EXPECT_NE(::lstat(scratch.path("door").c_str(), &file), 0);
    });
}

TEST(MonitordSocket, TakesAStepWithoutClientsForSuccess) {
    inOwnRun([] {
        const ScratchDir scratch;
        Status status;
        MonitordSocket socket(scratch.path("door"), 15);
        socket.setStatus(&status);
        ASSERT_TRUE(socket.serverBind());
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(socket.serverListen());
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4990));
    });
}

TEST(MonitordSocket, FailsToBindWhereAnotherServes) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only a listener of root is left alone";
    }
    inOwnRun([] {
        const ScratchDir scratch;
        MonitordSocket first(scratch.path("door"), 15);
        ASSERT_TRUE(first.serverBind());
        {
            MonitordSocket second(scratch.path("door"), 15);
            EXPECT_FALSE(second.hasError());
            EXPECT_FALSE(second.serverBind());
        }
        EXPECT_TRUE(LineClient(scratch.path("door")).isConnected());
    });
}

}  // namespace
