// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/proc_drbd.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

const std::string head = "version: 8.4.11 (api:1/proto:86-101)\nsrcversion: 0123456789ABCDEF\n";

TEST(ProcDrbd, readsEveryMinorAndSkipsTheGap) {
    const auto drbd = parseProcDrbd(koraha::test::testText("drbd-minor-gap/proc/drbd"));
    ASSERT_TRUE(drbd);
    EXPECT_EQ(drbd->majorVersion, 8U);
    ASSERT_EQ(drbd->resources.size(), 2U);
    EXPECT_EQ(drbd->resources[0].name, "drbd0");
    EXPECT_EQ(drbd->resources[1].name, "drbd2");
    EXPECT_TRUE(drbd->resources[1].established);
    EXPECT_FALSE(drbd->resources[1].upToDate);
}

TEST(ProcDrbd, knowsTheStatesThatLastMilliseconds) {
    // Every text was caught when a minor first showed the state; all have one minor.
    const std::map<std::string, bool> established{
        {"Connected-primary", true},       {"Connected-secondary", true},
        {"Disconnecting-primary", false},  {"Disconnecting-secondary", false},
        {"NetworkFailure-primary", false}, {"NetworkFailure-secondary", false},
        {"PausedSyncS-primary", true},     {"PausedSyncT-secondary", true},
        {"StandAlone-primary", false},     {"StandAlone-secondary", false},
        {"StartingSyncS-primary", true},   {"SyncSource-primary", true},
        {"SyncTarget-secondary", true},    {"TearDown-primary", false},
        {"TearDown-secondary", false},     {"Unconnected-secondary", false},
        {"VerifyS-primary", true},         {"VerifyT-secondary", true},
        {"WFBitMapS-primary", true},       {"WFBitMapT-secondary", true},
        {"WFConnection-primary", false},   {"WFConnection-secondary", false},
        {"WFReportParams-primary", false}, {"WFReportParams-secondary", false},
        {"WFSyncUUID-secondary", true},
    };
    const std::string directory = "drbd-transient/proc-drbd/";
    std::size_t files = 0;
    for (const auto& file :
         std::filesystem::directory_iterator(koraha::test::testData(directory))) {
        files += established.count(file.path().filename()) == 1 ? 1U : 0U;
    }
    EXPECT_EQ(files, established.size());
    for (const auto& [name, connected] : established) {
        const std::string text = koraha::test::testText(directory + name);
        const std::string state = name.substr(0, name.find('-'));
        const auto at = text.find(" cs:" + state + " ");
        ASSERT_NE(at, std::string::npos) << name;
        const std::string minor = "drbd" + text.substr(text.rfind('\n', at) + 2, 1);
        const auto drbd = parseProcDrbd(text);
        ASSERT_TRUE(drbd) << name;
        bool seen = false;
        for (const DrbdResource& each : drbd->resources) {
            if (each.name == minor) {
                seen = true;
                EXPECT_EQ(each.established, connected) << name;
            }
        }
        EXPECT_TRUE(seen) << name;
    }
}

TEST(ProcDrbd, takesUnknownThingsForNormal) {
    const auto drbd = parseProcDrbd(
        "version: 8.5.0-rc1 (api:7) more\nweather: fine\n\n"
        " 0: cs:Connected new:1 ro:Primary/Secondary ds:UpToDate/UpToDate/More C r-----x ??\n"
        "    ns:0 zz:1\n not a minor: at all\n 1: st:Connected ds:UpToDate/UpToDate\n"
        " 2: cs:Levitating ro:Primary/Secondary ds:Marvellous/UpToDate C\n 3:\n 4: cs:\n");
    ASSERT_TRUE(drbd);
    ASSERT_EQ(drbd->resources.size(), 3U);
    EXPECT_TRUE(drbd->resources[0].established);
    EXPECT_TRUE(drbd->resources[0].upToDate);
    EXPECT_EQ(drbd->resources[1].name, "drbd2");
    EXPECT_FALSE(drbd->resources[1].established);
    EXPECT_FALSE(drbd->resources[1].upToDate);
    EXPECT_EQ(drbd->resources[2].name, "drbd4");
}

TEST(ProcDrbd, truncatedTextNeverLooksBetter) {
    const std::string text = koraha::test::testText("drbd-synctarget/proc/drbd");
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const auto drbd = parseProcDrbd(std::string_view(text).substr(0, size));
        for (const DrbdResource& each : drbd ? drbd->resources : std::vector<DrbdResource>{}) {
            EXPECT_FALSE(each.upToDate) << size;
        }
    }
    EXPECT_FALSE(parseProcDrbd(""));
    EXPECT_FALSE(parseProcDrbd("vers"));
}

TEST(ProcDrbd, refusesGarbage) {
    for (const char* const text : {"\n\n", "garbage", "version:", "version: x.1", "Version: 8.4",
                                   "version: 99999999999999999999.1\n"}) {
        EXPECT_FALSE(parseProcDrbd(text)) << text;
    }
}

TEST(ProcDrbd, boundsAnEnormousText) {
    koraha::test::onSmallStack([] {
        std::string text = head;
        const auto add = [&text](std::size_t minor) {
            text += " " + std::to_string(minor) + ": cs:Connected ds:UpToDate/UpToDate C\n";
        };
        for (std::size_t minor = 0; minor < drbdResourceLimit; ++minor) {
            add(minor);
        }
        const auto drbd = parseProcDrbd(text);
        ASSERT_TRUE(drbd);
        EXPECT_EQ(drbd->resources.size(), drbdResourceLimit);
        add(drbdResourceLimit);
        EXPECT_FALSE(parseProcDrbd(text)) << "nobody would look at the last one";
        for (std::size_t minor = drbdResourceLimit; minor < 20000; ++minor) {
            add(minor);
        }
        EXPECT_FALSE(parseProcDrbd(text));
        const auto longLine = parseProcDrbd(head + " 0: cs:" + std::string(1U << 20U, 'x'));
        ASSERT_TRUE(longLine);
        EXPECT_FALSE(longLine->resources.at(0).established);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
