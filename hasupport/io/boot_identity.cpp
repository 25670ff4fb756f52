// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/boot_identity.h"

#include <ctime>

#include "hasupport/io/read_file.h"

namespace KORA::HA::Daemon::support {

namespace {

std::string readBootId() {
    return readLine("/proc/sys/kernel/random/boot_id").value_or("");
}

/// It outlives every process: the first look is enough where it told something.
std::string bootId() {
    static const std::string known = readBootId();
    return known.empty() ? readBootId() : known;
}

}  // namespace

BootIdentity bootIdentity() {
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return {bootId(), now.tv_sec};
}

}  // namespace KORA::HA::Daemon::support
