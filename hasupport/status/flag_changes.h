// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon::support {

/// A probe of a yes or no gave its value just now. A value that differs from the last known one
/// becomes an event. Any thread, never throws.
void noteFlag(Reading reading, bool value);

}  // namespace KORA::HA::Daemon::support
