// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "hasupport/io/kernel_roots.h"
#include "hasupport/kernel/md_array.h"

namespace KORA::HA::Daemon::support {

/// The md arrays of this node; none when md is not loaded.
struct MdView {
    bool known = false;
    std::string reason;  ///< why it is not known
    std::vector<MdArray> arrays;
};

/// Reads sysfs, and /proc/mdstat where that does not tell. Reads only, never blocks on a member.
MdView readMd(const KernelRoots& roots);

}  // namespace KORA::HA::Daemon::support
