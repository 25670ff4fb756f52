// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace KORA::HA::Daemon {

/// Asks the cluster tool to raise a notification: "--notify", the event's name, its value. Waits
/// for the tool (the support library ends it after 60 seconds). False when the tool could not be
/// run; whatever the tool itself reports counts as success.
bool sendNotification(const char* event, const std::string& value);

}  // namespace KORA::HA::Daemon
