// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <string>
#include <vector>

#include "config/int_daemon_conf.h"
#include "tests/daemon/support/own_system.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::configFile;
using koraha::test::inOwnSystem;
using testing::Test;

using Lines = std::vector<std::string>;

const std::string notExist = "int_daemon_conf:91 Daemon configure file not exist";
const std::string loading =
    "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf";
const std::string failed =
    "int_daemon_conf:99 Failed to parse json from file /var/lib/ha/remote_mond.conf: ";

int openDescriptors() {
    DIR* dir = ::opendir("/proc/self/fd");
    int count = 0;
    while (::readdir(dir) != nullptr) {
        ++count;
    }
    ::closedir(dir);
    return count;
}

void write(const std::string& text) {
    std::ofstream(configFile, std::ios::trunc | std::ios::binary) << text;
}

// Loads that text. Whatever comes of it, the file is closed again.
bool load(const std::string& text) {
    write(text);
    script().forgetCalls();
    const int before = openDescriptors();
    const bool result = Load();
    EXPECT_EQ(before, openDescriptors());
    return result;
}

// A superuser opens any file, whatever its mode: not without these.
void giveUpFileOverrides() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> sets{};
    ASSERT_EQ(0, ::syscall(SYS_capget, &header, sets.data()));
    const auto overrides = 1U << unsigned{CAP_DAC_OVERRIDE} | 1U << unsigned{CAP_DAC_READ_SEARCH};
    sets[0].effective &= ~overrides;
    sets[0].permitted &= ~overrides;
    ASSERT_EQ(0, ::syscall(SYS_capset, &header, sets.data()));
}

void expectDefaults() {
    EXPECT_EQ(15, GetInt(BASE_INTERVAL_PASSIVE));
    for (const auto& [type, entry] : configTable()) {
        EXPECT_EQ(entry.second, GetStr(type)) << entry.first;
    }
}

void expectBroken(const std::string& text, const std::string& parserMessages) {
    EXPECT_FALSE(load(text));
    EXPECT_EQ((Lines{loading, failed + parserMessages}), script().logLines);
}

TEST(Load, withoutAFileLogsOneLineAndIsTrueAndEverySettingKeepsItsDefault) {
    inOwnSystem([] {
        EXPECT_TRUE(Load());
        EXPECT_EQ(Lines{notExist}, script().logLines);
        expectDefaults();
    });
}

TEST(Load, withoutItsDirectoryIsAMissingFileToo) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::rmdir("/var/lib/ha"));
        EXPECT_TRUE(Load());
        EXPECT_EQ(Lines{notExist}, script().logLines);
    });
}

TEST(Load, unreadableFileIsLikeAMissingOne) {
    inOwnSystem([] {
        write(R"({"BASE_INTERVAL_PASSIVE": 99})");
        ASSERT_EQ(0, ::chmod(configFile, 0));
        giveUpFileOverrides();
        ASSERT_EQ(-1, ::access(configFile, R_OK));
        EXPECT_TRUE(Load());
        EXPECT_EQ(Lines{notExist}, script().logLines);
        expectDefaults();
    });
}

TEST(Load, linkThatLeadsNowhereIsLikeAMissingFile) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::symlink(configFile, configFile));
        EXPECT_TRUE(Load());
        EXPECT_EQ(Lines{notExist}, script().logLines);
    });
}

TEST(Load, emptyObjectLogsThatItLoadsAndKeepsAllDefaults) {
    inOwnSystem([] {
        EXPECT_TRUE(load("{}"));
        EXPECT_EQ(Lines{loading}, script().logLines);
        expectDefaults();
    });
}

TEST(Load, oneMemberOverridesItsSettingAlone) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_ACTIVE": 30})"));
        EXPECT_EQ(Lines{loading}, script().logLines);
        for (const auto& [type, entry] : configTable()) {
            EXPECT_EQ(type == BASE_INTERVAL_ACTIVE ? "30" : entry.second, GetStr(type));
        }
        EXPECT_EQ(30, GetInt(BASE_INTERVAL_ACTIVE));
    });
}

TEST(Load, eachSettingIsOverriddenIndependentlyAlsoWhereDefaultsAreShared) {
    inOwnSystem([] {
        for (const auto& [overridden, row] : configTable()) {
            EXPECT_TRUE(load("{\"" + row.first + "\": 77}"));
            for (const auto& [type, entry] : configTable()) {
                EXPECT_EQ(type == overridden ? "77" : entry.second, GetStr(type))
                    << row.first << " over " << entry.first;
            }
        }
    });
}

TEST(Load, memberWithNoValueAfterItsColonIsLoggedWithTheParsersMessage) {
    inOwnSystem([] {
        expectBroken("{\n  \"BASE_INTERVAL_ACTIVE\": 30,\n  \"BASE_INTERVAL_PASSIVE\":\n}\n",
                     "* Line 4, Column 1\n  Syntax error: value, object or array expected.\n");
    });
}

TEST(Load, everyMessageOfTheParserIsPassedOn) {
    inOwnSystem([] {
        expectBroken(R"({"THR_OF_HB_LATENCY": 1 "THR_OF_HB_PKT_DROP": 2})",
                     "* Line 1, Column 25\n  Missing ',' or '}' in object declaration\n");
        expectBroken("\n\n[1, 2",
                     "* Line 3, Column 6\n  Missing ',' or ']' in array declaration\n");
        EXPECT_FALSE(load("{ ]"));
        EXPECT_FALSE(load("{\"a\": \"\\q\"}"));
        EXPECT_FALSE(load(R"({"a": tru})"));
        EXPECT_FALSE(load("{'a': 1}"));
    });
}

