// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace KORA::HA::Daemon::support {

/// The replication link as the command line named it; not checked, possibly empty.
struct LinkAddresses {
    std::string local;
    std::string remote;
    std::string interface;
};

/// A copy of what localIP, remoteIP and drbdIF stored. Any thread.
LinkAddresses linkAddresses();

}  // namespace KORA::HA::Daemon::support
