// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "hasupport/net/ip_address.h"

namespace KORA::HA::Daemon::support {

/// The interface by which packets to the peer have to leave: `interface`, or none where the address
/// is this host's own, which is reached through lo. Which of both it is hardly ever changes, so
/// that the kernel is asked again only after ten seconds. Any thread.
std::string deviceTowards(const IpAddress& peer, const std::string& interface);

}  // namespace KORA::HA::Daemon::support
