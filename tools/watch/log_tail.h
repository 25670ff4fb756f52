// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tools/log_records.h"
#include "tools/log_source.h"

namespace korahamonctl::watch {

/// The latest records of the log, as they come. Used by one thread.
class LogTail {
  public:
    explicit LogTail(const std::string& path);

    /// Reads on; whether anything has come.
    bool readOn();
    std::vector<std::string> latest() const { return {kept_.begin(), kept_.end()}; }
    /// Why there is no log; empty when there is one.
    std::string problem() const;

  private:
    std::deque<std::string> kept_;
    bool grown_ = false;
    LogRecords records_;
    LogSource source_;
};

}  // namespace korahamonctl::watch
