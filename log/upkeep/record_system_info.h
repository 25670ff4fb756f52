// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// Routine "recordSystemInfo": asks the support library, at its own pace, to record memory,
/// processes, disk usage and the health record. Runs until the running flag is clear, then returns
/// false.
bool recordSystemInfo(Status& status);

}  // namespace KORA::HA::Daemon
