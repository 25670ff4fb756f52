// SPDX-License-Identifier: Apache-2.0
#include "monitor/role.h"

#include <unistd.h>

namespace KORA::HA::Daemon {

bool isLocalActive() {
    return ::access("/tmp/ha_role_active", F_OK) == 0;
}

}  // namespace KORA::HA::Daemon
