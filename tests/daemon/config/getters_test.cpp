// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <boost/bind/bind.hpp>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/int_daemon_conf.h"
#include "daemon/my_routine.h"
#include "tests/daemon/support/own_system.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::configure;
using koraha::test::inOwnSystem;

static_assert(std::is_same_v<bool, decltype(Load())>);
static_assert(std::is_same_v<Json::Value, decltype(GetJson(BASE_INTERVAL_ACTIVE))>);
static_assert(std::is_same_v<std::string, decltype(GetStr(BASE_INTERVAL_ACTIVE))>);
static_assert(std::is_same_v<int, decltype(GetInt(BASE_INTERVAL_ACTIVE))>);
static_assert(std::is_same_v<float, decltype(GetFloat(BASE_INTERVAL_ACTIVE))>);

void setLogWrite(const std::string& json) {
    configure("{\"BASE_INTERVAL_LOG_WRITE\": " + json + "}");
}
void setLatency(const std::string& json) {
    configure("{\"THR_OF_HB_LATENCY\": " + json + "}");
}

TEST(GetFloat, integerWhereAFloatIsExpectedIsWidened) {
    inOwnSystem([] {
        setLatency("150");
        EXPECT_EQ(150.0F, GetFloat(THR_OF_HB_LATENCY));
        setLatency("-3");
        EXPECT_EQ(-3.0F, GetFloat(THR_OF_HB_LATENCY));
    });
}

TEST(GetFloat, realsAreReadInSinglePrecision) {
    inOwnSystem([] {
        setLatency("150.25");
        EXPECT_EQ(150.25F, GetFloat(THR_OF_HB_LATENCY));
        setLatency("0.1");
        EXPECT_EQ(0.1F, GetFloat(THR_OF_HB_LATENCY));
        setLatency("1e3");
        EXPECT_EQ(1000.0F, GetFloat(THR_OF_HB_LATENCY));
    });
}

TEST(GetInt, realsAreTruncatedTowardZero) {
    inOwnSystem([] {
        setLogWrite("12.9");
        EXPECT_EQ(12, GetInt(BASE_INTERVAL_LOG_WRITE));
        setLogWrite("-12.9");
        EXPECT_EQ(-12, GetInt(BASE_INTERVAL_LOG_WRITE));
        setLogWrite("0.99");
        EXPECT_EQ(0, GetInt(BASE_INTERVAL_LOG_WRITE));
    });
}

TEST(GetInt, integersAreReadAsTheyAre) {
    inOwnSystem([] {
        for (const int value : {0, 1, -1, 30, 2147483647, -2147483647 - 1}) {
            setLogWrite(std::to_string(value));
            EXPECT_EQ(value, GetInt(BASE_INTERVAL_LOG_WRITE));
        }
    });
}

TEST(GetInt, booleansAndNullConvertAsTheLibraryConvertsThem) {
    inOwnSystem([] {
        setLogWrite("true");
        EXPECT_EQ(1, GetInt(BASE_INTERVAL_LOG_WRITE));
        setLogWrite("false");
        EXPECT_EQ(0, GetInt(BASE_INTERVAL_LOG_WRITE));
        setLogWrite("null");  // a member all the same: no default
        EXPECT_EQ(0, GetInt(BASE_INTERVAL_LOG_WRITE));
        setLatency("null");
        EXPECT_EQ(0.0F, GetFloat(THR_OF_HB_LATENCY));
        EXPECT_EQ("", GetStr(THR_OF_HB_LATENCY));
        setLatency("true");
        EXPECT_EQ(1.0F, GetFloat(THR_OF_HB_LATENCY));
        EXPECT_EQ("true", GetStr(THR_OF_HB_LATENCY));
    });
}

TEST(GetInt, textThatSpellsANumberIsThatNumber) {
    inOwnSystem([] {
        const std::vector<std::pair<std::string, int>> table = {
            {"30", 30},   {" 30 ", 30},   {"+30", 30},  {"-30", -30},
            {"12.9", 12}, {"-12.9", -12}, {"1e2", 100}, {"0", 0},
        };
        for (const auto& [text, number] : table) {
            setLogWrite("\"" + text + "\"");
            EXPECT_EQ(number, GetInt(BASE_INTERVAL_LOG_WRITE)) << text;
            EXPECT_EQ(text, GetStr(BASE_INTERVAL_LOG_WRITE));
        }
    });
}

TEST(GetInt, textThatSpellsNoNumberYieldsTheDefault) {
    inOwnSystem([] {
        for (const char* text : {"", " ", "soon", "30s", "s30", "0x10", "1,5", "inf", "nan",
                                 "2147483648", "99999999999999999999"}) {
            setLogWrite("\"" + std::string(text) + "\"");
            EXPECT_EQ(20, GetInt(BASE_INTERVAL_LOG_WRITE)) << text;
        }
    });
}

