// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "tools/status_options.h"

namespace korahamonctl::front {

struct Request {
    bool check = false;  ///< `check`, else `status`
    StatusOptions options;
};

/// The request that a command line plainly makes for `status` or `check`; nothing where there is
/// anything else in it, or anything that is not plain.
std::optional<Request> plainRequest(int argc, const char* const* argv);

}  // namespace korahamonctl::front
