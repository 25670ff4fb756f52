// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace KORA::HA::Daemon::support {

/// Which boot of this machine this is, and how far into it we are.
struct BootIdentity {
    std::string bootId;            ///< /proc/sys/kernel/random/boot_id; empty when unreadable
    std::int64_t bootSeconds = 0;  ///< CLOCK_BOOTTIME: no step of the wall clock moves it
};

BootIdentity bootIdentity();

}  // namespace KORA::HA::Daemon::support
