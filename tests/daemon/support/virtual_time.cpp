// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/virtual_time.h"

#include <atomic>
#include <string>
#include <thread>
#include <utility>

#include "log/running_flag.h"
#include "tests/scripted/script.h"

namespace koraha::test {
namespace {

struct VirtualTime {
    std::atomic<std::time_t> now{1'700'000'000};
    std::atomic<int> sleepsLeft{0};  // 0: nobody counts them
    std::atomic<std::chrono::milliseconds> realPause{};
    std::function<void(unsigned int)> hook = [](unsigned int) {};
};

VirtualTime& virtualTime() {
    static VirtualTime& theOne = *new VirtualTime;  // threads may sleep while the process ends
    return theOne;
}

void pass(unsigned int seconds) {
    script().note("sleep " + std::to_string(seconds));
    VirtualTime& clock = virtualTime();
    clock.hook(seconds);
    clock.now += seconds;
    if (clock.sleepsLeft > 0 && --clock.sleepsLeft == 0) {
        KORA::HA::Daemon::TEST_setRunning(false);
    }
    if (const auto pause = clock.realPause.load(); pause.count() > 0) {
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace

void stopAfterSleeps(int count) {
    KORA::HA::Daemon::TEST_setRunning(true);
    virtualTime().sleepsLeft = count;
}

void onSleep(std::function<void(unsigned int seconds)> hook) {
    virtualTime().hook = std::move(hook);
}

void makeSleepsReallyLast(std::chrono::milliseconds pause) {
    virtualTime().realPause = pause;
}

void passTime(std::time_t seconds) {
    virtualTime().now += seconds;
}

}  // namespace koraha::test

extern "C" unsigned int sleep(unsigned int seconds) {
    koraha::test::pass(seconds);
    return 0;
}

extern "C" std::time_t time(std::time_t* result) noexcept {
    const std::time_t now = koraha::test::virtualTime().now;
    if (result != nullptr) {
        *result = now;
    }
    return now;
}
