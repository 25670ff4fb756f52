// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// Routine "busyFlagControl": probes the peer and the DRBD link, stores both in the status, and
/// raises the busy flag when the peer comes into reach, lowers it after two cycles out of reach.
/// Runs until the running flag is clear, then returns false; the flag file stays as it is.
bool busyFlagControl(Status& status);

}  // namespace KORA::HA::Daemon
