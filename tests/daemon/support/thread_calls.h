// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <vector>

namespace koraha::test {

// The test program has a `pthread_create` and a `pthread_join` of its own, which Boost's threads
// find in place of the C library's. They count, then do what they are for. Numbers begin at 0 with
// the first thread of the process.

/// How many threads were made, or tried, so far.
int threadsMade();

/// Called before each thread is made; false: it cannot be had (EAGAIN). Set it while one thread
/// runs.
void beforeEachThread(std::function<bool(int number)> hook);

/// The numbers of the threads that were joined, in the order of their joins.
std::vector<int> threadsJoined();

}  // namespace koraha::test