TEST(GetFloat, textThatSpellsANumberIsThatNumberAndAnyOtherTheDefault) {
    inOwnSystem([] {
        setLatency(R"("150.5")");
        EXPECT_EQ(150.5F, GetFloat(THR_OF_HB_LATENCY));
        setLatency(R"(" 2e-3 ")");
        EXPECT_EQ(0.002F, GetFloat(THR_OF_HB_LATENCY));
        for (const char* text : {"", "fast", "1.5ms", "inf", "nan", "1e39", "1,5"}) {
            setLatency("\"" + std::string(text) + "\"");
            EXPECT_EQ(100.0F, GetFloat(THR_OF_HB_LATENCY)) << text;
        }
    });
}

TEST(GetStr, numbersAreConvertedToText) {
    inOwnSystem([] {
        setLogWrite("30");
        EXPECT_EQ("30", GetStr(BASE_INTERVAL_LOG_WRITE));
        setLogWrite("-7");
        EXPECT_EQ("-7", GetStr(BASE_INTERVAL_LOG_WRITE));
        setLatency("150.5");
        EXPECT_EQ("150.5", GetStr(THR_OF_HB_LATENCY));
    });
}

TEST(GetJson, isTheMemberWhateverItsType) {
    inOwnSystem([] {
        setLogWrite("30");
        EXPECT_TRUE(GetJson(BASE_INTERVAL_LOG_WRITE).isInt());
        setLogWrite("12.5");
        EXPECT_TRUE(GetJson(BASE_INTERVAL_LOG_WRITE).isDouble());
        setLogWrite("null");
        EXPECT_TRUE(GetJson(BASE_INTERVAL_LOG_WRITE).isNull());
        setLogWrite(R"({"a": [1, 2]})");
        EXPECT_EQ(2, GetJson(BASE_INTERVAL_LOG_WRITE)["a"][1].asInt());
        setLogWrite(R"("a text")");
        EXPECT_EQ("a text", GetJson(BASE_INTERVAL_LOG_WRITE).asString());
    });
}

TEST(GetJson, returnsAFreshCopyEachTime) {
    inOwnSystem([] {
        setLogWrite("[1]");
        Json::Value copy = GetJson(BASE_INTERVAL_LOG_WRITE);
        copy.append(2);
        EXPECT_EQ(1U, GetJson(BASE_INTERVAL_LOG_WRITE).size());
    });
}

TEST(Getters, typeThatTheConversionCannotHandleThrows) {
    inOwnSystem([] {
        for (const char* unusable : {"[]", "[30]", "{}", R"({"a": 30})"}) {
            setLogWrite(unusable);
            EXPECT_THROW(GetInt(BASE_INTERVAL_LOG_WRITE), Json::Exception) << unusable;
            EXPECT_THROW(GetFloat(BASE_INTERVAL_LOG_WRITE), Json::Exception) << unusable;
            EXPECT_THROW(GetStr(BASE_INTERVAL_LOG_WRITE), Json::Exception) << unusable;
        }
    });
}

TEST(Getters, numberThatAnIntegerCannotHoldThrows) {
    inOwnSystem([] {
        for (const char* large : {"2147483648", "-2147483649", "99999999999999999999", "1e10"}) {
            setLogWrite(large);
            EXPECT_THROW(GetInt(BASE_INTERVAL_LOG_WRITE), Json::Exception) << large;
        }
    });
}

TEST(GettersDeathTest, valueOfAnUnusableTypeReadByARoutineEndsTheProcess) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_WRITE": [30], "THR_OF_HB_LATENCY": {}})");
        const auto inARoutine = [](auto read) {
            MyRoutine routine([read] {
                read();
                return true;
            });
            routine.join();
        };
        EXPECT_EXIT(inARoutine([] { GetInt(BASE_INTERVAL_LOG_WRITE); }),
                    testing::KilledBySignal(SIGABRT), "Json::LogicError");
        EXPECT_EXIT(inARoutine([] { GetFloat(THR_OF_HB_LATENCY); }),
                    testing::KilledBySignal(SIGABRT), "Json::LogicError");
        EXPECT_EXIT(inARoutine([] { GetStr(THR_OF_HB_LATENCY); }), testing::KilledBySignal(SIGABRT),
                    "Json::LogicError");
    });
}

TEST(Getters, mayBeCalledFromEveryThreadAtOnce) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_ACTIVE": 30, "THR_OF_HB_LATENCY": "150.5"})");
        std::atomic<int> wrong{0};
        std::array<std::thread, 8> readers;
        for (std::thread& reader : readers) {
            reader = std::thread([&wrong] {
                for (int pass = 0; pass < 500; ++pass) {
                    wrong += GetInt(BASE_INTERVAL_ACTIVE) != 30;
                    wrong += GetInt(BASE_INTERVAL_PASSIVE) != 15;
                    wrong += GetFloat(THR_OF_HB_LATENCY) != 150.5F;
                    wrong += GetFloat(THR_OF_HB_PKT_DROP) != 0.001F;
                    wrong += !GetStr(static_cast<ConfType>(6)).empty();
                }
            });
        }
        for (std::thread& reader : readers) {
            reader.join();
        }
        EXPECT_EQ(0, wrong);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
