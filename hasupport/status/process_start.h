// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// When this library was loaded, which is when the process started.
SteadyClock::time_point processStart();

}  // namespace KORA::HA::Daemon::support
