// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace koraha::test {

/// What this process told the system log since the last `forgetTold`: in the tests the lines go
/// here instead. The last 10,000 are kept; any thread.
std::vector<std::string> told();
/// How many of them contain `text`.
std::size_t timesTold(const std::string& text);
void forgetTold();

/// The system logger is stuck: who tells it something waits until this goes.
class StuckSystemLog {
  public:
    StuckSystemLog();
    /// Whether someone waits for it.
    bool isWaitedFor() const;

  private:
    std::unique_lock<std::mutex> held_;
};

}  // namespace koraha::test
