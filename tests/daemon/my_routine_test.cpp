#include "daemon/my_routine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <string>

namespace KORA::HA::Daemon {
namespace {

TEST(MyRoutine, falseYieldsTwoAndTrueYieldsOneAndBothStaySo) {
    MyRoutine refusing([] { return false; });
    MyRoutine agreeing([] { return true; });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(2, refusing.getState());
        EXPECT_EQ(1, agreeing.getState());
    }
    refusing.join();
    agreeing.join();
}

TEST(MyRoutine, longRoutineYieldsZeroAfterAboutOneSecond) {
    std::atomic<bool> stop{false};
    MyRoutine routine([&] {
        while (!stop) {
            boost::this_thread::yield();
        }
        return true;
    });
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(0, routine.getState());
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
    stop = true;
    routine.join();
    EXPECT_EQ(1, routine.getState());
}

TEST(MyRoutine, movedWhileItsThreadEndsTenThousandTimes) {
    for (int i = 0; i < 10'000; ++i) {
        std::map<std::string, MyRoutine> table;
        table.emplace("routine", MyRoutine([] { return true; }));
        MyRoutine& moved = table.at("routine");
        ASSERT_EQ(1, moved.getState());
        moved.join();
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon
