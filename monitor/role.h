// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace KORA::HA::Daemon {

/// True when the role marker "/tmp/ha_role_active" exists: this node is the active one. Other
/// programs create and remove the marker; here it is only tested, anew at each call.
bool isLocalActive();

}  // namespace KORA::HA::Daemon
