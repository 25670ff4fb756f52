// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/interface_name.h"

#include <net/if.h>

#include <algorithm>

namespace KORA::HA::Daemon::support {

bool isInterfaceName(std::string_view name) {
    if (name.empty() || name.size() >= IFNAMSIZ || name == "." || name == "..") {
        return false;
    }
    return std::none_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return c == '/' || c == ':' || byte <= ' ' || byte == 0x7fU;
    });
}

}  // namespace KORA::HA::Daemon::support
