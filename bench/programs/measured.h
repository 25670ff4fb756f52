// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace bench {

/// What a set of single times comes to, as one line of JSON.
class Times {
  public:
    explicit Times(std::size_t count) { all_.reserve(count); }

    void add(std::chrono::nanoseconds time) { all_.push_back(time.count()); }
    void add(const Times& other) { all_.insert(all_.end(), other.all_.begin(), other.all_.end()); }

    void print() {
        std::sort(all_.begin(), all_.end());
        std::printf("{\"count\":%zu,\"p50\":%.1f,\"p99\":%.1f,\"p999\":%.1f,\"worst\":%.1f}\n",
                    all_.size(), at(0.5), at(0.99), at(0.999), at(1.0));
    }

  private:
    /// The clock goes in steps, ten nanoseconds on many machines, and so do the times: those that
    /// are equal are spread over the step that they were rounded to.
    double at(double part) const {
        if (all_.empty()) {
            return 0;
        }
        const auto place = static_cast<std::size_t>(static_cast<double>(all_.size() - 1) * part);
        const auto [first, end] = std::equal_range(all_.begin(), all_.end(), all_[place]);
        const auto step = end == all_.end() ? 0 : *end - *first;
        const auto before = static_cast<double>(place) - static_cast<double>(first - all_.begin());
        const double within = (before + 0.5) / static_cast<double>(end - first) - 0.5;
        return static_cast<double>(*first) + static_cast<double>(step) * within;
    }

    std::vector<long long> all_;
};

/// Ends the program, which is a driver or a yardstick, when what it needs is not there.
inline void need(bool fine, const char* what) {
    if (!fine) {
        std::perror(what);
        std::exit(2);
    }
}

inline int number(const char* text) {
    return std::atoi(text);
}

}  // namespace bench
