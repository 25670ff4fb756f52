// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/boot_identity.h"

#include <ctime>

#include "hasupport/io/read_file.h"

namespace KORA::HA::Daemon::support {

BootIdentity bootIdentity() {
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return {readLine("/proc/sys/kernel/random/boot_id").value_or(""), now.tv_sec};
}

}  // namespace KORA::HA::Daemon::support
