// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "hasupport/kernel/drbd_resource.h"

namespace KORA::HA::Daemon::support {

/// Parses what `drbdsetup events2 --now all` prints. Where a connection's path names `peerAddress`
/// (an address without port, possibly empty), only such connections count for its resource, else
/// all do. Nothing when the dump does not end as a complete one does, or is larger than any real
/// one.
std::optional<std::vector<DrbdResource>> parseDrbdEvents(std::string_view text,
                                                         std::string_view peerAddress);

}  // namespace KORA::HA::Daemon::support
