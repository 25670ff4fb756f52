// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// Routine "daemonDataServer": serves the shared status on "/tmp/.ha_daemon.socket". Returns false
/// when the socket cannot be made or bound (it is tried once), or when the running flag is clear; a
/// serving step that fails is logged and tried again a second later.
bool daemonDataServer();

/// Routine "server": runs the support library's socket server over and over. Returns false when
/// that has ended or when the running flag is clear.
bool server(Status& status);

}  // namespace KORA::HA::Daemon