TEST(Load, longBrokenTextIsReportedAtItsRealLine) {
    inOwnSystem([] {
        const std::string start = "{\n" + std::string(100'000, '\n') + "\"a\": ";
        expectBroken(start + "}",
                     "* Line 100002, Column 6\n  Syntax error: value, object or array expected.\n");
    });
}

TEST(Load, emptyFileIsBroken) {
    inOwnSystem([] {
        expectBroken("", "* Line 1, Column 1\n  Syntax error: value, object or array expected.\n");
        EXPECT_FALSE(load(" \n\t "));
    });
}

TEST(Load, binaryRubbishIsBroken) {
    inOwnSystem([] {
        EXPECT_FALSE(load(std::string("\0\1\2\3", 4)));
        EXPECT_FALSE(load(std::string(4096, '\xFF')));
        EXPECT_FALSE(
            load("\x7F"
                 "ELF"));
    });
}

TEST(Load, directoryAtThePathIsAFileThatDoesNotParse) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mkdir(configFile, 0755));
        EXPECT_FALSE(Load());
        ASSERT_EQ(2U, script().logLines.size());
        EXPECT_EQ(loading, script().logLines[0]);
        EXPECT_EQ(0U, script().logLines[1].rfind(failed, 0)) << script().logLines[1];
        EXPECT_GT(script().logLines[1].size(), failed.size());
    });
}

TEST(Load, nestingDeeperThanTheParserGoesIsAFileThatDoesNotParse) {
    inOwnSystem([] {
        EXPECT_FALSE(load(std::string(200'000, '[')));
        ASSERT_EQ(2U, script().logLines.size());
        EXPECT_EQ(0U, script().logLines[1].rfind(failed, 0)) << script().logLines[1];
        EXPECT_GT(script().logLines[1].size(), failed.size());
    });
}

TEST(Load, commentsAreAcceptedAndDiscarded) {
    inOwnSystem([] {
        EXPECT_TRUE(load("// first\n{ /* within */ \"BASE_INTERVAL_PASSIVE\": 31 // after\n}\n"));
        EXPECT_EQ(31, GetInt(BASE_INTERVAL_PASSIVE));
        EXPECT_FALSE(GetJson(BASE_INTERVAL_PASSIVE).hasComment(Json::commentAfterOnSameLine));
    });
}

TEST(Load, anyValueAtTheTopLevelLoadsAndOneThatIsNoObjectHasNoMembers) {
    inOwnSystem([] {
        for (const char* text : {"[]", "[30]", R"(["BASE_INTERVAL_PASSIVE"])", "30", "12.5", "null",
                                 "true", R"("BASE_INTERVAL_PASSIVE")"}) {
            EXPECT_TRUE(load(text)) << text;
            EXPECT_EQ(Lines{loading}, script().logLines) << text;
            expectDefaults();
        }
    });
}

TEST(Load, textBehindTheValueIsNoError) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_PASSIVE": 31} and more)"));
        EXPECT_EQ(31, GetInt(BASE_INTERVAL_PASSIVE));
    });
}

TEST(Load, keyInAnotherCaseIsNoKey) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"base_interval_passive": 31, "Base_Interval_Passive": 32,
                             " BASE_INTERVAL_PASSIVE": 33, "BASE_INTERVAL_PASSIVE ": 34,
                             "BASE_INTERVAL_PASSIV": 35})"));
        EXPECT_EQ(Lines{loading}, script().logLines);
        expectDefaults();
    });
}

TEST(Load, membersThatAreNoSettingsAreIgnored) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"OTHER": [{}], "": 7, "BASE_INTERVAL_PASSIVE": 31})"));
        EXPECT_EQ(Lines{loading}, script().logLines);
        EXPECT_EQ(31, GetInt(BASE_INTERVAL_PASSIVE));
        EXPECT_EQ(20, GetInt(BASE_INTERVAL_ACTIVE));
    });
}

TEST(Load, membersOfAnObjectWithinAreNoSettings) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"settings": {"BASE_INTERVAL_PASSIVE": 31}})"));
        expectDefaults();
    });
}

TEST(Load, checksNoValues) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_PASSIVE": [1], "BASE_INTERVAL_ACTIVE": {},
                             "THR_OF_HB_LATENCY": "fast", "SIZE_MAX_OF_LOG_FILE": -1})"));
        EXPECT_EQ(Lines{loading}, script().logLines);
        EXPECT_EQ(-1, GetInt(SIZE_MAX_OF_LOG_FILE));
        EXPECT_TRUE(GetJson(BASE_INTERVAL_PASSIVE).isArray());
    });
}

TEST(Load, replacesTheWholeDocument) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_PASSIVE": 31})"));
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_ACTIVE": 32})"));
        EXPECT_EQ(15, GetInt(BASE_INTERVAL_PASSIVE));
        EXPECT_EQ(32, GetInt(BASE_INTERVAL_ACTIVE));
    });
}

TEST(Load, changedFileTakesNoEffectWithoutALoad) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"BASE_INTERVAL_PASSIVE": 31})"));
        write(R"({"BASE_INTERVAL_PASSIVE": 32})");
        EXPECT_EQ(31, GetInt(BASE_INTERVAL_PASSIVE));
        ::unlink(configFile);
        EXPECT_EQ(31, GetInt(BASE_INTERVAL_PASSIVE));
    });
}

TEST(Load, valueOutsideTheTableIsTheMemberOfTheEmptyName) {
    inOwnSystem([] {
        EXPECT_TRUE(load(R"({"": 7})"));
        EXPECT_EQ(7, GetInt(static_cast<ConfType>(6)));
        EXPECT_EQ(15, GetInt(BASE_INTERVAL_PASSIVE));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
