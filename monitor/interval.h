// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace KORA::HA::Daemon {

/// Seconds between two passes of a check loop: one setting while this node is active, another
/// while it is passive. Looked up anew at each call.
int checkInterval();

/// Thins out a costly task: true on the first call for `name`, then once every `rest` + 1 calls.
/// Two threads use it, each with task names of its own.
bool doTaskByIntervals(unsigned int rest, const std::string& name);

}  // namespace KORA::HA::Daemon
