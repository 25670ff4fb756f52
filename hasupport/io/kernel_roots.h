// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace KORA::HA::Daemon::support {

/// Where the kernel's files are looked for. The default is the running system; tests point it at a
/// captured tree.
struct KernelRoots {
    std::string proc = "/proc";
    std::string sys = "/sys";
};

}  // namespace KORA::HA::Daemon::support
