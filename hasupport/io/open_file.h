// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// Opens a file close-on-exec, as open(2) does with `flags` and `mode`, and goes on when a signal
/// interrupts it. errno tells why there is no descriptor.
UniqueFd openFile(const std::string& path, int flags, mode_t mode = 0);

/// The same as openat(2) does it: `path` begins at the directory.
UniqueFd openFileAt(int directory, const char* path, int flags, mode_t mode = 0);

}  // namespace KORA::HA::Daemon::support
