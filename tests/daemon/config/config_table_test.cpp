// SPDX-License-Identifier: Apache-2.0
#include "config/config_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/int_daemon_conf.h"

namespace KORA::HA::Daemon {
namespace {

struct Row {
    int value;
    ConfType type;
    const char* key;
    const char* defaultText;
};

const std::vector<Row> rows = {
    {0, BASE_INTERVAL_RECORD_ENV, "BASE_INTERVAL_RECORD_ENV", "60"},
    {1, BASE_INTERVAL_BUSY_FLAG, "BASE_INTERVAL_BUSY_FLAG", "5"},
    {2, BASE_INTERVAL_ACTIVE, "BASE_INTERVAL_ACTIVE", "20"},
    {3, BASE_INTERVAL_PASSIVE, "BASE_INTERVAL_PASSIVE", "15"},
    {4, BASE_INTERVAL_LOG_WRITE, "BASE_INTERVAL_LOG_WRITE", "20"},
    {5, BASE_INTERVAL_LOG_ROTATE, "BASE_INTERVAL_LOG_ROTATE", "1800"},
    {1000, NUM_OF_REST_NETWORK, "NUM_OF_REST_NETWORK", "240"},
    {1001, NUM_OF_REST_MON_HB_LATENCY, "NUM_OF_REST_MON_HB_LATENCY", "4"},
    {1002, NUM_OF_REST_MON_PKT_DROP, "NUM_OF_REST_MON_PKT_DROP", "240"},
    {2000, THR_OF_HB_LATENCY, "THR_OF_HB_LATENCY", "100.0"},
    {2001, THR_OF_HB_PKT_DROP, "THR_OF_HB_PKT_DROP", "0.001"},
    {2002, THR_OF_RDISK_ERRHANDLE, "THR_OF_RDISK_ERRHANDLE", "12"},
    {3000, TOLERANCE_TIMES_OF_HB_LATENCY, "TOLERANCE_TIMES_OF_HB_LATENCY", "3"},
    {3001, TOLERANCE_TIMES_OF_PKT_DROP, "TOLERANCE_TIMES_OF_PKT_DROP", "3"},
    {4000, SIZE_MAX_OF_LOG_FILE, "SIZE_MAX_OF_LOG_FILE", "5242880"},
};

TEST(ConfigTable, holdsExactlyTheFifteenSettingsOrderedByValue) {
    ASSERT_EQ(rows.size(), configTable().size());
    auto row = rows.begin();
    for (const auto& [type, entry] : configTable()) {
        EXPECT_EQ(row->value, static_cast<int>(type));
        EXPECT_EQ(row->key, entry.first);
        EXPECT_EQ(row->defaultText, entry.second);
        ++row;
    }
}

TEST(ConfigTable, everySettingHasItsNumberAndBearsTheNameOfItsKey) {
    for (const Row& row : rows) {
        EXPECT_EQ(row.value, static_cast<int>(row.type)) << row.key;
        ASSERT_EQ(1U, configTable().count(row.type)) << row.key;
        EXPECT_EQ(row.key, configTable().at(row.type).first);
    }
}

TEST(ConfigTable, gapsBetweenTheGroupsAreNoSettings) {
    for (const int gap : {6, 7, 999, 1003, 1999, 2003, 2999, 3002, 3999, 4001, 4095}) {
        EXPECT_EQ(0U, configTable().count(static_cast<ConfType>(gap))) << gap;
    }
}

TEST(ConfigTable, withoutAFileEveryGetterYieldsTheDefault) {
    for (const Row& row : rows) {
        EXPECT_TRUE(GetJson(row.type).isString()) << row.key;
        EXPECT_EQ(row.defaultText, GetJson(row.type).asString()) << row.key;
        EXPECT_EQ(row.defaultText, GetStr(row.type)) << row.key;
    }
    EXPECT_EQ(60, GetInt(BASE_INTERVAL_RECORD_ENV));
    EXPECT_EQ(5, GetInt(BASE_INTERVAL_BUSY_FLAG));
    EXPECT_EQ(20, GetInt(BASE_INTERVAL_ACTIVE));
    EXPECT_EQ(15, GetInt(BASE_INTERVAL_PASSIVE));
    EXPECT_EQ(20, GetInt(BASE_INTERVAL_LOG_WRITE));
    EXPECT_EQ(1800, GetInt(BASE_INTERVAL_LOG_ROTATE));
    EXPECT_EQ(240, GetInt(NUM_OF_REST_NETWORK));
    EXPECT_EQ(4, GetInt(NUM_OF_REST_MON_HB_LATENCY));
    EXPECT_EQ(240, GetInt(NUM_OF_REST_MON_PKT_DROP));
    EXPECT_EQ(100.0F, GetFloat(THR_OF_HB_LATENCY));
    EXPECT_EQ(0.001F, GetFloat(THR_OF_HB_PKT_DROP));
    EXPECT_EQ(12, GetInt(THR_OF_RDISK_ERRHANDLE));
    EXPECT_EQ(3, GetInt(TOLERANCE_TIMES_OF_HB_LATENCY));
    EXPECT_EQ(3, GetInt(TOLERANCE_TIMES_OF_PKT_DROP));
    EXPECT_EQ(5242880, GetInt(SIZE_MAX_OF_LOG_FILE));
}

TEST(ConfigTable, defaultsReadAsTheOtherKindOfNumberAreThatNumberToo) {
    EXPECT_EQ(100, GetInt(THR_OF_HB_LATENCY));
    EXPECT_EQ(0, GetInt(THR_OF_HB_PKT_DROP));
    EXPECT_EQ(1800.0F, GetFloat(BASE_INTERVAL_LOG_ROTATE));
    EXPECT_EQ(5242880.0F, GetFloat(SIZE_MAX_OF_LOG_FILE));
}

TEST(ConfigTable, valueOutsideTheTableIsAnEmptyText) {
    EXPECT_TRUE(GetJson(static_cast<ConfType>(6)).isString());
    EXPECT_EQ("", GetStr(static_cast<ConfType>(6)));
}

}  // namespace
}  // namespace KORA::HA::Daemon
