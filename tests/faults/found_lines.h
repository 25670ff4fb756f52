// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/logging_child.h"

namespace koraha::test {

/// Compares the lines in the files with the lines whose `set` returned.
class FoundLines {
  public:
    /// The next file, in the order in which they were written.
    void readFile(const std::string& path);
    /// After the last file: `returned` lines of that thread's must have been found.
    void expect(int life, int thread, std::uint64_t returned);

    std::uint64_t found() const { return found_; }
    std::uint64_t missing() const { return missing_; }
    std::uint64_t outOfPlace() const { return outOfPlace_; }  ///< twice, or not in order
    std::uint64_t broken() const { return broken_; }          ///< no whole line of a child
    const std::string& firstTrouble() const { return firstTrouble_; }

  private:
    void readLine(const std::string& line);
    void note(std::uint64_t& count, const std::string& what);

    std::map<std::pair<int, int>, std::uint64_t> next_;  // by life and thread
    int life_ = 0;
    std::uint64_t found_ = 0;
    std::uint64_t missing_ = 0;
    std::uint64_t outOfPlace_ = 0;
    std::uint64_t broken_ = 0;
    std::string firstTrouble_;
};

}  // namespace koraha::test
