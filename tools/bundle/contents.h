// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tools/status_command.h"

namespace korahamonctl::bundle {

/// Takes one file of the bundle.
using Taker = std::function<void(const std::string& name, std::string_view text)>;

/// What the daemon, its logs and its configuration say. `root` is put before each path. Never the
/// key, nor the arguments of the commands that restart a node, which may hold passwords.
void takeDaemon(const StatusOptions& options, const std::string& root, const Taker& take);

/// What the kernel says of memory, arrays, disks, DRBD and interfaces, and of the daemon's process.
void takeKernel(const std::string& root, int pid, const Taker& take);

/// The support library's configuration without what may be secret in it.
std::string withoutSecrets(const std::string& settings);

}  // namespace korahamonctl::bundle
