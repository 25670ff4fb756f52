// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Says something to the system log at LOG_ERR, tagged "libkorahadaemon: ". Control characters are
/// made visible and the text is cut behind 512 bytes. Takes no memory and does not throw. Any
/// thread; may wait for the system logger.
void notify(std::string_view text);

/// Tells one condition to the system log once per change: when its text first appears or changes,
/// and, if asked to, when it is over. Make one per condition; any thread. Constant-initialised, so
/// that it can be a global used before main.
class Notice {
  public:
    constexpr Notice() = default;

    /// The condition holds, and `text` says why. Silent while the text stays the same.
    void raise(std::string_view text);
    /// The condition is over; says `recovered`, unless that is empty or nothing was raised.
    void clear(std::string_view recovered = {});

  private:
    std::atomic<std::size_t> fingerprint_{0};  // of the text last told; 0: nothing is raised
};

}  // namespace KORA::HA::Daemon::support
