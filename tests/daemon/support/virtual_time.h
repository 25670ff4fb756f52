// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <ctime>
#include <functional>

namespace koraha::test {

// The test program has a `sleep` and a `time` of its own: the daemon's loops find them in place of
// the C library's. A sleep notes itself as a call ("sleep 20"), moves the clock on and returns at
// once, so that thousands of passes take no time.

/// Lets the running loop go on for that many sleeps: the running flag is clear when the last one
/// ends, and nobody sleeps after it. Sets the flag now.
void stopAfterSleeps(int count);

/// Called at each sleep, before the clock moves. Set before any thread sleeps.
void onSleep(std::function<void(unsigned int seconds)> hook);

/// Makes each sleep really last that long: for loops that run in threads of their own.
void makeSleepsReallyLast(std::chrono::milliseconds pause);

/// Moves the clock by itself, backwards too.
void passTime(std::time_t seconds);

}  // namespace koraha::test
