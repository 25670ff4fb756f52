// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/own_system.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "config/int_daemon_conf.h"
#include "log/running_flag.h"
#include "tests/scripted/script.h"
#include "tests/support/in_namespace.h"

namespace koraha::test {
namespace {

void emptyDirectory(const std::string& path) {
    ASSERT_EQ(0, ::mount("tmpfs", path.c_str(), "tmpfs", 0, "mode=0755")) << path;
    ASSERT_EQ(0, ::mkdir((path + "/ha").c_str(), 0755)) << path;
}

}  // namespace

void inOwnSystem(const std::function<void()>& body) {
    inOwnMounts([&body] {
        for (const char* path : {"/tmp", "/var/lib", "/var/log"}) {
            emptyDirectory(path);
        }
        if (testing::Test::HasFatalFailure()) {
            return;
        }
        KORA::HA::Daemon::TEST_setRunning(true);
        script().forgetCalls();
        body();
    });
}

void configure(const std::string& json) {
    std::ofstream(configFile) << json;
    const auto calls = script().calls;
    const auto logLines = script().logLines;
    ASSERT_TRUE(KORA::HA::Daemon::Load());
    script().calls = calls;
    script().logLines = logLines;
}

bool exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

void touch(const std::string& path) {
    EXPECT_TRUE(std::ofstream(path)) << path;
}

}  // namespace koraha::test
