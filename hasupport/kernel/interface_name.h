// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace KORA::HA::Daemon::support {

/// True when the kernel would take `name` as the name of a network interface (and so when it is
/// safe as one component of a path): 1 to 15 bytes, no slash, colon or blank, not "." or "..".
bool isInterfaceName(std::string_view name);

}  // namespace KORA::HA::Daemon::support
