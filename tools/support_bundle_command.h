// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

#include "tools/status_command.h"

namespace korahamonctl {

struct BundleOptions {
    std::string output;  ///< empty: a name made of host and time, in the working directory
    std::string root;    ///< put before each path; empty: this system
};

/// Writes an archive of all that helps to find a fault, without the key; never over a file. 0, or 1
/// with the reason on `err`.
int makeSupportBundle(const StatusOptions& status, const BundleOptions& options, std::ostream& out,
                      std::ostream& err);

}  // namespace korahamonctl
