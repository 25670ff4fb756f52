// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace KORA::HA::Daemon::support {

/// Every reason why this node must not restart its peer just now, one sentence each, empty when
/// there is none. Evaluated anew at each call, from files (with DRBD 9 from drbdsetup, with a
/// deadline). Any thread; never throws.
std::vector<std::string> currentConstraints();

/// The same for those who serve others and must not wait: with DRBD 9 from what drbdsetup told the
/// last probe that asked it.
std::vector<std::string> constraintsAtHand();

}  // namespace KORA::HA::Daemon::support
