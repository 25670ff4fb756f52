// SPDX-License-Identifier: Apache-2.0
#include "daemon/my_routine.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

#include "tests/daemon/support/eventually.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::eventually;
using koraha::test::threadsJoined;

using Lines = std::vector<std::string>;
using Seconds = std::chrono::duration<double>;

#ifdef KORAHA_ROUTINE_STACK_BYTES
constexpr std::size_t stackBytes = KORAHA_ROUTINE_STACK_BYTES;
#else
constexpr std::size_t stackBytes = 81920;
#endif

// A routine that goes on until the test lets it end.
class Held {
  public:
    ~Held() { end(); }
    boost::function<bool()> routine(bool result) {
        return [this, result] {
            started_ = true;
            EXPECT_TRUE(eventually([this] { return ended_.load(); }));
            returned_ = true;
            return result;
        };
    }
    void end() { ended_ = true; }
    bool started() const { return started_; }
    bool returned() const { return returned_; }

  private:
    std::atomic<bool> started_{false};
    std::atomic<bool> ended_{false};
    std::atomic<bool> returned_{false};
};

template <typename Body>
Seconds timeOf(const Body& body) {
    const auto before = std::chrono::steady_clock::now();
    body();
    return std::chrono::steady_clock::now() - before;
}

// The state once it is no longer that of a running routine, however late that is.
int endState(MyRoutine& routine) {
    int state = 0;
    EXPECT_TRUE(eventually([&] { return (state = routine.getState()) != 0; }));
    return state;
}

// A routine that returns at once, and that has begun to.
MyRoutine startAndLetEnd(bool result) {
    std::atomic<bool> returns{false};
    MyRoutine routine([&returns, result] {
        returns = true;
        return result;
    });
    EXPECT_TRUE(eventually([&returns] { return returns.load(); }));
    return routine;
}

// A wait of a second in each of them would take a quarter of an hour.
void expectStateAgainAndAgain(MyRoutine& routine, int state) {
    for (int i = 0; i < 1'000; ++i) {
        ASSERT_EQ(state, routine.getState());
    }
}

static_assert(std::is_nothrow_move_constructible_v<MyRoutine>);
static_assert(!std::is_copy_constructible_v<MyRoutine>);
static_assert(!std::is_polymorphic_v<MyRoutine>);

TEST(MyRoutine, routineThatReturnsFalseAtOnceYieldsTwoOnTheFirstQueryAndEverAfter) {
    MyRoutine routine = startAndLetEnd(false);
    EXPECT_EQ(2, routine.getState());
    EXPECT_LT(timeOf([&] { expectStateAgainAndAgain(routine, 2); }), std::chrono::minutes(1));
    routine.join();
    EXPECT_EQ(2, routine.getState());
}

TEST(MyRoutine, routineThatReturnsTrueAtOnceYieldsOneOnTheFirstQueryAndEverAfter) {
    MyRoutine routine = startAndLetEnd(true);
    EXPECT_EQ(1, routine.getState());
    EXPECT_LT(timeOf([&] { expectStateAgainAndAgain(routine, 1); }), std::chrono::minutes(1));
    routine.join();
    EXPECT_EQ(1, routine.getState());
}

TEST(MyRoutine, routineLongerThanTheWaitYieldsZeroAfterAboutOneSecondNotAtOnce) {
    Held held;
    MyRoutine routine(held.routine(true));
    Seconds shortest(100.0);  // of several: a busy machine may make any of them longer
    for (int i = 0; i < 10 && shortest > Seconds(1.5); ++i) {
        const Seconds wait = timeOf([&] { EXPECT_EQ(0, routine.getState()); });
        EXPECT_GE(wait, Seconds(1.0));
        shortest = std::min(shortest, wait);
    }
    EXPECT_LT(shortest, Seconds(1.5));
    held.end();
    routine.join();
    EXPECT_EQ(1, routine.getState());
}

TEST(MyRoutine, endOfTheRoutineCutsTheWaitShort) {
    Held held;
    MyRoutine routine(held.routine(false));
    boost::thread ender([&] {
        EXPECT_TRUE(eventually([&] { return held.started(); }));
        held.end();
    });
    EXPECT_EQ(2, endState(routine));
    ender.join();
    routine.join();
}

TEST(MyRoutine, startsItsThreadAtOnceWithoutBeingAsked) {
    Held held;
    MyRoutine routine(held.routine(true));
    EXPECT_TRUE(eventually([&] { return held.started(); }));
    held.end();
    routine.join();
}

TEST(MyRoutine, runsTheRoutineOnceInAThreadOfItsOwn) {
    std::atomic<int> runs{0};
    std::atomic<pthread_t> runner{};
    MyRoutine routine([&] {
        ++runs;
        runner = ::pthread_self();
        return true;
    });
    routine.join();
    EXPECT_EQ(1, routine.getState());
    EXPECT_EQ(1, runs);
    EXPECT_EQ(0, ::pthread_equal(::pthread_self(), runner));
}

TEST(MyRoutine, attributesAskForEightyKibibytesOfStackAndAJoinableThread) {
    EXPECT_EQ(stackBytes, defaultBThreadAttrGen().get_stack_size());
    EXPECT_EQ(stackBytes, MyRoutine::attr.get_stack_size());
    int detached = -1;
    ASSERT_EQ(0, ::pthread_attr_getdetachstate(MyRoutine::attr.native_handle(), &detached));
    EXPECT_EQ(PTHREAD_CREATE_JOINABLE, detached);
}

