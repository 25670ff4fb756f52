// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <thread>

#include "bench/programs/measured.h"

namespace bench {

/// Threads that log in bursts, and what each call took.
struct LogLoad {
    int threads = 1;
    int bursts = 100;
    int linesPerBurst = 100;
    std::chrono::milliseconds pause{2};

    /// THREADS BURSTS LINES PAUSE_MS
    static LogLoad from(char** words) {
        return {number(words[0]), number(words[1]), number(words[2]),
                std::chrono::milliseconds(number(words[3]))};
    }
    std::size_t lines() const {
        return static_cast<std::size_t>(threads) * static_cast<std::size_t>(bursts) *
               static_cast<std::size_t>(linesPerBurst);
    }
};

/// A message as the daemon's are: a tag, a line number, eighty characters.
inline std::string message(int number) {
    return "koraharemotemond:268 Failed to get network interface fail rate of link0, the " +
           std::to_string(number % 10) + ". time";
}

/// Calls `set` with every line of the load.
template <typename Set>
void logBursts(const LogLoad& load, Set set, Times& times) {
    std::vector<Times> each(static_cast<std::size_t>(load.threads), Times(load.lines()));
    std::vector<std::thread> threads;
    for (Times& own : each) {
        threads.emplace_back([&load, &set, &own] {
            const std::string line = message(7);
            for (int burst = 0; burst < load.bursts; ++burst) {
                for (int i = 0; i < load.linesPerBurst; ++i) {
                    const auto start = std::chrono::steady_clock::now();
                    set(line);
                    own.add(std::chrono::steady_clock::now() - start);
                }
                std::this_thread::sleep_for(load.pause);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const Times& own : each) {
        times.add(own);
    }
}

/// Calls `flush` every 5 ms for as long as it lives.
template <typename Flush>
class Flusher {
  public:
    explicit Flusher(Flush flush)
        : thread_([this, flush] {
              while (!over_) {
                  flush();
                  std::this_thread::sleep_for(std::chrono::milliseconds(5));
              }
              flush();
          }) {}
    ~Flusher() {
        over_ = true;
        thread_.join();
    }
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

  private:
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

}  // namespace bench
