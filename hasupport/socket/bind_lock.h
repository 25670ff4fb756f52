// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// Takes the lock that processes hold while they look at a socket file and bind: between bind and
/// listen a live socket looks stale. Makes the directory (mode 0700) if need be. False when another
/// process holds the lock for 5 seconds. Where no lock can be made `lock` stays empty, and the
/// result is true.
bool takeBindLock(const std::string& directory, UniqueFd& lock);

}  // namespace KORA::HA::Daemon::support
