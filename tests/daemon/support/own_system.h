// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace koraha::test {

inline constexpr const char* roleMarker = "/tmp/ha_role_active";
inline constexpr const char* busyFlag = "/tmp/ha/ha_remote_busy";
inline constexpr const char* configFile = "/var/lib/ha/remote_mond.conf";

/// Runs `body` in a child process in which the daemon's fixed paths belong to the test: /tmp,
/// /var/lib and /var/log are empty but for /tmp/ha, /var/lib/ha and /var/log/ha. The running flag
/// is set, nothing was called yet, and the state that the daemon keeps between passes is fresh.
void inOwnSystem(const std::function<void()>& body);

/// Writes the configuration file and loads it, also while a loop runs in this thread; nothing of it
/// is noted.
void configure(const std::string& json);

bool exists(const std::string& path);
void touch(const std::string& path);

}  // namespace koraha::test
