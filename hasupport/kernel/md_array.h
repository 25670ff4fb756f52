// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace KORA::HA::Daemon::support {

/// What decides about one md array.
struct MdArray {
    std::string name;        ///< "md0"
    bool resyncing = false;  ///< resynchronises, recovers or reshapes, or waits to
    bool degraded = false;   ///< a member is missing
};

inline constexpr std::size_t mdArrayLimit = 512;

}  // namespace KORA::HA::Daemon::support
