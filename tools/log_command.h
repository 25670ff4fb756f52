// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

#include "tools/log_filter.h"

namespace korahamonctl {

struct LogOptions {
    std::string path = "/var/log/ha/ha.daemon.log";
    LogFilter filter;
    std::size_t last = 0;  ///< only so many of the latest records; 0: all
    bool follow = false;
    std::function<bool()> goOn = [] { return true; };  ///< asked between two looks while following
};

/// Prints the records that pass; 0, or 1 when there is no log or it cannot be printed.
int showLog(const LogOptions& options, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
