// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace koraha::test {

inline constexpr int loggingThreads = 8;

/// What a child that logs tells its parent, in memory that both share.
struct LoggingReport {
    /// For each thread the number of its lines whose `set` has returned.
    std::array<std::atomic<std::uint64_t>, loggingThreads> returned{};
    enum Phase { elsewhere, writing, rotating };
    std::atomic<int> phase{elsewhere};  ///< what the flushing thread is at
};

struct LoggingPlaces {
    std::string directory;  ///< of the log
    std::string fileName;
    std::string archive;  ///< where each file gets a second name before it is rotated away
};

/// How much filling line number `number` has: from nothing to several times the usual length of a
/// line, and now and then what only a large slab takes.
std::size_t fillingOf(std::uint64_t number);

/// The life of one child process: eight threads log without end, while another writes with no pause
/// between and rotates at every look. Every line is
/// "life=LIFE thread=THREAD line=NUMBER " and its filling.
[[noreturn]] void logUntilKilled(int life, const LoggingPlaces& places, LoggingReport& report);

}  // namespace koraha::test