TEST(MyRoutine, threadHasTheStackOfItsAttributes) {
    std::atomic<std::size_t> size{0};
    MyRoutine routine([&] {
        pthread_attr_t attributes;
        std::size_t bytes = 0;
        ::pthread_getattr_np(::pthread_self(), &attributes);
        ::pthread_attr_getstacksize(&attributes, &bytes);
        ::pthread_attr_destroy(&attributes);
        size = bytes;
        return true;
    });
    routine.join();
    EXPECT_EQ(stackBytes, size);
}

TEST(MyRoutine, movedFromObjectDestroyedAtOnceHasNoEffectOnTheRunningThread) {
    Held held;
    auto first = std::make_unique<MyRoutine>(held.routine(true));
    MyRoutine second(std::move(*first));
    first.reset();
    EXPECT_TRUE(eventually([&] { return held.started(); }));
    EXPECT_EQ(0, second.getState());
    EXPECT_FALSE(held.returned());
    held.end();
    second.join();
    EXPECT_TRUE(held.returned());
    EXPECT_EQ(1, second.getState());
    EXPECT_EQ(Lines{}, script().logLines);
}

TEST(MyRoutine, movedFromObjectIsEmptyAndSaysThatItCannotBeWaitedFor) {
    MyRoutine first([] { return true; });
    MyRoutine second(std::move(first));
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is left is the point
    EXPECT_EQ(2, first.getState());
    EXPECT_EQ(Lines{"koraharemotemond:473 Failed to wait process exec"}, script().logLines);
    first.join();
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(1U, script().logLines.size());
    second.join();
    EXPECT_EQ(1, second.getState());
}

TEST(MyRoutine, movedWhileItsThreadEndsTenThousandTimes) {
    for (int i = 0; i < 10'000; ++i) {
        std::map<std::string, MyRoutine> table;
        const bool result = i % 2 == 0;
        table.emplace("routine", MyRoutine([result] { return result; }));
        MyRoutine& moved = table.at("routine");
        ASSERT_EQ(result ? 1 : 2, endState(moved));
        moved.join();
    }
    EXPECT_EQ(Lines{}, script().logLines);
}

TEST(MyRoutine, movedAgainAndAgainWhileItsThreadEnds) {
    for (int i = 0; i < 1'000; ++i) {
        auto routine = std::make_unique<MyRoutine>([] { return true; });
        for (int move = 0; move < 5; ++move) {
            routine = std::make_unique<MyRoutine>(std::move(*routine));
        }
        ASSERT_EQ(1, endState(*routine));
        routine->join();
    }
}

TEST(MyRoutine, destroyedUnjoinedItNeitherJoinsNorInterruptsItsThread) {
    Held held;
    const std::size_t joinsBefore = threadsJoined().size();
    {
        const MyRoutine routine(held.routine(true));
        EXPECT_TRUE(eventually([&] { return held.started(); }));
    }
    EXPECT_FALSE(held.returned());
    EXPECT_EQ(joinsBefore, threadsJoined().size());
    held.end();
    EXPECT_TRUE(eventually([&] { return held.returned(); }));
    EXPECT_EQ(Lines{}, script().logLines);
}

TEST(MyRoutine, joinWaitsForTheEndOfTheThread) {
    Held held;
    MyRoutine routine(held.routine(true));
    std::atomic<bool> joined{false};
    boost::thread joiner([&] {
        routine.join();
        joined = true;
    });
    EXPECT_TRUE(eventually([&] { return held.started(); }));
    boost::this_thread::sleep_for(boost::chrono::milliseconds(50));
    EXPECT_FALSE(joined);
    held.end();
    EXPECT_TRUE(eventually([&] { return joined.load(); }));
    EXPECT_TRUE(held.returned());
    joiner.join();
}

TEST(MyRoutine, joinedAgainItReturnsAtOnceAndSaysNothing) {
    MyRoutine routine([] { return true; });
    routine.join();
    routine.join();
    EXPECT_EQ(Lines{}, script().logLines);
}

TEST(MyRoutine, joinFromTheThreadItselfIsRefusedAndLogged) {
    std::atomic<MyRoutine*> self{nullptr};
    std::atomic<bool> cameBack{false};
    MyRoutine routine([&] {
        EXPECT_TRUE(eventually([&] { return self.load() != nullptr; }));
        self.load()->join();
        cameBack = true;
        return true;
    });
    self = &routine;
    EXPECT_TRUE(eventually([&] { return cameBack.load(); }));
    EXPECT_EQ(1, endState(routine));
    EXPECT_EQ(Lines{"koraharemotemond:493 Failed to join thread"}, script().logLines);
    routine.join();
    EXPECT_EQ(1U, script().logLines.size());
}

TEST(MyRoutine, resultTravelsWithWhatTheRoutineWroteBeforeIt) {
    int written = 0;  // no atomic: the state or the join orders it
    MyRoutine routine([&] {
        written = 42;
        return true;
    });
    EXPECT_EQ(1, endState(routine));
    EXPECT_EQ(42, written);
    routine.join();
}

TEST(MyRoutineDeathTest, exceptionThatEscapesTheRoutineEndsTheProcess) {
    const auto throwing = [] {
        MyRoutine routine([]() -> bool { throw std::runtime_error("lost"); });
        routine.join();
    };
    EXPECT_EXIT(throwing(), testing::KilledBySignal(SIGABRT), "lost");
}

TEST(MyRoutineDeathTest, emptyRoutineEndsTheProcess) {
    const auto empty = [] {
        MyRoutine routine{boost::function<bool()>()};
        routine.join();
    };
    EXPECT_EXIT(empty(), testing::KilledBySignal(SIGABRT), "bad_function_call");
}

}  // namespace
}  // namespace KORA::HA::Daemon
